/// \file LayoutPlot.h
/// Where everything of a layout drawing goes, in pixels of the drawing: the
/// head outline, one marker and one label per channel, the legend entries
/// and the scale bar. The SVG writer only draws what this decides, so the
/// placement can be checked without reading SVG back.
#pragma once

#include <fluxgrid/tables/Layouts.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace fluxgrid::tool {

struct PlotPoint {
    double x = 0.0;
    double y = 0.0;
};

/// An axis-aligned box: left, top, width and height; y grows downwards.
struct PlotBox {
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;

    bool intersects(const PlotBox& other) const;
    /// The box grown by `margin` on every side.
    PlotBox grown(double margin) const;
};

struct PlotCircle {
    PlotPoint centre;
    double radius = 0.0;

    bool intersects(const PlotBox& box) const;
};

/// A channel's label: its text at `baseline` (the left end of the baseline),
/// the box its glyphs take, and a leader line from the marker's edge to the
/// box when the label had to move away from its marker.
struct PlotLabel {
    std::string text;
    PlotPoint baseline;
    PlotBox box;
    bool leader = false;
    PlotPoint leaderFrom;
    PlotPoint leaderTo;
};

struct PlotLegendEntry {
    int sensorType = 0;
    std::string text;
    /// The fill of the type's markers, as SVG writes a colour.
    std::string colour;
    int count = 0;
};

/// A bar `length` pixels long that stands for `text` ("50 mm") on the head.
struct PlotScaleBar {
    PlotPoint start;
    double length = 0.0;
    std::string text;
    std::string note;
};

struct LayoutPlot {
    double width = 0.0;
    double height = 0.0;
    /// The head outline: wide enough for every marker, and never narrower
    /// than 90 degrees from the vertex.
    PlotCircle outline;
    double outlineDegrees = 0.0;
    /// The nose (a polyline from left to right through its tip) and the
    /// boxes around the two ears, left then right.
    std::vector<PlotPoint> nose;
    std::vector<PlotBox> ears;
    /// "L" and "R" beside the ears.
    std::vector<PlotLabel> sides;
    double fontSize = 0.0;
    /// One per row of the table, in the table's order.
    std::vector<PlotCircle> markers;
    std::vector<PlotLabel> labels;
    /// The channel types in order of first appearance.
    std::vector<PlotLegendEntry> legend;
    PlotScaleBar scaleBar;
    /// Where labels may go: the drawing less the title, legend and scale bar.
    PlotBox labelArea;
};

/// The table seen from above, nose up, the subject's right on the right:
/// each position turned so that the table's vertex points along +Z, then
/// flattened by `CBscMagSns::flatten3Dto2D`, an azimuthal equidistant
/// projection about the vertex. Labels sit beside their markers where there
/// is room, else farther out with a leader line, so that no two labels
/// overlap each other or any marker while the drawing has room for them.
LayoutPlot layoutPlot(const LayoutTableInfo& table);

/// A position of a table's frame turned so that the table's vertex points
/// along +Z, its nose along +Y, and the subject's right along +X (for the
/// head frame, its left: the frame is left-handed, and whoever draws it
/// undoes the mirror).
std::array<double, 3> toVertexUp(LayoutFrame frame, const std::array<double, 3>& pos);

/// The box that `text` takes in DejaVu Sans at `fontSize` pixels, with the
/// left end of its baseline at (0, 0): the advance widths of the face,
/// from the top of its tallest letters to the bottom of its descenders.
PlotBox textBox(std::string_view text, double fontSize);

/// How the legend names a channel type: the library's name where it has one,
/// with what kind of channel it is for MEG sensors, MEG references and EEG
/// electrodes ("MEG_SNSR, MEG sensor"); for the ear electrodes, which the
/// library leaves unnamed, "Ear electrode"; else "Type " and the code.
std::string legendName(int sensorType);

}  // namespace fluxgrid::tool
