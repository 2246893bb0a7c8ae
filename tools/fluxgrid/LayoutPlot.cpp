#include "LayoutPlot.h"

#include <fluxgrid/channels/ChannelTypes.h>
#include <fluxgrid/element/BscMagSns.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <numbers>
#include <optional>

namespace fluxgrid::tool {

namespace {

// The drawing: the head on the left, the legend on the right, the title
// above and the scale bar below.
constexpr double kWidth = 940;
constexpr double kHeight = 720;
constexpr PlotPoint kCentre{330, 385};
constexpr double kOutlineRadius = 280;
constexpr PlotBox kLabelArea{6, 62, 658, 612};
constexpr PlotPoint kScaleBarStart{30, 700};
constexpr double kScaleBarTarget = 90;

// The flattening maps 108 degrees from the vertex to the unit circle.
constexpr double kFlattenDegrees = 108.0;
constexpr double kFlattenRadians = kFlattenDegrees * std::numbers::pi / 180.0;
constexpr double kRightAngle = 90.0 / kFlattenDegrees;

// Room between the outermost marker and the outline, beyond its own radius.
constexpr double kOutlineMargin = 6;
// Labels keep this far from each other and from every marker.
constexpr double kClearance = 1;
// A label beside its marker sits this far from the marker's edge; one that
// had to move is farther out in rings, with a leader line.
constexpr double kNearGap = 2;
constexpr int kRings = 60;
constexpr double kSideFontSize = 12;

// Advance widths of DejaVu Sans, printable ASCII from the space on, in
// units of 1/2048 em (the face's hmtx table).
constexpr std::array<int, 95> kAdvances = {
    651,  821,  942,  1716, 1303, 1946, 1597, 563,  799,  799,  1024, 1716, 651,  739,  651,  690,
    1303, 1303, 1303, 1303, 1303, 1303, 1303, 1303, 1303, 1303, 690,  690,  1716, 1716, 1716, 1087,
    2048, 1401, 1405, 1430, 1577, 1294, 1178, 1587, 1540, 604,  604,  1343, 1141, 1767, 1532, 1612,
    1235, 1612, 1423, 1300, 1251, 1499, 1401, 2025, 1403, 1251, 1403, 799,  690,  799,  1716, 1024,
    1024, 1255, 1300, 1126, 1300, 1260, 721,  1300, 1298, 569,  569,  1186, 569,  1995, 1298, 1253,
    1300, 1300, 842,  1067, 803,  1298, 1212, 1675, 1212, 1212, 1075, 1303, 690,  1303, 1716};
constexpr double kEm = 2048;
// Ascender of the tallest letters (b, d, l) and the descender of g, p, y.
constexpr double kAscent = 1556 / kEm;
constexpr double kDescent = 426 / kEm;

PlotPoint operator+(PlotPoint a, PlotPoint b) {
    return {a.x + b.x, a.y + b.y};
}

PlotPoint operator*(PlotPoint a, double k) {
    return {a.x * k, a.y * k};
}

bool inside(const PlotBox& outer, const PlotBox& inner) {
    return inner.x >= outer.x && inner.y >= outer.y &&
           inner.x + inner.width <= outer.x + outer.width &&
           inner.y + inner.height <= outer.y + outer.height;
}

// Liang-Barsky: whether any part of the segment from `a` to `b` lies in the
// box.
bool segmentMeetsBox(PlotPoint a, PlotPoint b, const PlotBox& box) {
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const std::array<double, 4> p = {-dx, dx, -dy, dy};
    const std::array<double, 4> q = {a.x - box.x, box.x + box.width - a.x, a.y - box.y,
                                     box.y + box.height - a.y};
    double enter = 0.0;
    double leave = 1.0;
    for (std::size_t k = 0; k < 4; ++k) {
        if (p[k] == 0.0) {
            if (q[k] < 0.0) {
                return false;
            }
            continue;
        }
        const double t = q[k] / p[k];
        if (p[k] < 0.0) {
            enter = std::max(enter, t);
        } else {
            leave = std::min(leave, t);
        }
    }
    return enter <= leave;
}

bool segmentMeetsCircle(PlotPoint a, PlotPoint b, const PlotCircle& circle) {
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double length2 = dx * dx + dy * dy;
    double t = 0.0;
    if (length2 > 0.0) {
        t = ((circle.centre.x - a.x) * dx + (circle.centre.y - a.y) * dy) / length2;
        t = std::clamp(t, 0.0, 1.0);
    }
    return std::hypot(a.x + t * dx - circle.centre.x, a.y + t * dy - circle.centre.y) <
           circle.radius;
}

struct Segment {
    PlotPoint from;
    PlotPoint to;
};

// Directions tried right beside a marker, in degrees counterclockwise from
// the right as the drawing shows them: right first, as labels are read.
constexpr std::array<double, 10> kNearAngles = {0, 30, -30, 180, 150, -150, 90, -90, 60, -60};
constexpr int kFarAngles = 24;

// Labels go one after the other where they meet nothing placed before them
// and no marker at all.
class LabelPlacer {
  public:
    LabelPlacer(const PlotBox& area, const std::vector<PlotCircle>& markers)
        : m_area(area), m_markers(markers) {}

