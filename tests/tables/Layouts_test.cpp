// The catalogue of layout tables and the conversion of their frames into
// RAS metres.
#include <fluxgrid/tables/EegLayouts.h>
#include <fluxgrid/tables/Layouts.h>
#include <fluxgrid/tables/MegLayouts.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <set>
#include <string>
#include <vector>

namespace {

using fluxgrid::axesToRas;
using fluxgrid::LayoutFrame;
using Point = std::array<double, 3>;

TEST(AxesToRas, MapsTheHeadFrameCodeLeftTopBackToMinusXMinusZY) {
    const auto map = axesToRas("LSP");
    ASSERT_TRUE(map);
    EXPECT_EQ((*map)({1, 2, 3}), (Point{-1, -3, 2}));
}

TEST(AxesToRas, MapsTheSphereFrameCodeNoseLeftVertexToMinusYXZ) {
    const auto map = axesToRas("als");
    ASSERT_TRUE(map);
    EXPECT_EQ((*map)({1, 2, 3}), (Point{-2, 1, 3}));
}

TEST(AxesToRas, LeavesRasAsItIs) {
    EXPECT_EQ((*axesToRas("RAS"))({1, 2, 3}), (Point{1, 2, 3}));
}

TEST(AxesToRas, RefusesCodesThatDoNotNameEachAxisOnce) {
    for (const char* code : {"", "RA", "RASX", "RRS", "RLA", "XYZ", "LSS"}) {
        EXPECT_FALSE(axesToRas(code)) << code;
    }
}

TEST(LayoutTables, ListsThirteenUniqueTablesEegFirst) {
    const auto tables = fluxgrid::layoutTables();
    ASSERT_EQ(tables.size(), 13u);
    std::set<std::string> names;
    bool megSeen = false;
    for (const auto& table : tables) {
        names.insert(std::string(table.name));
        EXPECT_FALSE(!table.isMeg() && megSeen) << table.name;
        megSeen = megSeen || table.isMeg();
        EXPECT_EQ(fluxgrid::findLayoutTable(table.name), &table);
    }
    EXPECT_EQ(names.size(), 13u);
    EXPECT_EQ(tables.front().name, "eegLayout10");
    EXPECT_EQ(tables.back().name, "megTriaxial33");
    EXPECT_EQ(fluxgrid::findLayoutTable("nope"), nullptr);
}

TEST(LayoutTables, HoldTheLibraryRowsThemselves) {
    const auto* net = fluxgrid::findLayoutTable("eegNet260");
    ASSERT_NE(net, nullptr);
    EXPECT_EQ(net->eeg.data(), eegNet260);
    EXPECT_EQ(net->size(), 260u);
    EXPECT_EQ(net->frame, LayoutFrame::net);
    const auto* meg = fluxgrid::findLayoutTable("megLayout32");
    ASSERT_NE(meg, nullptr);
    EXPECT_EQ(meg->meg.data(), megLayout32);
    EXPECT_TRUE(meg->eeg.empty());
    EXPECT_EQ(fluxgrid::findLayoutTable("eegSphere47")->frame, LayoutFrame::sphere);
}

TEST(LayoutFrames, GiveCodeUnitAndScale) {
    EXPECT_EQ(fluxgrid::layoutFrameInfo(LayoutFrame::sphere).unitsPerMetre, 100.0 / 0.095);
    EXPECT_EQ(fluxgrid::layoutFrameInfo(LayoutFrame::head).axes, "LSP");
    EXPECT_EQ(fluxgrid::layoutFrameInfo(LayoutFrame::head).unit, "mm");
    EXPECT_EQ(fluxgrid::layoutFrameInfo(LayoutFrame::sphere).axes, "ALS");
    EXPECT_EQ(fluxgrid::layoutFrameInfo(LayoutFrame::sphere).unit, "");
    EXPECT_EQ(fluxgrid::layoutFrameInfo(LayoutFrame::net).axes, "RAS");
    EXPECT_EQ(fluxgrid::layoutFrameInfo(LayoutFrame::net).unit, "cm");
}

TEST(LayoutFrames, TurnPositionsIntoRasMetres) {
    EXPECT_EQ(fluxgrid::positionToRas(LayoutFrame::head, {30.0, 70.84885, -104.70795}),
              (Point{-30.0 / 1000.0, 104.70795 / 1000.0, 70.84885 / 1000.0}));
    EXPECT_EQ(fluxgrid::positionToRas(LayoutFrame::net, {1, 2, 8.5}),
              (Point{1 / 100.0, 2 / 100.0, 8.5 / 100.0}));
    EXPECT_EQ(fluxgrid::positionToRas(LayoutFrame::sphere, {100, 0, 0}),
              (Point{0.0, 100 / (100.0 / 0.095), 0}));
    EXPECT_EQ(fluxgrid::directionToRas(LayoutFrame::head, {0.6, 0.8, 0.0}),
              (Point{-0.6, 0.0, 0.8}));
    // The nose of the head frame lies at -z, its left at +x.
    EXPECT_EQ(fluxgrid::directionToRas(LayoutFrame::head, {0, 0, -1}), (Point{0, 1, 0}));
    EXPECT_EQ(fluxgrid::directionToRas(LayoutFrame::head, {1, 0, 0}), (Point{-1, 0, 0}));
}

TEST(AxesToRas, GivesPlainZerosWhereItMirrorsAZero) {
    const Point ras = (*axesToRas("LSP"))({0.0, 0.0, 0.0});
    EXPECT_FALSE(std::signbit(ras[0]));
    EXPECT_FALSE(std::signbit(ras[1]));
    EXPECT_EQ((*axesToRas("IPL"))({1.0, 2.0, 3.0}), (Point{-3.0, -2.0, -1.0}));
}

TEST(LayoutRows, GiveEveryRowOfATableWithItsLabelInUtf8) {
    for (const auto& table : fluxgrid::layoutTables()) {
        const std::vector<fluxgrid::LayoutRow> rows = fluxgrid::layoutRows(table);
        ASSERT_EQ(rows.size(), table.size()) << table.name;
        for (std::size_t i = 0; i < table.eeg.size(); ++i) {
            const EEG_NAME_POS_TYPE& source = table.eeg[i];
            EXPECT_EQ(rows[i].name, source.name.ToUtf8());
            EXPECT_EQ(rows[i].pos, (Point{source.posX, source.posY, source.posZ}));
            EXPECT_FALSE(rows[i].orn) << table.name << " " << rows[i].name;
            EXPECT_EQ(rows[i].sensorType, source.sensorType);
        }
        for (std::size_t i = 0; i < table.meg.size(); ++i) {
            const MEG_OPM_NAME_POS_TYPE& source = table.meg[i];
            EXPECT_EQ(rows[i].name, source.name.ToUtf8());
            EXPECT_EQ(rows[i].pos, (Point{source.posX, source.posY, source.posZ}));
            ASSERT_TRUE(rows[i].orn) << table.name << " " << rows[i].name;
            EXPECT_EQ(*rows[i].orn, (Point{source.ornX, source.ornY, source.ornZ}));
            EXPECT_EQ(rows[i].sensorType, source.sensorType);
        }
    }
}

TEST(LayoutRows, TurnIntoRasMetresWithOrientationsAlongTheSameAxes) {
    // Left 30 mm, up 70.84885 mm, forward 104.70795 mm; pointing left and up.
    const fluxgrid::LayoutRow head{"MLF1", {30.0, 70.84885, -104.70795}, Point{0.6, 0.8, 0.0}, 100};
    const fluxgrid::LayoutRow ras = fluxgrid::rowToRas(LayoutFrame::head, head);
    EXPECT_EQ(ras.name, "MLF1");
    EXPECT_EQ(ras.pos, (Point{-30.0 / 1000.0, 104.70795 / 1000.0, 70.84885 / 1000.0}));
    ASSERT_TRUE(ras.orn);
    EXPECT_EQ(*ras.orn, (Point{-0.6, 0.0, 0.8}));
    EXPECT_EQ(ras.sensorType, 100);

    // The sphere of radius 100 stands for a head of radius 0.095 m.
    const fluxgrid::LayoutRow sphere =
        fluxgrid::rowToRas(LayoutFrame::sphere, {"Fz", {100.0, 0.0, 0.0}, std::nullopt, 302});
    EXPECT_DOUBLE_EQ(sphere.pos[1], 0.095);
    EXPECT_FALSE(sphere.orn);
    const fluxgrid::LayoutRow net =
        fluxgrid::rowToRas(LayoutFrame::net, {"Cz", {1.0, 2.0, 8.5}, std::nullopt, 302});
    EXPECT_EQ(net.pos, (Point{1 / 100.0, 2 / 100.0, 8.5 / 100.0}));
    EXPECT_FALSE(net.orn);
}

TEST(LayoutRows, InRasAreTheRowsOfTheTableEachTurned) {
    for (const auto& table : fluxgrid::layoutTables()) {
        const std::vector<fluxgrid::LayoutRow> native = fluxgrid::layoutRows(table);
        const std::vector<fluxgrid::LayoutRow> ras = fluxgrid::layoutRowsInRas(table);
        ASSERT_EQ(ras.size(), native.size()) << table.name;
        for (std::size_t i = 0; i < ras.size(); ++i) {
            const fluxgrid::LayoutRow expected = fluxgrid::rowToRas(table.frame, native[i]);
            EXPECT_EQ(ras[i].name, expected.name);
            EXPECT_EQ(ras[i].pos, expected.pos) << table.name << " " << ras[i].name;
            EXPECT_EQ(ras[i].orn, expected.orn) << table.name << " " << ras[i].name;
            EXPECT_EQ(ras[i].sensorType, expected.sensorType);
        }
    }
    // The MEG tables stand in the head frame: the first row's orientation
    // comes out as its axes turned, without the scale of the positions.
    const auto* meg = fluxgrid::findLayoutTable("megLayout32");
    ASSERT_NE(meg, nullptr);
    const MEG_OPM_NAME_POS_TYPE& first = meg->meg[0];
    const fluxgrid::LayoutRow ras = fluxgrid::layoutRowsInRas(*meg).front();
    EXPECT_EQ(ras.pos, (Point{-first.posX / 1000.0 + 0.0, -first.posZ / 1000.0 + 0.0,
                              first.posY / 1000.0 + 0.0}));
    EXPECT_EQ(*ras.orn, (Point{-first.ornX + 0.0, -first.ornZ + 0.0, first.ornY + 0.0}));
}

TEST(LayoutFrames, PutFzInFrontCzOnTopAndT7OnTheLeftOfEveryFrame) {
    int front = 0, top = 0, left = 0;
    for (const auto& table : fluxgrid::layoutTables()) {
        for (const auto& row : table.eeg) {
            const std::string name = row.name.ToUtf8();
            const Point ras = fluxgrid::positionToRas(table.frame, {row.posX, row.posY, row.posZ});
            if (name == "FZ" || name == "Fz" || name == "FidNz") {
                EXPECT_GT(ras[1], 0.0) << table.name << " " << name;
                ++front;
            }
            if (name == "CZ" || name == "Cz") {
                EXPECT_GT(ras[2], 0.0) << table.name << " " << name;
                EXPECT_NEAR(ras[0], 0.0, 0.01) << table.name << " " << name;
                ++top;
            }
            if (name == "T7" || name == "T3" || name == "A1" || name == "FidT9") {
                EXPECT_LT(ras[0], 0.0) << table.name << " " << name;
                ++left;
            }
        }
    }
    // Most EEG tables name one of each.
    EXPECT_GE(front, 7);
    EXPECT_GE(top, 7);
    EXPECT_GE(left, 7);
}

}  // namespace
