#include "LayoutTables.h"

#include <fluxgrid/sensor/MegOpmNamePosType.h>
#include <fluxgrid/tables/EegLayouts.h>
#include <fluxgrid/tables/EegNamePosType.h>
#include <fluxgrid/tables/MegLayouts.h>

namespace fluxgrid::tool {

namespace {

template <std::size_t N>
LayoutTable eegTable(const char* name, LayoutFrame frame, const EEG_NAME_POS_TYPE (&rows)[N]) {
    LayoutTable table{name, false, frame, {}};
    for (const EEG_NAME_POS_TYPE& row : rows) {
        table.rows.push_back(
            {row.name.ToUtf8(), {row.posX, row.posY, row.posZ}, std::nullopt, row.sensorType});
    }
    return table;
}

template <std::size_t N>
LayoutTable megTable(const char* name, const MEG_OPM_NAME_POS_TYPE (&rows)[N]) {
    LayoutTable table{name, true, LayoutFrame::head, {}};
    for (const MEG_OPM_NAME_POS_TYPE& row : rows) {
        table.rows.push_back({row.name.ToUtf8(),
                              {row.posX, row.posY, row.posZ},
                              std::array<double, 3>{row.ornX, row.ornY, row.ornZ},
                              row.sensorType});
    }
    return table;
}

}  // namespace

const std::vector<LayoutTable>& layoutTables() {
    static const std::vector<LayoutTable> tables = {
        eegTable("eegLayout10", LayoutFrame::head, eegLayout10),
        eegTable("eegLayout18", LayoutFrame::head, eegLayout18),
        eegTable("eegLayout21", LayoutFrame::head, eegLayout21),
        eegTable("eegLayout21Row", LayoutFrame::head, eegLayout21Row),
        eegTable("eegSphere25", LayoutFrame::sphere, eegSphere25),
        eegTable("eegLayout32", LayoutFrame::head, eegLayout32),
        eegTable("eegSphere33", LayoutFrame::sphere, eegSphere33),
        eegTable("eegSphere47", LayoutFrame::sphere, eegSphere47),
        eegTable("eegNet67", LayoutFrame::net, eegNet67),
        eegTable("eegNet260", LayoutFrame::net, eegNet260),
        megTable("megLayout21", megLayout21),
        megTable("megLayout32", megLayout32),
        megTable("megTriaxial33", megTriaxial33),
    };
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

namespace {

struct FrameWords {
    const char* name;
    const char* axes;
    const char* unit;
};

// In the order of `LayoutFrame`.
constexpr FrameWords kFrameWords[] = {
    {"head", "x to the subject's left, y to the top of the head, z to the back; millimetres", "mm"},
    {"sphere", "x to the nose, y to the subject's left, z to the vertex; sphere of radius 100", ""},
    {"net", "x to the subject's right, y to the nose, z to the vertex; centimetres", "cm"},
};

const FrameWords& wordsOf(LayoutFrame frame) {
    return kFrameWords[static_cast<std::size_t>(frame)];
}

}  // namespace

const char* frameName(LayoutFrame frame) {
    return wordsOf(frame).name;
}

const char* frameAxes(LayoutFrame frame) {
    return wordsOf(frame).axes;
}

const char* frameUnit(LayoutFrame frame) {
    return wordsOf(frame).unit;
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
