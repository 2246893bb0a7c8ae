/// \file ChannelExport.h
/// Rows of channels as the text files that other programs read: CSV,
/// BESA/EEGLAB .sfp and ASA .elc. Every number is written with all its
/// digits, so that it reads back bit for bit.
#pragma once

#include "Channels.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace fluxgrid::tool {

enum class ExportFormat { csv, sfp, elc };

/// The format called "csv", "sfp" or "elc".
std::optional<ExportFormat> exportFormatNamed(std::string_view name);

/// What the heading of an .elc file says of the rows.
struct ExportFrame {
    /// Where the rows come from: a table's name, a folder of sensors.
    std::string title;
    /// The frame's name and its axes in words.
    std::string frame;
    std::string axes;
    /// The unit of the positions; empty for none, written as millimetres.
    std::string unit;
};

/// The rows as one text:
/// - csv: a header, then name, x, y, z, the orientation (columns present
///   when any row has one, empty in a row without), type code and name;
/// - sfp: "name<TAB>x<TAB>y<TAB>z" per row;
/// - elc: the heading, the positions, then the labels in the same order.
std::string exportRows(std::span<const ChannelRow> rows, ExportFormat format,
                       const ExportFrame& frame);

}  // namespace fluxgrid::tool
