#include "LayoutTables.h"

#include <fluxgrid/sensor/MegOpmNamePosType.h>
#include <fluxgrid/tables/EegLayouts.h>
#include <fluxgrid/tables/EegNamePosType.h>
#include <fluxgrid/tables/MegLayouts.h>

#include <stdexcept>

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
    const char* axesCode;
    double unitsPerMetre;
};

// A head of 0.095 m radius, MNE's default, for the sphere of radius 100.
constexpr double kSphereUnitsPerMetre = 100.0 / 0.095;

// In the order of `LayoutFrame`.
constexpr FrameWords kFrameWords[] = {
    {"head", "x to the subject's left, y to the top of the head, z to the back; millimetres", "mm",
     "LSP", 1000.0},
    {"sphere", "x to the nose, y to the subject's left, z to the vertex; sphere of radius 100", "",
     "ALS", kSphereUnitsPerMetre},
    {"net", "x to the subject's right, y to the nose, z to the vertex; centimetres", "cm", "RAS",
     100.0},
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

const char* frameAxesCode(LayoutFrame frame) {
    return wordsOf(frame).axesCode;
}

double frameUnitsPerMetre(LayoutFrame frame) {
    return wordsOf(frame).unitsPerMetre;
}

std::array<double, 3> axesToRas(std::string_view axes, const std::array<double, 3>& v) {
    // Each letter: the RAS axis it lies along, and whether it points the
    // same way (R, A, S) or the other (L, P, I).
    constexpr std::string_view kPositive = "RAS";
    constexpr std::string_view kNegative = "LPI";
    std::array<double, 3> ras{};
    std::array<bool, 3> taken{};
    if (axes.size() != 3) {
        throw std::invalid_argument("axes \"" + std::string(axes) + "\" are not three letters");
    }
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t positive = kPositive.find(axes[i]);
        const std::size_t negative = kNegative.find(axes[i]);
        const std::size_t target = positive != std::string_view::npos ? positive : negative;
        if (target == std::string_view::npos || taken[target]) {
            throw std::invalid_argument("axes \"" + std::string(axes) +
                                        "\" do not name three directions of R/L, A/P and S/I");
        }
        taken[target] = true;
        // Adding zero turns -0 into 0: a mirrored zero stays a plain zero.
        ras[target] = (positive != std::string_view::npos ? v[i] : -v[i]) + 0.0;
    }
    return ras;
}

ChannelRow toRasMetres(LayoutFrame frame, const ChannelRow& row) {
    ChannelRow ras = row;
    // Divided rather than multiplied by the inverse: millimetres and
    // centimetres then come out as the nearest double to the exact metres.
    ras.pos = axesToRas(frameAxesCode(frame), row.pos);
    for (double& value : ras.pos) {
        value /= frameUnitsPerMetre(frame);
    }
    if (row.orn) {
        ras.orn = axesToRas(frameAxesCode(frame), *row.orn);
    }
    return ras;
}

std::array<double, 3> toVertexUp(LayoutFrame frame, const std::array<double, 3>& p) {
    std::array<double, 3> up = axesToRas(frameAxesCode(frame), p);
    if (frame == LayoutFrame::head) {
        // The head frame is left-handed: its turn without the mirror keeps
        // the subject's left on +X, and the drawing undoes the mirror.
        up[0] = -up[0];
    }
    return up;
}

}  // namespace fluxgrid::tool