    void reserve(const PlotBox& box) { m_taken.push_back(box); }

    PlotLabel place(std::size_t index, const std::string& text, double fontSize, double outward) {
        const PlotBox shape = textBox(text, fontSize);
        const double step = 0.6 * fontSize + 1.0;
        std::optional<PlotLabel> first;
        // First with the leader line clear of every label; where a crowd
        // of labels closes the way out, the line may pass under labels.
        for (const bool leaderMayCrossLabels : {false, true}) {
            for (int ring = 0; ring <= kRings; ++ring) {
                const double gap = kNearGap + ring * step;
                for (double angle : anglesFor(ring, outward)) {
                    PlotLabel label = candidate(index, text, shape, angle, gap, ring > 0);
                    if (fits(index, label, leaderMayCrossLabels)) {
                        keep(label);
                        return label;
                    }
                    if (!first) {
                        first = label;
                    }
                }
            }
        }
        // Nowhere free: the label stays beside its marker.
        keep(*first);
        return *first;
    }

  private:
    static std::vector<double> anglesFor(int ring, double outward) {
        if (ring == 0) {
            return {kNearAngles.begin(), kNearAngles.end()};
        }
        // Farther out, the directions away from the head's centre first.
        std::vector<double> angles;
        for (int k = 0; k < kFarAngles; ++k) {
            angles.push_back(outward + 360.0 * k / kFarAngles);
        }
        const auto away = [outward](double angle) {
            return std::abs(std::remainder(angle - outward, 360.0));
        };
        std::stable_sort(angles.begin(), angles.end(),
                         [&](double a, double b) { return away(a) < away(b); });
        return angles;
    }

    PlotLabel candidate(std::size_t index, const std::string& text, const PlotBox& shape,
                        double angle, double gap, bool leader) const {
        const double radians = angle * std::numbers::pi / 180.0;
        const PlotPoint direction{std::cos(radians), -std::sin(radians)};
        const PlotCircle& marker = m_markers[index];
        const double halfWidth = shape.width / 2;
        const double halfHeight = shape.height / 2;
        // The box's extent towards the marker along `direction`.
        const double support =
            std::abs(direction.x) * halfWidth + std::abs(direction.y) * halfHeight;
        const PlotPoint centre = marker.centre + direction * (marker.radius + gap + support);
        PlotLabel label;
        label.text = text;
        label.box = {centre.x - halfWidth, centre.y - halfHeight, shape.width, shape.height};
        label.baseline = {label.box.x - shape.x, label.box.y - shape.y};
        label.leader = leader;
        if (leader) {
            // From the marker's edge to where the line meets the box.
            const double toEdgeX =
                direction.x != 0.0 ? halfWidth / std::abs(direction.x) : HUGE_VAL;
            const double toEdgeY =
                direction.y != 0.0 ? halfHeight / std::abs(direction.y) : HUGE_VAL;
            label.leaderFrom = marker.centre + direction * marker.radius;
            label.leaderTo = centre + direction * -std::min(toEdgeX, toEdgeY);
        }
        return label;
    }

