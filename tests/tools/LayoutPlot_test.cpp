// The drawings of `fluxgrid layout plot` on every table: the label boxes and
// markers read back from the SVG that is written, checked against each
// other and against the head outline; the legend and the scale bar; and the
// output formats that the name of the output asks for.
#include "LayoutPlot.h"
#include "Layout.h"
#include "LayoutSvg.h"
#include "PlotImage.h"

#include "support/ScratchDir.h"

#include <fluxgrid/tables/Layouts.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numbers>
#include <optional>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using fluxgrid::LayoutRow;
using fluxgrid::LayoutTableInfo;
using fluxgrid::tool::PlotFormat;
using fluxgrid::tool::plotFormatFor;

struct Box {
    std::string text;
    double left;
    double top;
    double right;
    double bottom;
};

struct Circle {
    std::string title;
    double x;
    double y;
    double r;
};

const LayoutTableInfo& tableNamed(const std::string& name) {
    const LayoutTableInfo* table = fluxgrid::findLayoutTable(name);
    if (table == nullptr) {
        throw std::runtime_error("no table " + name);
    }
    return *table;
}

// The part of `svg` from the group that opens with `opening` to its end.
std::string groupOf(const std::string& svg, const std::string& opening) {
    const std::size_t start = svg.find(opening);
    if (start == std::string::npos) {
        return {};
    }
    return svg.substr(start, svg.find("</g>", start) - start);
}

// The channel labels as the SVG places them, each with the box its glyphs
// take in the face the drawing asks for.
std::vector<Box> labelBoxesOf(const std::string& svg, double fontSize) {
    char opening[64];
    std::snprintf(opening, sizeof opening, "<g font-size=\"%g\" fill=\"#111111\"", fontSize);
    const std::string group = groupOf(svg, opening);
    const std::regex text(R"re(<text x="([-0-9.]+)" y="([-0-9.]+)">([^<]*)</text>)re");
    std::vector<Box> boxes;
    for (auto it = std::sregex_iterator(group.begin(), group.end(), text);
         it != std::sregex_iterator(); ++it) {
        const double x = std::stod((*it)[1]);
        const double y = std::stod((*it)[2]);
        const fluxgrid::tool::PlotBox glyphs = fluxgrid::tool::textBox((*it)[3].str(), fontSize);
        boxes.push_back({(*it)[3], x + glyphs.x, y + glyphs.y, x + glyphs.x + glyphs.width,
                         y + glyphs.y + glyphs.height});
    }
    return boxes;
}

