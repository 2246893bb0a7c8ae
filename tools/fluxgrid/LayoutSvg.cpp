#include "LayoutSvg.h"

#include "Format.h"

#include <fluxgrid/element/BscMagSns.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <sstream>

namespace fluxgrid::tool {

namespace {

// Where 90 degrees from the vertex lands after flattening: 108 degrees make
// the unit circle.
constexpr double kOutline = 90.0 / 108.0;

std::string escaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

const char* colourOf(int sensorType, std::size_t index) {
    switch (sensorType) {
        case 100:
            return "#1f77b4";
        case 10:
            return "#ff7f0e";
        case 302:
            return "#2ca02c";
        case 301:
            return "#7f7f7f";
        default:
            break;
    }
    static const char* const others[] = {"#9467bd", "#d62728", "#8c564b", "#e377c2", "#17becf"};
    return others[index % std::size(others)];
}

struct Point {
    double x;
    double y;
};

}  // namespace

std::string layoutSvg(const LayoutTable& table) {
    constexpr double kWidth = 820;
    constexpr double kHeight = 660;
    constexpr double kCentreX = 320;
    constexpr double kCentreY = 350;
    constexpr double kRadius = 270;  // room for the farthest marker

    // Flattened positions, the subject's right to the right, nose up.
    const bool mirrored = table.frame == LayoutFrame::head;
    std::vector<Point> flat;
    double farthest = kOutline;
    for (const ChannelRow& row : table.rows) {
        const auto up = toVertexUp(table.frame, row.pos);
        double u = 0.0;
        double v = 0.0;
        CBscMagSns::flatten3Dto2D(up[0], up[1], up[2], u, v);
        flat.push_back({mirrored ? -u : u, v});
        farthest = std::max(farthest, std::hypot(u, v));
    }
    const double scale = kRadius / (farthest * 1.06);
    auto sx = [&](double x) { return kCentreX + x * scale; };
    auto sy = [&](double y) { return kCentreY - y * scale; };

    // Types in order of first appearance, with their counts.
    std::vector<int> types;
    std::map<int, int> counts;
    for (const ChannelRow& row : table.rows) {
        if (counts[row.sensorType]++ == 0) {
            types.push_back(row.sensorType);
        }
    }
    std::map<int, const char*> colours;
    for (std::size_t i = 0; i < types.size(); ++i) {
        colours[types[i]] = colourOf(types[i], i);
    }

    const bool dense = table.rows.size() > 100;
    const double marker = dense ? 3.0 : 5.5;
    const double font = dense ? 5.5 : 11.0;

    std::ostringstream svg;
    svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << kWidth << "\" height=\""
        << kHeight << "\" viewBox=\"0 0 " << kWidth << ' ' << kHeight << "\">\n";
    svg << "<title>" << escaped(table.name) << "</title>\n";
    svg << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
    svg << "<g font-family=\"DejaVu Sans, Helvetica, Arial, sans-serif\">\n";
    svg << "<text x=\"20\" y=\"32\" font-size=\"20\" font-weight=\"bold\">" << escaped(table.name)
        << "</text>\n";
    svg << "<text x=\"20\" y=\"52\" font-size=\"12\" fill=\"#444444\">" << table.rows.size()
        << (table.meg ? " MEG" : " EEG") << " channels, " << frameName(table.frame)
        << " frame; top view, nose up, flattened about the vertex</text>\n";

    // The head: its outline at 90 degrees from the vertex, nose and ears.
    const double r = kOutline * scale;
    svg << "<g fill=\"none\" stroke=\"#333333\" stroke-width=\"2\">\n";
    svg << "<circle cx=\"" << fixed(kCentreX) << "\" cy=\"" << fixed(kCentreY) << "\" r=\""
        << fixed(r) << "\"/>\n";
    svg << "<polyline points=\"" << fixed(kCentreX - 0.09 * r) << ',' << fixed(kCentreY - 0.995 * r)
        << ' ' << fixed(kCentreX) << ',' << fixed(kCentreY - 1.1 * r) << ' '
        << fixed(kCentreX + 0.09 * r) << ',' << fixed(kCentreY - 0.995 * r) << "\"/>\n";
    for (int side : {-1, 1}) {
        svg << "<ellipse cx=\"" << fixed(kCentreX + side * 1.03 * r) << "\" cy=\""
            << fixed(kCentreY) << "\" rx=\"" << fixed(0.04 * r) << "\" ry=\"" << fixed(0.13 * r)
            << "\"/>\n";
    }
    svg << "</g>\n";
    svg << "<text x=\"" << fixed(kCentreX - 1.09 * r - 8) << "\" y=\"" << fixed(kCentreY + 4)
        << "\" font-size=\"12\" text-anchor=\"end\" fill=\"#444444\">L</text>\n";
    svg << "<text x=\"" << fixed(kCentreX + 1.09 * r + 8) << "\" y=\"" << fixed(kCentreY + 4)
        << "\" font-size=\"12\" fill=\"#444444\">R</text>\n";

    // Markers and labels.
    svg << "<g stroke=\"#222222\" stroke-width=\"0.6\">\n";
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
        svg << "<circle cx=\"" << fixed(sx(flat[i].x)) << "\" cy=\"" << fixed(sy(flat[i].y))
            << "\" r=\"" << marker << "\" fill=\"" << colours[table.rows[i].sensorType]
            << "\"><title>" << escaped(table.rows[i].name) << ' ' << table.rows[i].sensorType
            << "</title></circle>\n";
    }
    svg << "</g>\n<g font-size=\"" << font << "\" fill=\"#111111\">\n";
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
        svg << "<text x=\"" << fixed(sx(flat[i].x) + marker + 1.5) << "\" y=\""
            << fixed(sy(flat[i].y) - marker * 0.4) << "\">" << escaped(table.rows[i].name)
            << "</text>\n";
    }
    svg << "</g>\n";

    // Legend: one line per channel type.
    const double legendX = 640;
    double legendY = 90;
    svg << "<text x=\"" << legendX << "\" y=\"" << legendY
        << "\" font-size=\"13\" font-weight=\"bold\">Channel types</text>\n";
    for (int type : types) {
        legendY += 24;
        svg << "<circle cx=\"" << legendX + 7 << "\" cy=\"" << legendY - 4 << "\" r=\"6\" fill=\""
            << colours[type] << "\" stroke=\"#222222\" stroke-width=\"0.6\"/>\n";
        svg << "<text x=\"" << legendX + 20 << "\" y=\"" << legendY << "\" font-size=\"12\">"
            << type << ' ' << escaped(typeName(type)) << " (" << counts[type] << ")</text>\n";
    }
    svg << "</g>\n</svg>\n";
    return svg.str();
}

}  // namespace fluxgrid::tool
