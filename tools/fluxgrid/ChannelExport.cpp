#include "ChannelExport.h"

#include "Format.h"

#include <algorithm>
#include <sstream>

namespace fluxgrid::tool {

std::optional<ExportFormat> exportFormatNamed(std::string_view name) {
    if (name == "csv") {
        return ExportFormat::csv;
    }
    if (name == "sfp") {
        return ExportFormat::sfp;
    }
    if (name == "elc") {
        return ExportFormat::elc;
    }
    return std::nullopt;
}

namespace {

void csv(std::ostringstream& out, std::span<const ChannelRow> rows) {
    const bool oriented =
        std::any_of(rows.begin(), rows.end(), [](const ChannelRow& row) { return row.orn; });
    out << "name,x,y,z";
    if (oriented) {
        out << ",ornX,ornY,ornZ";
    }
    out << ",sensorType,typeName\n";
    for (const ChannelRow& row : rows) {
        out << row.name << ',' << exactNumber(row.pos[0]) << ',' << exactNumber(row.pos[1]) << ','
            << exactNumber(row.pos[2]);
        if (row.orn) {
            out << ',' << exactNumber((*row.orn)[0]) << ',' << exactNumber((*row.orn)[1]) << ','
                << exactNumber((*row.orn)[2]);
        } else if (oriented) {
            out << ",,,";
        }
        out << ',' << row.sensorType << ',' << typeName(row.sensorType) << '\n';
    }
}

// BESA/EEGLAB: one "label x y z" line per channel.
void sfp(std::ostringstream& out, std::span<const ChannelRow> rows) {
    for (const ChannelRow& row : rows) {
        out << row.name << '\t' << exactNumber(row.pos[0]) << '\t' << exactNumber(row.pos[1])
            << '\t' << exactNumber(row.pos[2]) << '\n';
    }
}

// ASA electrode file: positions, then labels in the same order.
void elc(std::ostringstream& out, std::span<const ChannelRow> rows, const ExportFrame& frame) {
    out << "# ASA electrode file\n";
    out << "# " << frame.title << ", " << frame.frame << " frame: " << frame.axes << '\n';
    out << "ReferenceLabel\tavg\n";
    out << "UnitPosition\t" << (frame.unit.empty() ? "mm" : frame.unit) << '\n';
    out << "NumberPositions=\t" << rows.size() << '\n';
    out << "Positions\n";
    for (const ChannelRow& row : rows) {
        out << exactNumber(row.pos[0]) << ' ' << exactNumber(row.pos[1]) << ' '
            << exactNumber(row.pos[2]) << '\n';
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
            csv(out, rows);
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
