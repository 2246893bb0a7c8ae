#include <fluxgrid/tables/Layouts.h>

#include <fluxgrid/tables/EegLayouts.h>
#include <fluxgrid/tables/MegLayouts.h>

namespace fluxgrid {

namespace {

// The axis and direction of one letter of an orientation code.
struct Letter {
    int axis;
    int sign;
};

std::optional<Letter> letterOf(char c) {
    switch (c) {
        case 'R':
        case 'r':
            return Letter{0, 1};
        case 'L':
        case 'l':
            return Letter{0, -1};
        case 'A':
        case 'a':
            return Letter{1, 1};
        case 'P':
        case 'p':
            return Letter{1, -1};
        case 'S':
        case 's':
            return Letter{2, 1};
        case 'I':
        case 'i':
            return Letter{2, -1};
        default:
            return std::nullopt;
    }
}

// In the order of `LayoutFrame`.
constexpr LayoutFrameInfo kFrames[] = {
    {LayoutFrame::head, "head", "LSP",
     "x to the subject's left, y to the top of the head, z to the back; millimetres", "mm", 1000.0},
    {LayoutFrame::sphere, "sphere", "ALS",
     "x to the nose, y to the subject's left, z to the vertex; sphere of radius 100", "",
     100.0 / 0.095},
    {LayoutFrame::net, "net", "RAS",
     "x to the subject's right, y to the nose, z to the vertex; centimetres", "cm", 100.0},
};

LayoutTableInfo eeg(std::string_view name, LayoutFrame frame,
                    std::span<const EEG_NAME_POS_TYPE> rows) {
    return {name, frame, rows, {}};
}

LayoutTableInfo meg(std::string_view name, std::span<const MEG_OPM_NAME_POS_TYPE> rows) {
    return {name, LayoutFrame::head, {}, rows};
}

}  // namespace

std::optional<AxesMap> axesToRas(std::string_view code) {
    if (code.size() != 3) {
        return std::nullopt;
    }
    AxesMap map{{-1, -1, -1}, {0, 0, 0}};
    for (int i = 0; i < 3; ++i) {
        const std::optional<Letter> letter = letterOf(code[i]);
        if (!letter || map.source[letter->axis] != -1) {
            return std::nullopt;
        }
        // Coordinate i of the frame grows toward the letter's direction, so
        // the RAS axis of that letter reads it, signed.
        map.source[letter->axis] = i;
        map.sign[letter->axis] = letter->sign;
    }
    return map;
}

const LayoutFrameInfo& layoutFrameInfo(LayoutFrame frame) {
    return kFrames[static_cast<std::size_t>(frame)];
}

std::array<double, 3> directionToRas(LayoutFrame frame, const std::array<double, 3>& direction) {
    // The frames' codes are constants and always valid.
    return (*axesToRas(layoutFrameInfo(frame).axes))(direction);
}

std::array<double, 3> positionToRas(LayoutFrame frame, const std::array<double, 3>& position) {
    const double unitsPerMetre = layoutFrameInfo(frame).unitsPerMetre;
    std::array<double, 3> ras = directionToRas(frame, position);
    for (double& c : ras) {
        c /= unitsPerMetre;
    }
    return ras;
}

std::span<const LayoutTableInfo> layoutTables() {
    static const LayoutTableInfo tables[] = {
        eeg("eegLayout10", LayoutFrame::head, eegLayout10),
        eeg("eegLayout18", LayoutFrame::head, eegLayout18),
        eeg("eegLayout21", LayoutFrame::head, eegLayout21),
        eeg("eegLayout21Row", LayoutFrame::head, eegLayout21Row),
        eeg("eegSphere25", LayoutFrame::sphere, eegSphere25),
        eeg("eegLayout32", LayoutFrame::head, eegLayout32),
        eeg("eegSphere33", LayoutFrame::sphere, eegSphere33),
        eeg("eegSphere47", LayoutFrame::sphere, eegSphere47),
        eeg("eegNet67", LayoutFrame::net, eegNet67),
        eeg("eegNet260", LayoutFrame::net, eegNet260),
        meg("megLayout21", megLayout21),
        meg("megLayout32", megLayout32),
        meg("megTriaxial33", megTriaxial33),
    };
    return tables;
}

std::vector<LayoutRow> layoutRows(const LayoutTableInfo& table) {
    std::vector<LayoutRow> rows;
    rows.reserve(table.size());
    for (const EEG_NAME_POS_TYPE& row : table.eeg) {
        rows.push_back(
            {row.name.ToUtf8(), {row.posX, row.posY, row.posZ}, std::nullopt, row.sensorType});
    }
    for (const MEG_OPM_NAME_POS_TYPE& row : table.meg) {
        rows.push_back({row.name.ToUtf8(),
                        {row.posX, row.posY, row.posZ},
                        std::array<double, 3>{row.ornX, row.ornY, row.ornZ},
                        row.sensorType});
    }
    return rows;
}

LayoutRow rowToRas(LayoutFrame frame, const LayoutRow& row) {
    LayoutRow ras = row;
    ras.pos = positionToRas(frame, row.pos);
    if (row.orn) {
        ras.orn = directionToRas(frame, *row.orn);
    }
    return ras;
}

std::vector<LayoutRow> layoutRowsInRas(const LayoutTableInfo& table) {
    std::vector<LayoutRow> rows = layoutRows(table);
    for (LayoutRow& row : rows) {
        row = rowToRas(table.frame, row);
    }
    return rows;
}

const LayoutTableInfo* findLayoutTable(std::string_view name) {
    for (const LayoutTableInfo& table : layoutTables()) {
        if (table.name == name) {
            return &table;
        }
    }
    return nullptr;
}

}  // namespace fluxgrid
