#include "LayoutTables.h"

namespace fluxgrid::tool {

namespace {

LayoutTable tableOf(const LayoutTableInfo& info) {
    LayoutTable table{std::string(info.name), info.isMeg(), info.frame, {}};
    for (const EEG_NAME_POS_TYPE& row : info.eeg) {
        table.rows.push_back(
            {row.name.ToUtf8(), {row.posX, row.posY, row.posZ}, std::nullopt, row.sensorType});
    }
    for (const MEG_OPM_NAME_POS_TYPE& row : info.meg) {
        table.rows.push_back({row.name.ToUtf8(),
                              {row.posX, row.posY, row.posZ},
                              std::array<double, 3>{row.ornX, row.ornY, row.ornZ},
                              row.sensorType});
    }
    return table;
}

}  // namespace

const std::vector<LayoutTable>& layoutTables() {
    static const std::vector<LayoutTable> tables = [] {
        std::vector<LayoutTable> all;
        for (const LayoutTableInfo& info : fluxgrid::layoutTables()) {
            all.push_back(tableOf(info));
        }
        return all;
    }();
    return tables;
}

const LayoutTable* findLayout(std::string_view name) {
    for (const LayoutTable& table : layoutTables()) {
        if (table.name == name) {
            return &table;
        }
    }
    return nullptr;
}

const char* frameName(LayoutFrame frame) {
    return layoutFrameInfo(frame).name.data();
}

const char* frameAxes(LayoutFrame frame) {
    return layoutFrameInfo(frame).description.data();
}

const char* frameUnit(LayoutFrame frame) {
    return layoutFrameInfo(frame).unit.data();
}

std::array<double, 3> toVertexUp(LayoutFrame frame, const std::array<double, 3>& p) {
    switch (frame) {
        case LayoutFrame::head:
            // Left, top, back: a quarter turn about x brings the top to +Z and
            // the nose (-z) to +Y. The frame is left-handed, so the subject's
            // left lands on +X; the mirror is undone when drawing.
            return {p[0], -p[2], p[1]};
        case LayoutFrame::sphere:
            // Nose, left, vertex: a quarter turn about z brings the nose to +Y
            // and the subject's right (-y) to +X.
            return {-p[1], p[0], p[2]};
        case LayoutFrame::net:
            return p;
    }
    return p;
}

}  // namespace fluxgrid::tool