    bool fits(std::size_t index, const PlotLabel& label, bool leaderMayCrossLabels) const {
        if (!inside(m_area, label.box)) {
            return false;
        }
        const PlotBox padded = label.box.grown(kClearance);
        for (const PlotBox& taken : m_taken) {
            if (padded.intersects(taken)) {
                return false;
            }
        }
        for (const PlotCircle& marker : m_markers) {
            if (PlotCircle{marker.centre, marker.radius + kClearance}.intersects(label.box)) {
                return false;
            }
        }
        for (const Segment& leader : m_leaders) {
            if (segmentMeetsBox(leader.from, leader.to, padded)) {
                return false;
            }
        }
        return !label.leader || leaderIsClear(index, label, leaderMayCrossLabels);
    }

    bool leaderIsClear(std::size_t index, const PlotLabel& label, bool leaderMayCrossLabels) const {
        for (const PlotBox& taken : m_taken) {
            if (!leaderMayCrossLabels && segmentMeetsBox(label.leaderFrom, label.leaderTo, taken)) {
                return false;
            }
        }
        // Markers drawn over the label's own cannot be avoided; any other
        // marker can.
        const PlotCircle& own = m_markers[index];
        for (const PlotCircle& marker : m_markers) {
            const bool overOwn =
                std::hypot(marker.centre.x - own.centre.x, marker.centre.y - own.centre.y) <
                marker.radius + own.radius;
            if (!overOwn && segmentMeetsCircle(label.leaderFrom, label.leaderTo, marker)) {
                return false;
            }
        }
        return true;
    }

    void keep(const PlotLabel& label) {
        m_taken.push_back(label.box);
        if (label.leader) {
            m_leaders.push_back({label.leaderFrom, label.leaderTo});
        }
    }

