#include "ChannelExport.h"

#include "Format.h"

#include <fluxgrid/channels/ChannelTypes.h>

#include <algorithm>
#include <array>
#include <sstream>

namespace fluxgrid::tool {

namespace {

// In the order of `ExportFormat`.
constexpr std::array<std::string_view, 4> kFormatNames = {"csv", "tsv", "sfp", "elc"};

}  // namespace

std::optional<ExportFormat> exportFormatNamed(std::string_view name) {
    const auto found = std::find(kFormatNames.begin(), kFormatNames.end(), name);
    if (found == kFormatNames.end()) {
        return std::nullopt;
    }
    return static_cast<ExportFormat>(found - kFormatNames.begin());
}

std::vector<std::string> exportFormatNames() {
    return {kFormatNames.begin(), kFormatNames.end()};
}

namespace {

void table(std::ostringstream& out, std::span<const ChannelRow> rows, char separator) {
    const bool oriented =
        std::any_of(rows.begin(), rows.end(), [](const ChannelRow& row) { return row.orn; });
    const auto put = [&](const auto&... fields) { ((out << separator << fields), ...); };
    out << "name";
    put("x", "y", "z");
    if (oriented) {
        put("ornX", "ornY", "ornZ");
    }
    put("sensorType", "typeName");
    out << '\n';
    for (const ChannelRow& row : rows) {
        out << row.name;
        put(shortestNumber(row.pos[0]), shortestNumber(row.pos[1]), shortestNumber(row.pos[2]));
        if (row.orn) {
            put(shortestNumber((*row.orn)[0]), shortestNumber((*row.orn)[1]),
                shortestNumber((*row.orn)[2]));
        } else if (oriented) {
            put("", "", "");
        }
        put(row.sensorType, channelType(row.sensorType).name);
        out << '\n';
    }
}

// BESA/EEGLAB: one "label x y z" line per channel.
void sfp(std::ostringstream& out, std::span<const ChannelRow> rows) {
    for (const ChannelRow& row : rows) {
        out << row.name << '\t' << shortestNumber(row.pos[0]) << '\t' << shortestNumber(row.pos[1])
            << '\t' << shortestNumber(row.pos[2]) << '\n';
    }
}

// The unit an .elc states and the factor from the rows' unit to it: readers
// know metres and millimetres only.
struct ElcUnit {
    const char* name;
    double scale;
};

ElcUnit elcUnit(const std::string& unit) {
    if (unit == "m") {
        return {"m", 1.0};
    }
    if (unit == "cm") {
        return {"mm", 10.0};
    }
    return {"mm", 1.0};
}

// ASA electrode file: positions, then labels in the same order.
void elc(std::ostringstream& out, std::span<const ChannelRow> rows, const ExportFrame& frame) {
    const ElcUnit unit = elcUnit(frame.unit);
    out << "# ASA electrode file\n";
    out << "# " << frame.title << ", " << frame.frame << " frame: " << frame.axes << '\n';
    out << "ReferenceLabel\tavg\n";
    out << "UnitPosition\t" << unit.name << '\n';
    out << "NumberPositions=\t" << rows.size() << '\n';
    out << "Positions\n";
    for (const ChannelRow& row : rows) {
        out << shortestNumber(row.pos[0] * unit.scale) << ' '
            << shortestNumber(row.pos[1] * unit.scale) << ' '
            << shortestNumber(row.pos[2] * unit.scale) << '\n';
    }
    out << "Labels\n";
    for (const ChannelRow& row : rows) {
        out << row.name << '\n';
    }
}

}  // namespace

std::string exportRows(std::span<const ChannelRow> rows, ExportFormat format,
                       const ExportFrame& frame) {
    std::ostringstream out;
    switch (format) {
        case ExportFormat::csv:
            table(out, rows, ',');
            break;
        case ExportFormat::tsv:
            table(out, rows, '\t');
            break;
        case ExportFormat::sfp:
            sfp(out, rows);
            break;
        case ExportFormat::elc:
            elc(out, rows, frame);
            break;
    }
    return out.str();
}

}  // namespace fluxgrid::tool