// The channel markers: the circles with a title.
std::vector<Circle> markersOf(const std::string& svg) {
    const std::regex circle(
        R"re(<circle cx="([-0-9.]+)" cy="([-0-9.]+)" r="([-0-9.]+)" fill="[^"]*"><title>([^<]*)</title></circle>)re");
    std::vector<Circle> markers;
    for (auto it = std::sregex_iterator(svg.begin(), svg.end(), circle);
         it != std::sregex_iterator(); ++it) {
        markers.push_back(
            {(*it)[4], std::stod((*it)[1]), std::stod((*it)[2]), std::stod((*it)[3])});
    }
    return markers;
}

// The head outline: the first circle of the stroked head group.
Circle outlineOf(const std::string& svg) {
    const std::string group = groupOf(svg, "<g fill=\"none\" stroke=\"#333333\"");
    std::smatch match;
    const std::regex circle(R"re(<circle cx="([-0-9.]+)" cy="([-0-9.]+)" r="([-0-9.]+)"/>)re");
    if (!std::regex_search(group, match, circle)) {
        return {"none", 0, 0, 0};
    }
    return {"outline", std::stod(match[1]), std::stod(match[2]), std::stod(match[3])};
}

bool overlap(const Box& a, const Box& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

bool covers(const Box& box, const Circle& circle) {
    const double dx = std::max({box.left - circle.x, 0.0, circle.x - box.right});
    const double dy = std::max({box.top - circle.y, 0.0, circle.y - box.bottom});
    return std::hypot(dx, dy) < circle.r;
}

class EveryTable : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override { m_rows = fluxgrid::layoutRows(table()); }

    const LayoutTableInfo& table() const { return tableNamed(GetParam()); }
    const std::vector<LayoutRow>& rows() const { return m_rows; }

  private:
    std::vector<LayoutRow> m_rows;
};

std::vector<std::string> allTableNames() {
    std::vector<std::string> names;
    for (const LayoutTableInfo& table : fluxgrid::layoutTables()) {
        names.emplace_back(table.name);
    }
    return names;
}

INSTANTIATE_TEST_SUITE_P(LayoutPlot, EveryTable, testing::ValuesIn(allTableNames()),
                         [](const testing::TestParamInfo<std::string>& info) {
                             return info.param;
                         });

TEST_P(EveryTable, DrawsOneMarkerAndOneLabelPerRow) {
    const std::string svg = fluxgrid::tool::layoutSvg(table());
    const double fontSize = fluxgrid::tool::layoutPlot(table()).fontSize;
    const std::vector<Box> labels = labelBoxesOf(svg, fontSize);
    const std::vector<Circle> markers = markersOf(svg);
    ASSERT_EQ(labels.size(), rows().size());
    ASSERT_EQ(markers.size(), rows().size());
    for (std::size_t i = 0; i < labels.size(); ++i) {
        EXPECT_EQ(labels[i].text, rows()[i].name);
        EXPECT_EQ(markers[i].title.rfind(rows()[i].name + ", ", 0), 0u) << markers[i].title;
    }
}

TEST_P(EveryTable, NoTwoLabelsOverlap) {
    const std::string svg = fluxgrid::tool::layoutSvg(table());
    const std::vector<Box> labels = labelBoxesOf(svg, fluxgrid::tool::layoutPlot(table()).fontSize);
    ASSERT_EQ(labels.size(), rows().size());
    int overlaps = 0;
    for (std::size_t i = 0; i < labels.size(); ++i) {
        for (std::size_t j = i + 1; j < labels.size(); ++j) {
            if (overlap(labels[i], labels[j])) {
                ++overlaps;
                ADD_FAILURE() << labels[i].text << " overlaps " << labels[j].text;
            }
        }
    }
    EXPECT_EQ(overlaps, 0);
}

TEST_P(EveryTable, NoLabelCoversAMarker) {
    const std::string svg = fluxgrid::tool::layoutSvg(table());
    const std::vector<Box> labels = labelBoxesOf(svg, fluxgrid::tool::layoutPlot(table()).fontSize);
    const std::vector<Circle> markers = markersOf(svg);
    ASSERT_EQ(labels.size(), rows().size());
    ASSERT_EQ(markers.size(), rows().size());
    for (const Box& label : labels) {
        for (const Circle& marker : markers) {
            EXPECT_FALSE(covers(label, marker)) << label.text << " covers " << marker.title;
        }
    }
}

TEST_P(EveryTable, EveryMarkerLiesInsideTheHeadOutline) {
    const std::string svg = fluxgrid::tool::layoutSvg(table());
    const Circle outline = outlineOf(svg);
    const std::vector<Circle> markers = markersOf(svg);
    ASSERT_GT(outline.r, 100.0);
    ASSERT_EQ(markers.size(), rows().size());
    for (const Circle& marker : markers) {
        EXPECT_LE(std::hypot(marker.x - outline.x, marker.y - outline.y) + marker.r, outline.r)
            << marker.title;
    }
}

// Every label inside the drawing, and every leader line from the edge of
// its marker to the edge of its label.
void expectLabelsInsideAndLeadersJoined(const fluxgrid::tool::LayoutPlot& plot) {
    ASSERT_EQ(plot.labels.size(), plot.markers.size());
    for (std::size_t i = 0; i < plot.labels.size(); ++i) {
        const fluxgrid::tool::PlotLabel& label = plot.labels[i];
        SCOPED_TRACE(label.text);
        EXPECT_GE(label.box.x, 0.0);
        EXPECT_GE(label.box.y, 0.0);
        EXPECT_LE(label.box.x + label.box.width, plot.width);
        EXPECT_LE(label.box.y + label.box.height, plot.height);
        if (!label.leader) {
            continue;
        }
        const fluxgrid::tool::PlotCircle& marker = plot.markers[i];
        EXPECT_NEAR(
            std::hypot(label.leaderFrom.x - marker.centre.x, label.leaderFrom.y - marker.centre.y),
            marker.radius, 1e-9);
        const double outside = std::max(
            {label.box.x - label.leaderTo.x, 0.0, label.leaderTo.x - label.box.x - label.box.width,
             label.box.y - label.leaderTo.y, label.leaderTo.y - label.box.y - label.box.height});
        EXPECT_LT(outside, 1e-9);
        const double onEdge =
            std::min({std::abs(label.leaderTo.x - label.box.x),
                      std::abs(label.leaderTo.x - label.box.x - label.box.width),
                      std::abs(label.leaderTo.y - label.box.y),
                      std::abs(label.leaderTo.y - label.box.y - label.box.height)});
        EXPECT_LT(onEdge, 1e-9);
    }
}

TEST_P(EveryTable, LabelsStayInsideTheDrawingAndLeadersJoinMarkerToLabel) {
    expectLabelsInsideAndLeadersJoined(fluxgrid::tool::layoutPlot(table()));
}

// In a drawing flattened about the vertex at equal distances, a marker lies
// as far from the centre as its angle from the vertex times the radius of
// the scale bar's note: the bar's length per unit holds for every marker.
TEST_P(EveryTable, ScaleBarMeasuresDistancesFromTheVertex) {
    const fluxgrid::tool::LayoutPlot plot = fluxgrid::tool::layoutPlot(table());
    const std::string unit(fluxgrid::layoutFrameInfo(table().frame).unit);
    const fluxgrid::tool::PlotScaleBar& bar = plot.scaleBar;
    char* end = nullptr;
    const double value = std::strtod(bar.text.c_str(), &end);
    ASSERT_GT(value, 0.0);
    const std::string barUnit = std::string(end);
    EXPECT_EQ(barUnit, unit.empty() ? " sphere radius" : " " + unit);
    ASSERT_GT(bar.length, 20.0);
    ASSERT_LT(bar.length, 200.0);

    std::vector<double> radii;
    for (const auto& row : rows()) {
        radii.push_back(std::hypot(row.pos[0], row.pos[1], row.pos[2]));
    }
    std::sort(radii.begin(), radii.end());
    const double radius = unit.empty() ? 1.0 : radii[radii.size() / 2];
    const double pixelsPerUnit = bar.length / value;
    for (std::size_t i = 0; i < rows().size(); ++i) {
        const auto up = fluxgrid::tool::toVertexUp(table().frame, rows()[i].pos);
        const double fromVertex = std::acos(up[2] / std::hypot(up[0], up[1], up[2]));
        const auto& marker = plot.markers[i].centre;
        const double drawn =
            std::hypot(marker.x - plot.outline.centre.x, marker.y - plot.outline.centre.y);
        EXPECT_NEAR(drawn, fromVertex * radius * pixelsPerUnit, 1e-6) << rows()[i].name;
    }
}

TEST_P(EveryTable, LegendNamesTypesRatherThanCodes) {
    const fluxgrid::tool::LayoutPlot plot = fluxgrid::tool::layoutPlot(table());
    ASSERT_FALSE(plot.legend.empty());
    int counted = 0;
    for (const fluxgrid::tool::PlotLegendEntry& entry : plot.legend) {
        EXPECT_EQ(entry.text.find("Unknown"), std::string::npos) << entry.text;
        EXPECT_EQ(entry.text.find(std::to_string(entry.sensorType)), std::string::npos)
            << entry.text;
        counted += entry.count;
    }
    EXPECT_EQ(counted, static_cast<int>(rows().size()));
}

TEST(LayoutPlotLegend, GivesTheLibraryNameAndWhatTheChannelIs) {
    const std::string svg = fluxgrid::tool::layoutSvg(tableNamed("megLayout32"));
    EXPECT_NE(svg.find(">MEG_SNSR, MEG sensor (30)</text>"), std::string::npos);
    EXPECT_NE(svg.find(">Ear electrode (2)</text>"), std::string::npos);
    EXPECT_EQ(svg.find("301 "), std::string::npos);
    EXPECT_EQ(svg.find("Unknown"), std::string::npos);
    const std::string meg21 = fluxgrid::tool::layoutSvg(tableNamed("megLayout21"));
    EXPECT_NE(meg21.find(">MEG_REF, MEG reference (2)</text>"), std::string::npos);
    const std::string eeg = fluxgrid::tool::layoutSvg(tableNamed("eegNet260"));
    EXPECT_NE(eeg.find(">EEG_SNSR, EEG electrode (260)</text>"), std::string::npos);
}

// Types beyond those of the tables: each named with its kind where it has
// one, and each in a colour of its own, even two of the same kind.
TEST(LayoutPlotLegend, NamesTheKindOfEveryTypeAndGivesEachItsOwnColour) {
    std::vector<MEG_OPM_NAME_POS_TYPE> rows;
    for (const int type : {100, 101, 11, 600, 303, 4242}) {
        rows.push_back(
            {CString("C" + std::to_string(type)), 0.0, 90.0, -0.01 * type, 0.0, 1.0, 0.0, type});
    }
    const LayoutTableInfo table{"mixed", fluxgrid::LayoutFrame::head, {}, rows};
    const fluxgrid::tool::LayoutPlot plot = fluxgrid::tool::layoutPlot(table);
    std::vector<std::string> texts;
    std::vector<std::string> colours;
    for (const fluxgrid::tool::PlotLegendEntry& entry : plot.legend) {
        texts.push_back(entry.text);
        colours.push_back(entry.colour);
        EXPECT_EQ(entry.count, 1) << entry.text;
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"MEG_SNSR, MEG sensor", "MEG_SNSR1, MEG sensor",
                                               "MEG_REF1, MEG reference", "STIM",
                                               "EEG_BIPOLAR, EEG electrode", "Type 4242"}));
    std::vector<std::string> distinct = colours;
    std::sort(distinct.begin(), distinct.end());
    EXPECT_EQ(std::unique(distinct.begin(), distinct.end()), distinct.end());
    EXPECT_EQ(colours[0], "#1f77b4");
    EXPECT_EQ(colours[2], "#ff7f0e");
    EXPECT_EQ(colours[4], "#2ca02c");
}