    PlotBox m_area;
    const std::vector<PlotCircle>& m_markers;
    std::vector<PlotBox> m_taken;
    std::vector<Segment> m_leaders;
};

// The distance of the positions from the frame's origin, the middle one: the
// radius at which the scale bar's lengths hold.
double medianRadius(const std::vector<LayoutRow>& rows) {
    std::vector<double> radii;
    for (const LayoutRow& row : rows) {
        radii.push_back(std::hypot(row.pos[0], row.pos[1], row.pos[2]));
    }
    if (radii.empty()) {
        return 1.0;
    }
    std::nth_element(radii.begin(), radii.begin() + radii.size() / 2, radii.end());
    return radii[radii.size() / 2];
}

// The largest of 1, 2 and 5 times a power of ten that is at most `limit`.
double roundDown(double limit) {
    const double decade = std::pow(10.0, std::floor(std::log10(limit)));
    for (double step : {5.0, 2.0}) {
        if (step * decade <= limit) {
            return step * decade;
        }
    }
    return decade;
}

std::string shortNumber(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

// In the azimuthal equidistant projection a distance from the vertex along
// the head is true to scale: an arc of length s at radius r lies s / r
// radians from the vertex.
PlotScaleBar scaleBarOf(LayoutFrame frame, const std::vector<LayoutRow>& rows,
                        double pixelsPerFlatUnit) {
    const double radius = medianRadius(rows);
    const double pixelsPerRadian = pixelsPerFlatUnit / kFlattenRadians;
    const std::string unit(layoutFrameInfo(frame).unit);
    PlotScaleBar bar;
    bar.start = kScaleBarStart;
    if (unit.empty()) {
        // The unitless sphere: lengths in its radius.
        const double value = roundDown(kScaleBarTarget / pixelsPerRadian);
        bar.length = value * pixelsPerRadian;
        bar.text = shortNumber(value) + " sphere radius";
        bar.note = "along the sphere from the vertex";
        return bar;
    }
    const double pixelsPerUnit = pixelsPerRadian / radius;
    const double value = roundDown(kScaleBarTarget / pixelsPerUnit);
    bar.length = value * pixelsPerUnit;
    bar.text = shortNumber(value) + ' ' + unit;
    bar.note = "along the head from the vertex, at the median radius of " +
               shortNumber(std::round(radius * 10) / 10) + ' ' + unit;
    return bar;
}

// The tables' ear electrodes (A1, A2): 300 plus their electrode kind 1.
constexpr int kEarElectrode = 301;

// Each kind of channel in a colour of its own, the ear electrodes in grey,
// and every other type from a palette by its place in the legend; so is a
// second type of a kind that already has its colour.
std::string colourOf(int sensorType, std::size_t index, const std::vector<PlotLegendEntry>& taken) {
    const char* colour = nullptr;
    if (sensorType == kEarElectrode) {
        colour = "#7f7f7f";
    } else if (const ChannelKind kind = channelType(sensorType).kind; kind == ChannelKind::meg) {
        colour = "#1f77b4";
    } else if (kind == ChannelKind::reference) {
        colour = "#ff7f0e";
    } else if (kind == ChannelKind::eeg) {
        colour = "#2ca02c";
    }
    if (colour != nullptr &&
        std::none_of(taken.begin(), taken.end(),
                     [&](const PlotLegendEntry& entry) { return entry.colour == colour; })) {
        return colour;
    }
    static const char* const others[] = {"#9467bd", "#d62728", "#8c564b", "#e377c2", "#17becf"};
    return others[index % std::size(others)];
}

std::vector<PlotLegendEntry> legendOf(const std::vector<LayoutRow>& rows) {
    std::vector<PlotLegendEntry> legend;
    for (const LayoutRow& row : rows) {
        auto found = std::find_if(legend.begin(), legend.end(), [&](const PlotLegendEntry& entry) {
            return entry.sensorType == row.sensorType;
        });
        if (found == legend.end()) {
            legend.push_back({row.sensorType, legendName(row.sensorType),
                              colourOf(row.sensorType, legend.size(), legend), 0});
            found = legend.end() - 1;
        }
        ++found->count;
    }
    return legend;
}

// The head's centre to `point`, as an angle counterclockwise from the right
// on the drawing; straight up from the centre itself.
double outwardAngle(PlotPoint point) {
    const double dx = point.x - kCentre.x;
    const double dy = kCentre.y - point.y;
    if (std::hypot(dx, dy) < 1.0) {
        return 90.0;
    }
    return std::atan2(dy, dx) * 180.0 / std::numbers::pi;
}

PlotBox boundsOf(const std::vector<PlotPoint>& points) {
    const auto [left, right] = std::minmax_element(
        points.begin(), points.end(), [](PlotPoint a, PlotPoint b) { return a.x < b.x; });
    const auto [top, bottom] = std::minmax_element(
        points.begin(), points.end(), [](PlotPoint a, PlotPoint b) { return a.y < b.y; });
    return {left->x, top->y, right->x - left->x, bottom->y - top->y};
}

PlotLabel sideLetter(const char* letter, double x, double y, bool alignRight) {
    PlotLabel label;
    label.text = letter;
    const PlotBox shape = textBox(letter, kSideFontSize);
    label.baseline = {alignRight ? x - shape.width : x, y};
    label.box = {label.baseline.x + shape.x, label.baseline.y + shape.y, shape.width, shape.height};
    return label;
}

// Nose, ears and the letters L and R, in proportion to the outline.
void drawHead(LayoutPlot& plot) {
    const PlotPoint c = plot.outline.centre;
    const double r = plot.outline.radius;
    plot.nose = {
        {c.x - 0.09 * r, c.y - 0.995 * r}, {c.x, c.y - 1.1 * r}, {c.x + 0.09 * r, c.y - 0.995 * r}};
    for (int side : {-1, 1}) {
        plot.ears.push_back({c.x + side * 1.03 * r - 0.04 * r, c.y - 0.13 * r, 0.08 * r, 0.26 * r});
    }
    plot.sides = {sideLetter("L", c.x - 1.09 * r - 8, c.y + 4, true),
                  sideLetter("R", c.x + 1.09 * r + 8, c.y + 4, false)};
}

}  // namespace

bool PlotBox::intersects(const PlotBox& other) const {
    return x < other.x + other.width && other.x < x + width && y < other.y + other.height &&
           other.y < y + height;
}

PlotBox PlotBox::grown(double margin) const {
    return {x - margin, y - margin, width + 2 * margin, height + 2 * margin};
}

bool PlotCircle::intersects(const PlotBox& box) const {
    const double nearestX = std::clamp(centre.x, box.x, box.x + box.width);
    const double nearestY = std::clamp(centre.y, box.y, box.y + box.height);
    return std::hypot(centre.x - nearestX, centre.y - nearestY) < radius;
}

PlotBox textBox(std::string_view text, double fontSize) {
    double advance = 0;
    for (char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F) {
            advance += kAdvances[byte - 0x20];
        } else if ((byte & 0xC0) != 0x80) {
            // Beyond ASCII, each character counted a full em wide.
            advance += kEm;
        }
    }
    return {0.0, -kAscent * fontSize, advance / kEm * fontSize, (kAscent + kDescent) * fontSize};
}

std::string legendName(int sensorType) {
    if (sensorType == kEarElectrode) {
        return "Ear electrode";
    }
    const ChannelType type = channelType(sensorType);
    if (!type.known) {
        return "Type " + std::to_string(sensorType);
    }
    const std::string name(type.name);
    switch (type.kind) {
        case ChannelKind::meg:
            return name + ", MEG sensor";
        case ChannelKind::reference:
            return name + ", MEG reference";
        case ChannelKind::eeg:
            return name + ", EEG electrode";
        default:
            return name;
    }
}

std::array<double, 3> toVertexUp(LayoutFrame frame, const std::array<double, 3>& pos) {
    std::array<double, 3> up = directionToRas(frame, pos);
    if (frame == LayoutFrame::head) {
        // The head frame is left-handed: its turn without the mirror keeps
        // the subject's left on +X, and the drawing undoes the mirror.
        up[0] = -up[0];
    }
    return up;
}

LayoutPlot layoutPlot(const LayoutTableInfo& table) {
    const std::vector<LayoutRow> rows = layoutRows(table);
    LayoutPlot plot;
    plot.width = kWidth;
    plot.height = kHeight;
    plot.labelArea = kLabelArea;
    const bool dense = rows.size() > 100;
    const double markerRadius = dense ? 3.0 : 5.5;
    plot.fontSize = dense ? 6.0 : 11.0;

    // Flattened positions, the subject's right to the right, nose up.
    const bool mirrored = table.frame == LayoutFrame::head;
    std::vector<PlotPoint> flat;
    double farthest = 0.0;
    for (const LayoutRow& row : rows) {
        const auto up = toVertexUp(table.frame, row.pos);
        double u = 0.0;
        double v = 0.0;
        CBscMagSns::flatten3Dto2D(up[0], up[1], up[2], u, v);
        flat.push_back({mirrored ? -u : u, v});
        farthest = std::max(farthest, std::hypot(u, v));
    }
    // The outline: 90 degrees from the vertex, or farther out where markers
    // lie beyond it, with room for the outermost one.
    const double room = (markerRadius + kOutlineMargin) / kOutlineRadius;
    const double outline = std::max(kRightAngle, farthest / (1.0 - room));
    const double scale = kOutlineRadius / outline;
    plot.outline = {kCentre, kOutlineRadius};
    plot.outlineDegrees = outline * kFlattenDegrees;

    for (const PlotPoint& point : flat) {
        plot.markers.push_back(
            {{kCentre.x + point.x * scale, kCentre.y - point.y * scale}, markerRadius});
    }

    drawHead(plot);
    LabelPlacer placer(kLabelArea, plot.markers);
    for (const PlotBox& ear : plot.ears) {
        placer.reserve(ear);
    }
    for (const PlotLabel& side : plot.sides) {
        placer.reserve(side.box);
    }
    placer.reserve(boundsOf(plot.nose));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        plot.labels.push_back(
            placer.place(i, rows[i].name, plot.fontSize, outwardAngle(plot.markers[i].centre)));
    }
    plot.legend = legendOf(rows);
    plot.scaleBar = scaleBarOf(table.frame, rows, scale);
    return plot;
}

}  // namespace fluxgrid::tool
