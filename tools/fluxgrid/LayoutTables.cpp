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
    // The rows stand in the library's order, table for table.
    const LayoutTableInfo* info = findLayoutTable(name);
    if (info == nullptr) {
        return nullptr;
    }
    return &layoutTables()[static_cast<std::size_t>(info - fluxgrid::layoutTables().data())];
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

const char* frameAxesCode(LayoutFrame frame) {
    return layoutFrameInfo(frame).axes.data();
}

double frameUnitsPerMetre(LayoutFrame frame) {
    return layoutFrameInfo(frame).unitsPerMetre;
}

ChannelRow toRasMetres(LayoutFrame frame, const ChannelRow& row) {
    ChannelRow ras = row;
    ras.pos = positionToRas(frame, row.pos);
    if (row.orn) {
        ras.orn = directionToRas(frame, *row.orn);
    }
    return ras;
}

std::array<double, 3> toVertexUp(LayoutFrame frame, const std::array<double, 3>& p) {
    std::array<double, 3> up = directionToRas(frame, p);
    if (frame == LayoutFrame::head) {
        // The head frame is left-handed: its turn without the mirror keeps
        // the subject's left on +X, and the drawing undoes the mirror.
        up[0] = -up[0];
    }
    return up;
}

}  // namespace fluxgrid::tool