TEST(LayoutPlotScaleBar, SpeaksInTheUnitOfTheTable) {
    EXPECT_EQ(fluxgrid::tool::layoutPlot(tableNamed("megLayout32")).scaleBar.text, "50 mm");
    EXPECT_EQ(fluxgrid::tool::layoutPlot(tableNamed("eegNet260")).scaleBar.text, "5 cm");
    EXPECT_EQ(fluxgrid::tool::layoutPlot(tableNamed("eegSphere25")).scaleBar.text,
              "0.5 sphere radius");
}

// The channels that used to be drawn on top of each other.
TEST(LayoutPlotLabels, CloseNeighboursAreDrawnApart) {
    const std::string svg = fluxgrid::tool::layoutSvg(tableNamed("megLayout32"));
    const std::vector<Box> labels =
        labelBoxesOf(svg, fluxgrid::tool::layoutPlot(tableNamed("megLayout32")).fontSize);
    const auto named = [&](const std::string& name) {
        return *std::find_if(labels.begin(), labels.end(),
                             [&](const Box& box) { return box.text == name; });
    };
    for (const auto& [a, b] : {std::pair{"MLT7", "MLTP7"}, std::pair{"MRT8", "MRTP8"}}) {
        const Box first = named(a);
        const Box second = named(b);
        const double gapX = std::max(first.left - second.right, second.left - first.right);
        const double gapY = std::max(first.top - second.bottom, second.top - first.bottom);
        EXPECT_GE(std::max(gapX, gapY), 1.0) << a << " and " << b;
    }
}

