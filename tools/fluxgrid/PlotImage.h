/// \file PlotImage.h
/// A drawing in the format its output name asks for: SVG as it is, PNG and
/// PDF rendered from the SVG by librsvg onto a cairo surface.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fluxgrid::tool {

enum class PlotFormat { svg, png, pdf };

/// The format that the extension of `out` names (.svg, .png or .pdf, in any
/// case). A name without an extension, such as standard output ("-" or
/// empty), a device or a FIFO, gets SVG. Nothing for any other extension.
std::optional<PlotFormat> plotFormatFor(std::string_view out);

/// The extensions `plotFormatFor` knows, for messages: ".svg, .png or .pdf".
const char* plotExtensions();

/// The SVG document `svg` in `format`. A PNG has twice the drawing's size in
/// pixels, so that small labels stay sharp; a PDF page has its size at 96
/// pixels to the inch. Throws `std::runtime_error` when the document cannot
/// be read or the surface not written.
std::string renderPlot(const std::string& svg, PlotFormat format);

}  // namespace fluxgrid::tool
