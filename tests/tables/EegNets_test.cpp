// The two geodesic nets: label order, the rows the net is defined by, the
// midline, the mirror symmetry, the bounds and the spread of the supplied
// positions.
#include <fluxgrid/tables/EegLayouts.h>

#include "support/Harness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using fluxgrid::test::bitsOf;
using Rows = std::span<const EEG_NAME_POS_TYPE>;

struct Position {
    const char* label;
    double x;
    double y;
    double z;
};

const Position kNet67Rows[] = {
    {"FidNz", 0.0, 10.3855, -1.81526},       {"FidT9", -7.00399, 0.368267, -3.69381},
    {"FidT10", 7.00399, 0.368267, -3.69381}, {"E1", 4.82147, 8.46376, -0.0639843},
    {"E2", 3.44999, 9.06441, 2.97064},       {"E4", 0.0, 5.21914, 8.1954},
    {"E5", -1.72628, 2.48578, 8.55637},      {"E6", 1.59679, 10.5184, 0.515771},
    {"E35", -4.27348, -6.69422, -6.35512},   {"E63", 3.82315, 7.90175, -7.06073},
    {"E64", -3.82315, 7.90175, -7.06073},
};

const Position kNet260Rows[] = {
    {"FidNz", 0.0, 10.7078, -2.23364},
    {"FidT9", -6.93522, 0.1976, -3.70686},
    {"FidT10", 6.93522, 0.197599, -3.70686},
    {"E1", 5.7579, 6.62432, -1.53854},
    {"E2", 5.52174, 7.30351, 0.694727},
    {"E3", 4.95349, 7.9493, 2.56738},
    {"E4", 3.85574, 8.54117, 3.99289},
    {"E5", 2.71961, 7.72178, 6.00262},
    {"E64", -7.21629, -1.13867, 4.08258},
    {"E183", 7.21629, -0.659263, 4.14978},
    {"E69", -7.69904, -0.963886, 0.99684},
    {"E194", 7.69904, 0.0210864, 1.1349},
    {"E232", 5.08583, 0.121009, -11.0429},
    {"E256", -5.08583, 0.121009, -11.0429},
    {"Cz", 0.0, 0.0, 8.95379},
};

struct Bounds {
    double xMax;
    double yMin;
    double yMax;
    double zMin;
    double zMax;
};

const EEG_NAME_POS_TYPE& rowOf(Rows rows, const std::string& label) {
    for (const auto& row : rows) {
        if (row.name == label.c_str()) {
            return row;
        }
    }
    throw std::runtime_error("no row " + label);
}

std::vector<std::string> expectedLabels(int electrodes, bool czLast) {
    std::vector<std::string> labels = {"FidNz", "FidT9", "FidT10"};
    for (int n = 1; n <= electrodes; ++n) {
        labels.push_back("E" + std::to_string(n));
    }
    if (czLast) {
        labels.push_back("Cz");
    }
    return labels;
}

std::vector<std::string> labelsOf(Rows rows) {
    std::vector<std::string> labels;
    for (const auto& row : rows) {
        labels.push_back(row.name.ToUtf8());
    }
    return labels;
}

bool isMirrorOf(const EEG_NAME_POS_TYPE& a, const EEG_NAME_POS_TYPE& b) {
    return bitsOf(a.posX) == bitsOf(-b.posX) && bitsOf(a.posY) == bitsOf(b.posY) &&
           bitsOf(a.posZ) == bitsOf(b.posZ);
}

// The labels of all rows that are exact mirror images of `row`.
std::vector<std::string> mirrorPartners(Rows rows, const EEG_NAME_POS_TYPE& row) {
    std::vector<std::string> partners;
    for (const auto& other : rows) {
        if (&other != &row && isMirrorOf(other, row)) {
            partners.push_back(other.name.ToUtf8());
        }
    }
    return partners;
}

std::set<std::string> labelsWhere(Rows rows, auto predicate) {
    std::set<std::string> labels;
    for (const auto& row : rows) {
        if (predicate(row)) {
            labels.insert(row.name.ToUtf8());
        }
    }
    return labels;
}