// Twenty channels within a millimetre of each other: most labels find no
// room beside their markers and move out with leader lines, and still none
// meets another label or a marker, and no leader runs through a marker
// other than those stacked on its own.
TEST(LayoutPlotLabels, ACrowdMovesOutWithLeaderLines) {
    std::vector<EEG_NAME_POS_TYPE> rows;
    for (int i = 0; i < 20; ++i) {
        char name[8];
        std::snprintf(name, sizeof name, "C%02d", i);
        rows.push_back({CString(name), 0.005 * i, 0.003 * (i % 3), 9.0, 2, 302});
    }
    const LayoutTableInfo crowd{"crowd", fluxgrid::LayoutFrame::net, rows, {}};
    const fluxgrid::tool::LayoutPlot plot = fluxgrid::tool::layoutPlot(crowd);
    const std::string svg = fluxgrid::tool::layoutSvg(crowd);
    const std::vector<Box> labels = labelBoxesOf(svg, plot.fontSize);
    const std::vector<Circle> markers = markersOf(svg);
    ASSERT_EQ(labels.size(), 20u);
    ASSERT_EQ(markers.size(), 20u);
    for (std::size_t i = 0; i < labels.size(); ++i) {
        for (std::size_t j = i + 1; j < labels.size(); ++j) {
            EXPECT_FALSE(overlap(labels[i], labels[j])) << labels[i].text << ", " << labels[j].text;
        }
        for (const Circle& marker : markers) {
            EXPECT_FALSE(covers(labels[i], marker)) << labels[i].text << ", " << marker.title;
        }
    }
    int leaders = 0;
    for (std::size_t i = 0; i < plot.labels.size(); ++i) {
        const fluxgrid::tool::PlotLabel& label = plot.labels[i];
        if (!label.leader) {
            continue;
        }
        ++leaders;
        // The line is drawn, and meets no marker that does not lie over the
        // label's own.
        char drawn[128];
        std::snprintf(drawn, sizeof drawn,
                      "<line x1=\"%.2f\" y1=\"%.2f\" x2=\"%.2f\" y2=\"%.2f\"/>", label.leaderFrom.x,
                      label.leaderFrom.y, label.leaderTo.x, label.leaderTo.y);
        EXPECT_NE(svg.find(drawn), std::string::npos) << drawn;
        const Circle& own = markers[i];
        for (const Circle& marker : markers) {
            if (std::hypot(marker.x - own.x, marker.y - own.y) < marker.r + own.r) {
                continue;
            }
            for (int k = 0; k <= 100; ++k) {
                const double t = k / 100.0;
                const double x = label.leaderFrom.x + t * (label.leaderTo.x - label.leaderFrom.x);
                const double y = label.leaderFrom.y + t * (label.leaderTo.y - label.leaderFrom.y);
                EXPECT_GE(std::hypot(x - marker.x, y - marker.y), marker.r - 0.01)
                    << label.text << "'s leader runs through " << marker.title;
            }
        }
    }
    EXPECT_GE(leaders, 10);
    expectLabelsInsideAndLeadersJoined(plot);
}

