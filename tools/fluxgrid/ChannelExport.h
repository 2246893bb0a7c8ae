/// \file ChannelExport.h
/// Rows of channels as the text files that other programs read: CSV, TSV,
/// BESA/EEGLAB .sfp and ASA .elc. Every number is written in the shortest
/// form that reads back bit for bit.
#pragma once

#include "Channels.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fluxgrid::tool {

enum class ExportFormat { csv, tsv, sfp, elc };

/// The format called "csv", "tsv", "sfp" or "elc".
std::optional<ExportFormat> exportFormatNamed(std::string_view name);
/// The names of all formats, in the order of `ExportFormat`.
std::vector<std::string> exportFormatNames();

/// What the heading of an .elc file says of the rows.
struct ExportFrame {
    /// Where the rows come from: a table's name, a folder of sensors.
    std::string title;
    /// The frame's name and its axes in words.
    std::string frame;
    std::string axes;
    /// The unit of the positions: "m", "mm" or "cm"; empty for none,
    /// written as millimetres.
    std::string unit;
};

/// The rows as one text:
/// - csv and tsv: a header, then name, x, y, z, the orientation (columns
///   present when any row has one, empty in a row without), type code and
///   name, separated by commas or tabs;
/// - sfp: "name<TAB>x<TAB>y<TAB>z" per row;
/// - elc: the heading, the positions, then the labels in the same order.
///   Its unit is one that every reader knows, metres or millimetres:
///   centimetres are written as millimetres.
std::string exportRows(std::span<const ChannelRow> rows, ExportFormat format,
                       const ExportFrame& frame);

}  // namespace fluxgrid::tool