double distance(const EEG_NAME_POS_TYPE& a, const EEG_NAME_POS_TYPE& b) {
    const double dx = a.posX - b.posX;
    const double dy = a.posY - b.posY;
    const double dz = a.posZ - b.posZ;
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

// For each row, the distance to its nearest neighbour.
std::vector<double> nearestNeighbourDistances(Rows rows) {
    std::vector<double> nearest;
    for (const auto& row : rows) {
        double best = INFINITY;
        for (const auto& other : rows) {
            if (&other != &row) {
                best = std::min(best, distance(row, other));
            }
        }
        nearest.push_back(best);
    }
    return nearest;
}

void expectRowsAsGiven(Rows rows, std::span<const Position> given) {
    for (const auto& p : given) {
        SCOPED_TRACE(p.label);
        const auto& row = rowOf(rows, p.label);
        EXPECT_BITS_EQ(p.x, row.posX);
        EXPECT_BITS_EQ(p.y, row.posY);
        EXPECT_BITS_EQ(p.z, row.posZ);
    }
}

void expectMidlineExactly(Rows rows, const std::set<std::string>& midline) {
    EXPECT_EQ(midline, labelsWhere(rows, [](const auto& row) { return row.posX == 0.0; }));
    for (const auto& label : midline) {
        // +0.0, not -0.0: the midline is one plane.
        EXPECT_BITS_EQ(0.0, rowOf(rows, label).posX) << label;
    }
}

void expectNamedPairs(Rows rows, std::initializer_list<std::pair<const char*, const char*>> pairs) {
    for (const auto& [a, b] : pairs) {
        EXPECT_TRUE(isMirrorOf(rowOf(rows, a), rowOf(rows, b))) << a << " and " << b;
    }
}

void expectBounds(Rows rows, const Bounds& bounds) {
    double xMin = INFINITY, xMax = -INFINITY, yMin = INFINITY, yMax = -INFINITY;
    double zMin = INFINITY, zMax = -INFINITY;
    for (const auto& row : rows) {
        xMin = std::min(xMin, row.posX);
        xMax = std::max(xMax, row.posX);
        yMin = std::min(yMin, row.posY);
        yMax = std::max(yMax, row.posY);
        zMin = std::min(zMin, row.posZ);
        zMax = std::max(zMax, row.posZ);
    }
    EXPECT_BITS_EQ(-bounds.xMax, xMin);
    EXPECT_BITS_EQ(bounds.xMax, xMax);
    EXPECT_BITS_EQ(bounds.yMin, yMin);
    EXPECT_BITS_EQ(bounds.yMax, yMax);
    EXPECT_BITS_EQ(bounds.zMin, zMin);
    EXPECT_BITS_EQ(bounds.zMax, zMax);
}

void expectDistancesOfARealHead(Rows rows) {
    for (const auto& row : rows) {
        const double r = std::sqrt(row.posX * row.posX + row.posY * row.posY + row.posZ * row.posZ);
        EXPECT_GE(r, 7.4) << row.name;
        EXPECT_LE(r, 12.4) << row.name;
    }
}

TEST(EegNet67, RowsRunFromTheFiducialsThroughE1ToE64) {
    EXPECT_EQ(expectedLabels(64, false), labelsOf(eegNet67));
}

TEST(EegNet67, DefiningRowsStandAsGiven) {
    expectRowsAsGiven(eegNet67, kNet67Rows);
}

TEST(EegNet67, MidlineRowsAndOnlyTheyHaveXZero) {
    expectMidlineExactly(eegNet67, {"FidNz", "E4", "E7", "E10", "E30", "E34", "E38", "E39"});
}

TEST(EegNet67, NamedMirrorPairsAreMirrorImages) {
    expectNamedPairs(eegNet67, {{"E1", "E14"},
                                {"E2", "E12"},
                                {"E3", "E8"},
                                {"E5", "E55"},
                                {"E6", "E11"},
                                {"FidT9", "FidT10"},
                                {"E63", "E64"}});
}

TEST(EegNet67, EveryRowOffTheMidlineButE35HasExactlyOneMirrorPartner) {
    for (const auto& row : eegNet67) {
        if (row.posX == 0.0 || row.name == "E35") {
            continue;
        }
        EXPECT_EQ(1u, mirrorPartners(eegNet67, row).size()) << row.name;
    }
}

TEST(EegNet67, E35StandsAloneWithoutAPartner) {
    const auto& e35 = rowOf(eegNet67, "E35");
    EXPECT_TRUE(mirrorPartners(eegNet67, e35).empty());
    EXPECT_TRUE(
        labelsWhere(eegNet67, [&](const auto& row) { return row.posX == -e35.posX; }).empty());
}

TEST(EegNet67, RowsFillTheStatedBoundsAndReachThemWhereTheDefiningRowsDo) {
    expectBounds(eegNet67, {7.64626, -9.42935, 10.5184, -7.06073, 8.55637});
    EXPECT_EQ((std::set<std::string>{"E6", "E11"}),
              labelsWhere(eegNet67, [](const auto& row) { return row.posY == 10.5184; }));
    EXPECT_EQ((std::set<std::string>{"E5", "E55"}),
              labelsWhere(eegNet67, [](const auto& row) { return row.posZ == 8.55637; }));
    EXPECT_EQ((std::set<std::string>{"E63", "E64"}),
              labelsWhere(eegNet67, [](const auto& row) { return row.posZ == -7.06073; }));
}

TEST(EegNet67, DistancesFromTheOriginAreThoseOfARealHead) {
    expectDistancesOfARealHead(eegNet67);
}

TEST(EegNet67, ElectrodesAreSpreadEvenlyAndNoneSitsOnAnother) {
    // About 3.4 cm between neighbours on this net; the closest pair is FidNz
    // with E6, and no electrode stands apart from the rest.
    const auto nearest = nearestNeighbourDistances(eegNet67);
    for (std::size_t i = 0; i < nearest.size(); ++i) {
        EXPECT_GE(nearest[i], 2.5) << eegNet67[i].name;
        EXPECT_LE(nearest[i], 4.2) << eegNet67[i].name;
    }
}

TEST(EegNet260, RowsRunFromTheFiducialsThroughE1ToE256ThenCz) {
    EXPECT_EQ(expectedLabels(256, true), labelsOf(eegNet260));
}

TEST(EegNet260, DefiningRowsStandAsGiven) {
    expectRowsAsGiven(eegNet260, kNet260Rows);
}

TEST(EegNet260, MidlineRowsAndOnlyTheyHaveXZero) {
    expectMidlineExactly(eegNet260, {"FidNz", "E8", "E15", "E21", "E30", "E80", "E89", "E100",
                                     "E111", "E120", "E127", "E138", "E148", "Cz"});
}

TEST(EegNet260, NamedMirrorPairsAreMirrorImages) {
    expectNamedPairs(eegNet260, {{"E1", "E53"},
                                 {"E2", "E46"},
                                 {"E3", "E38"},
                                 {"E4", "E34"},
                                 {"E5", "E28"},
                                 {"E232", "E256"}});
}

TEST(EegNet260, TwoPairsAreMirroredInXAloneWithYAndZOfTheirOwn) {
    for (const auto& [left, right] : {std::pair{"E64", "E183"}, std::pair{"E69", "E194"}}) {
        const auto& l = rowOf(eegNet260, left);
        const auto& r = rowOf(eegNet260, right);
        EXPECT_BITS_EQ(-r.posX, l.posX) << left;
        EXPECT_NE(l.posY, r.posY) << left;
        EXPECT_NE(l.posZ, r.posZ) << left;
        EXPECT_TRUE(mirrorPartners(eegNet260, l).empty()) << left;
        EXPECT_TRUE(mirrorPartners(eegNet260, r).empty()) << right;
    }
}

TEST(EegNet260, EveryOtherRowOffTheMidlineHasExactlyOneMirrorPartner) {
    // Besides the two pairs mirrored in x alone, the ear fiducials differ by
    // 0.000001 in y.
    const std::set<std::string> apart = {"E64", "E183", "E69", "E194", "FidT9", "FidT10"};
    for (const auto& row : eegNet260) {
        if (row.posX == 0.0 || apart.count(row.name.ToUtf8()) != 0) {
            continue;
        }
        EXPECT_EQ(1u, mirrorPartners(eegNet260, row).size()) << row.name;
    }
    EXPECT_BITS_EQ(-rowOf(eegNet260, "FidT10").posX, rowOf(eegNet260, "FidT9").posX);
}

TEST(EegNet260, RowsFillTheStatedBoundsAndReachThemWhereTheDefiningRowsDo) {
    expectBounds(eegNet260, {7.69904, -9.88857, 10.9643, -11.0429, 8.95379});
    EXPECT_EQ((std::set<std::string>{"E69", "E194"}), labelsWhere(eegNet260, [](const auto& row) {
                  return std::fabs(row.posX) == 7.69904;
              }));
    EXPECT_EQ((std::set<std::string>{"E232", "E256"}),
              labelsWhere(eegNet260, [](const auto& row) { return row.posZ == -11.0429; }));
}

TEST(EegNet260, CzIsTheHighestRow) {
    const auto& cz = eegNet260[259];
    ASSERT_EQ(CString("Cz"), cz.name);
    for (std::size_t i = 0; i + 1 < std::size(eegNet260); ++i) {
        EXPECT_LT(eegNet260[i].posZ, cz.posZ) << eegNet260[i].name;
    }
}

TEST(EegNet260, DistancesFromTheOriginAreThoseOfARealHead) {
    expectDistancesOfARealHead(eegNet260);
}

TEST(EegNet260, ElectrodesAreSpreadEvenlyAndNoneSitsOnAnother) {
    // About 1.9 cm between neighbours on this net.
    const auto nearest = nearestNeighbourDistances(eegNet260);
    for (std::size_t i = 0; i < nearest.size(); ++i) {
        EXPECT_GE(nearest[i], 1.5) << eegNet260[i].name;
        EXPECT_LE(nearest[i], 2.5) << eegNet260[i].name;
    }
}

TEST(EegNets, FrameRunsXTowardTheSubjectsRightAndYTowardTheNose) {
    for (Rows net : {Rows(eegNet67), Rows(eegNet260)}) {
        EXPECT_GT(rowOf(net, "FidT10").posX, 0.0);
        EXPECT_LT(rowOf(net, "FidT9").posX, 0.0);
        const auto& nasion = rowOf(net, "FidNz");
        for (const auto& row : net) {
            // Only the forehead stands further forward than the nasion.
            if (row.posY > nasion.posY) {
                EXPECT_GT(row.posZ, nasion.posZ) << row.name;
            }
        }
    }
}

TEST(EegNets, FiducialRowsAreRecordingElectrodes) {
    for (Rows net : {Rows(eegNet67), Rows(eegNet260)}) {
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(2, net[i].electrodeKind);
            EXPECT_EQ(302, net[i].sensorType);
        }
    }
}

}  // namespace