// ---------------------------------------------------------------------------
// Formats

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::uint32_t bigEndian32(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t k = 0; k < 4; ++k) {
        value = (value << 8) | static_cast<unsigned char>(bytes[at + k]);
    }
    return value;
}

TEST(LayoutPlotFormat, FollowsTheExtensionOfTheOutputName) {
    EXPECT_EQ(plotFormatFor("plot.svg"), PlotFormat::svg);
    EXPECT_EQ(plotFormatFor("plot.png"), PlotFormat::png);
    EXPECT_EQ(plotFormatFor("dir/PLOT.PNG"), PlotFormat::png);
    EXPECT_EQ(plotFormatFor("plot.pdf"), PlotFormat::pdf);
    EXPECT_EQ(plotFormatFor("-"), PlotFormat::svg);
    EXPECT_EQ(plotFormatFor(""), PlotFormat::svg);
    EXPECT_EQ(plotFormatFor("/dev/stdout"), PlotFormat::svg);
    EXPECT_EQ(plotFormatFor("some.dir/plot"), PlotFormat::svg);
    EXPECT_EQ(plotFormatFor(".plot"), PlotFormat::svg);
    EXPECT_EQ(plotFormatFor("plot.jpg"), std::nullopt);
    EXPECT_EQ(plotFormatFor("plot.svg.gz"), std::nullopt);
    EXPECT_EQ(plotFormatFor("plot."), std::nullopt);
}

