#include "LayoutSvg.h"

#include "Format.h"

#include <map>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace fluxgrid::tool {

namespace {

std::string point(PlotPoint p) {
    return fixed(p.x) + ',' + fixed(p.y);
}

void writeLabelText(std::ostream& svg, const PlotLabel& label) {
    svg << "<text x=\"" << fixed(label.baseline.x) << "\" y=\"" << fixed(label.baseline.y) << "\">"
        << markupEscaped(label.text) << "</text>\n";
}

// The outline, wide enough for every marker, the nose, the ears and the
// letters of the two sides.
void writeHead(std::ostream& svg, const LayoutPlot& plot) {
    svg << "<g fill=\"none\" stroke=\"#333333\" stroke-width=\"2\">\n";
    svg << "<circle cx=\"" << fixed(plot.outline.centre.x) << "\" cy=\""
        << fixed(plot.outline.centre.y) << "\" r=\"" << fixed(plot.outline.radius) << "\"/>\n";
    svg << "<polyline points=\"";
    for (std::size_t k = 0; k < plot.nose.size(); ++k) {
        svg << (k > 0 ? " " : "") << point(plot.nose[k]);
    }
    svg << "\"/>\n";
    for (const PlotBox& ear : plot.ears) {
        svg << "<ellipse cx=\"" << fixed(ear.x + ear.width / 2) << "\" cy=\""
            << fixed(ear.y + ear.height / 2) << "\" rx=\"" << fixed(ear.width / 2) << "\" ry=\""
            << fixed(ear.height / 2) << "\"/>\n";
    }
    svg << "</g>\n<g font-size=\"12\" fill=\"#444444\">\n";
    for (const PlotLabel& side : plot.sides) {
        writeLabelText(svg, side);
    }
    svg << "</g>\n";
}

void writeMarkers(std::ostream& svg, const std::vector<LayoutRow>& rows, const LayoutPlot& plot,
                  const std::map<int, std::string>& colours) {
    svg << "<g stroke=\"#222222\" stroke-width=\"0.6\">\n";
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const LayoutRow& row = rows[i];
        const PlotCircle& marker = plot.markers[i];
        svg << "<circle cx=\"" << fixed(marker.centre.x) << "\" cy=\"" << fixed(marker.centre.y)
            << "\" r=\"" << fixed(marker.radius) << "\" fill=\"" << colours.at(row.sensorType)
            << "\"><title>" << markupEscaped(row.name) << ", "
            << markupEscaped(legendName(row.sensorType)) << "</title></circle>\n";
    }
    svg << "</g>\n";
}

// Leader lines under the labels they lead to.
void writeLabels(std::ostream& svg, const LayoutPlot& plot) {
    svg << "<g stroke=\"#888888\" stroke-width=\"0.6\">\n";
    for (const PlotLabel& label : plot.labels) {
        if (label.leader) {
            svg << "<line x1=\"" << fixed(label.leaderFrom.x) << "\" y1=\""
                << fixed(label.leaderFrom.y) << "\" x2=\"" << fixed(label.leaderTo.x) << "\" y2=\""
                << fixed(label.leaderTo.y) << "\"/>\n";
        }
    }
    // A white halo keeps a label legible where a leader passes under it.
    svg << "</g>\n<g font-size=\"" << plot.fontSize
        << "\" fill=\"#111111\" stroke=\"#ffffff\" stroke-width=\"2\" paint-order=\"stroke\">\n";
    for (const PlotLabel& label : plot.labels) {
        writeLabelText(svg, label);
    }
    svg << "</g>\n";
}

// One line per channel type: its colour, its name and its count.
void writeLegend(std::ostream& svg, const LayoutPlot& plot) {
    const double x = 680;
    double y = 90;
    svg << "<text x=\"" << x << "\" y=\"" << y
        << "\" font-size=\"13\" font-weight=\"bold\">Channel types</text>\n";
    for (const PlotLegendEntry& entry : plot.legend) {
        y += 24;
        svg << "<circle cx=\"" << x + 7 << "\" cy=\"" << y - 4 << "\" r=\"6\" fill=\""
            << entry.colour << "\" stroke=\"#222222\" stroke-width=\"0.6\"/>\n";
        svg << "<text x=\"" << x + 20 << "\" y=\"" << y << "\" font-size=\"12\">"
            << markupEscaped(entry.text) << " (" << entry.count << ")</text>\n";
    }
}

// A bar with end ticks, its length above it and what it measures below.
void writeScaleBar(std::ostream& svg, const PlotScaleBar& bar) {
    const double x0 = bar.start.x;
    const double x1 = bar.start.x + bar.length;
    const double y = bar.start.y;
    svg << "<path d=\"M" << fixed(x0) << ',' << fixed(y - 4) << " V" << fixed(y) << " H"
        << fixed(x1) << " V" << fixed(y - 4)
        << "\" fill=\"none\" stroke=\"#222222\" stroke-width=\"1.5\"/>\n";
    svg << "<text x=\"" << fixed(x1 + 8) << "\" y=\"" << fixed(y) << "\" font-size=\"12\">"
        << markupEscaped(bar.text) << "</text>\n";
    svg << "<text x=\"" << fixed(x0) << "\" y=\"" << fixed(y + 14)
        << "\" font-size=\"10\" fill=\"#444444\">" << markupEscaped(bar.note) << "</text>\n";
}

}  // namespace

std::string layoutSvg(const LayoutTableInfo& table) {
    const LayoutPlot plot = layoutPlot(table);
    std::map<int, std::string> colours;
    for (const PlotLegendEntry& entry : plot.legend) {
        colours[entry.sensorType] = entry.colour;
    }
    const std::vector<LayoutRow> rows = layoutRows(table);

    std::ostringstream svg;
    svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << plot.width << "\" height=\""
        << plot.height << "\" viewBox=\"0 0 " << plot.width << ' ' << plot.height << "\">\n";
    svg << "<title>" << markupEscaped(table.name) << "</title>\n";
    svg << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
    svg << "<g font-family=\"DejaVu Sans, Helvetica, Arial, sans-serif\">\n";
    svg << "<text x=\"20\" y=\"32\" font-size=\"20\" font-weight=\"bold\">"
        << markupEscaped(table.name) << "</text>\n";
    svg << "<text x=\"20\" y=\"52\" font-size=\"12\" fill=\"#444444\">" << rows.size()
        << (table.isMeg() ? " MEG" : " EEG") << " channels, " << layoutFrameInfo(table.frame).name
        << " frame; top view, nose up; outline at " << fixed(plot.outlineDegrees)
        << " degrees from the vertex</text>\n";
    writeHead(svg, plot);
    writeMarkers(svg, rows, plot, colours);
    writeLabels(svg, plot);
    writeLegend(svg, plot);
    writeScaleBar(svg, plot.scaleBar);
    svg << "</g>\n</svg>\n";
    return svg.str();
}

}  // namespace fluxgrid::tool