TEST(LayoutPlotFormat, AnExtensionItDoesNotWriteIsBadUsageAndWritesNothing) {
    fluxgrid::test::ScratchDir scratch;
    const std::string out = scratch.file("x.jpg");
    testing::internal::CaptureStderr();
    const int status = fluxgrid::tool::runLayoutPlot("megLayout32", out);
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(status, 2);
    EXPECT_EQ(err, "fluxgrid: " + out +
                       ": the plot is written as .svg, .png or .pdf; give the output one of "
                       "these extensions\n");
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST(LayoutPlotFormat, PngNameGetsAPngTwiceTheDrawingsSize) {
    fluxgrid::test::ScratchDir scratch;
    const std::string out = scratch.file("x.png");
    testing::internal::CaptureStdout();
    ASSERT_EQ(fluxgrid::tool::runLayoutPlot("megLayout32", out), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "wrote " + out + "\n");
    const std::string png = slurp(out);
    ASSERT_GT(png.size(), 24u);
    EXPECT_EQ(png.substr(0, 8), std::string("\x89PNG\r\n\x1a\n", 8));
    EXPECT_EQ(png.substr(12, 4), "IHDR");
    const fluxgrid::tool::LayoutPlot plot = fluxgrid::tool::layoutPlot(tableNamed("megLayout32"));
    EXPECT_EQ(bigEndian32(png, 16), static_cast<std::uint32_t>(2 * plot.width));
    EXPECT_EQ(bigEndian32(png, 20), static_cast<std::uint32_t>(2 * plot.height));
}

TEST(LayoutPlotFormat, PdfNameGetsAOnePagePdf) {
    fluxgrid::test::ScratchDir scratch;
    const std::string out = scratch.file("x.PDF");
    testing::internal::CaptureStdout();
    ASSERT_EQ(fluxgrid::tool::runLayoutPlot("eegNet260", out), 0);
    testing::internal::GetCapturedStdout();
    const std::string pdf = slurp(out);
    EXPECT_EQ(pdf.substr(0, 5), "%PDF-");
    EXPECT_NE(pdf.find("/Count 1"), std::string::npos);
    EXPECT_NE(pdf.find("%%EOF"), std::string::npos);
}

TEST(LayoutPlotFormat, SvgNameGetsTheSvgText) {
    fluxgrid::test::ScratchDir scratch;
    const std::string out = scratch.file("x.svg");
    testing::internal::CaptureStdout();
    ASSERT_EQ(fluxgrid::tool::runLayoutPlot("eegLayout10", out), 0);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(slurp(out), fluxgrid::tool::layoutSvg(tableNamed("eegLayout10")));
}

TEST(LayoutPlotFormat, RenderingRefusesAnUnreadableDocument) {
    EXPECT_THROW(fluxgrid::tool::renderPlot("<svg", PlotFormat::png), std::runtime_error);
}

}  // namespace
