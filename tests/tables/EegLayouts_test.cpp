// The eight fixed EEG montages: shape, the transcription cross-check, type
// codes, shared rows and frames. The two nets have tests of their own.
#include <fluxgrid/sensor/MEGSensor.h>
#include <fluxgrid/tables/EegLayouts.h>

#include "LayoutCsv.h"
#include "support/Harness.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <ostream>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace {

using fluxgrid::test::parseDecimal;
using fluxgrid::test::readLayoutCsv;
using Rows = std::span<const EEG_NAME_POS_TYPE>;

static_assert(std::size(eegLayout10) == 10);
static_assert(std::size(eegLayout18) == 18);
static_assert(std::size(eegLayout21) == 21);
static_assert(std::size(eegLayout21Row) == 21);
static_assert(std::size(eegSphere25) == 25);
static_assert(std::size(eegLayout32) == 32);
static_assert(std::size(eegSphere33) == 33);
static_assert(std::size(eegSphere47) == 47);
static_assert(std::size(eegNet67) == 67);
static_assert(std::size(eegNet260) == 260);

struct EegTable {
    const char* name;
    Rows rows;
};

// Names the table in test output.
void PrintTo(const EegTable& table, std::ostream* out) {
    *out << table.name;
}

std::vector<EegTable> transcribedTables() {
    return {{"eegLayout10", eegLayout10}, {"eegLayout18", eegLayout18},
            {"eegLayout21", eegLayout21}, {"eegLayout21Row", eegLayout21Row},
            {"eegSphere25", eegSphere25}, {"eegLayout32", eegLayout32},
            {"eegSphere33", eegSphere33}, {"eegSphere47", eegSphere47}};
}

std::vector<EegTable> allTables() {
    auto tables = transcribedTables();
    tables.push_back({"eegNet67", eegNet67});
    tables.push_back({"eegNet260", eegNet260});
    return tables;
}

std::vector<EegTable> headTables() {
    return {{"eegLayout10", eegLayout10},
            {"eegLayout18", eegLayout18},
            {"eegLayout21", eegLayout21},
            {"eegLayout21Row", eegLayout21Row},
            {"eegLayout32", eegLayout32}};
}

std::vector<EegTable> sphereTables() {
    return {
        {"eegSphere25", eegSphere25}, {"eegSphere33", eegSphere33}, {"eegSphere47", eegSphere47}};
}

// The row of a table with exactly this label, or null. Hosts have no such
// lookup in the library; the tests need one.
const EEG_NAME_POS_TYPE* findRow(Rows rows, const char* label) {
    for (const auto& row : rows) {
        if (row.name == label) {
            return &row;
        }
    }
    return nullptr;
}

const EEG_NAME_POS_TYPE& rowOf(Rows rows, const char* label) {
    const EEG_NAME_POS_TYPE* row = findRow(rows, label);
    if (row == nullptr) {
        throw std::runtime_error(std::string("no row ") + label);
    }
    return *row;
}

void expectSamePosition(const EEG_NAME_POS_TYPE& expected, const EEG_NAME_POS_TYPE& actual) {
    EXPECT_BITS_EQ(expected.posX, actual.posX);
    EXPECT_BITS_EQ(expected.posY, actual.posY);
    EXPECT_BITS_EQ(expected.posZ, actual.posZ);
}

void expectSameRow(const EEG_NAME_POS_TYPE& expected, const EEG_NAME_POS_TYPE& actual) {
    EXPECT_EQ(expected.name, actual.name);
    expectSamePosition(expected, actual);
    EXPECT_EQ(expected.electrodeKind, actual.electrodeKind);
    EXPECT_EQ(expected.sensorType, actual.sensorType);
}

bool samePosition(const EEG_NAME_POS_TYPE& a, const EEG_NAME_POS_TYPE& b) {
    return fluxgrid::test::bitsOf(a.posX) == fluxgrid::test::bitsOf(b.posX) &&
           fluxgrid::test::bitsOf(a.posY) == fluxgrid::test::bitsOf(b.posY) &&
           fluxgrid::test::bitsOf(a.posZ) == fluxgrid::test::bitsOf(b.posZ);
}

double distanceFromOrigin(const EEG_NAME_POS_TYPE& row) {
    return std::sqrt(row.posX * row.posX + row.posY * row.posY + row.posZ * row.posZ);
}

std::vector<std::string> labelsOf(Rows rows) {
    std::vector<std::string> labels;
    for (const auto& row : rows) {
        labels.push_back(row.name.ToUtf8());
    }
    return labels;
}

// -1 for a label on the subject's left (odd number), +1 on the right (even
// number), 0 on the midline (ends in z or Z).
int sideOfLabel(const std::string& label) {
    const char last = label.back();
    if (last == 'z' || last == 'Z') {
        return 0;
    }
    return (last - '0') % 2 == 1 ? -1 : 1;
}

class EegTranscription : public ::testing::TestWithParam<EegTable> {};

TEST_P(EegTranscription, EveryRowMatchesTheIndependentTranscription) {
    const EegTable& table = GetParam();
    const auto csv = readLayoutCsv(table.name);
    ASSERT_EQ((std::vector<std::string>{"name", "posX", "posY", "posZ"}), csv.header);
    ASSERT_EQ(csv.rows.size(), table.rows.size());
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
        SCOPED_TRACE(std::string(table.name) + " row " + std::to_string(i));
        const auto& row = table.rows[i];
        const auto& cells = csv.rows[i];
        EXPECT_EQ(CString(cells[0]), row.name);
        EXPECT_BITS_EQ(parseDecimal(cells[1]), row.posX);
        EXPECT_BITS_EQ(parseDecimal(cells[2]), row.posY);
        EXPECT_BITS_EQ(parseDecimal(cells[3]), row.posZ);
    }
}

INSTANTIATE_TEST_SUITE_P(FixedMontages, EegTranscription, ::testing::ValuesIn(transcribedTables()),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(EegLayouts, SensorTypeIsThreeHundredPlusElectrodeKindInEveryRow) {
    for (const auto& table : allTables()) {
        for (const auto& row : table.rows) {
            SCOPED_TRACE(std::string(table.name) + " " + row.name.ToUtf8());
            EXPECT_EQ(300 + row.electrodeKind, row.sensorType);
        }
    }
}

TEST(EegLayouts, EarRowsAndOnlyTheyAreOfKindOne) {
    for (const auto& table : allTables()) {
        for (const auto& row : table.rows) {
            SCOPED_TRACE(std::string(table.name) + " " + row.name.ToUtf8());
            const bool ear = row.name == "A1" || row.name == "A2";
            EXPECT_EQ(ear ? 1 : 2, row.electrodeKind);
            EXPECT_EQ(ear ? 301 : 302, row.sensorType);
        }
    }
}

TEST(EegLayouts, NoRowHasTheEegReferenceCode) {
    for (const auto& table : allTables()) {
        for (const auto& row : table.rows) {
            EXPECT_NE(300, row.sensorType) << table.name << " " << row.name;
        }
    }
}

TEST(EegLayouts, EveryRowHasALabelOfItsOwnWithinItsTable) {
    for (const auto& table : allTables()) {
        std::set<std::string> seen;
        for (const auto& row : table.rows) {
            EXPECT_FALSE(row.name.IsEmpty()) << table.name;
            EXPECT_TRUE(seen.insert(row.name.ToUtf8()).second) << table.name << " " << row.name;
        }
    }
}

TEST(EegLayouts, Net260EndsWithCzAtTheVertexInRow259) {
    const auto& last = eegNet260[259];
    EXPECT_EQ(CString("Cz"), last.name);
    EXPECT_BITS_EQ(0.0, last.posX);
    EXPECT_BITS_EQ(0.0, last.posY);
    EXPECT_BITS_EQ(8.95379, last.posZ);
    EXPECT_EQ(&eegNet260[std::size(eegNet260) - 1], &last);
}

TEST(EegLayouts, T3StandsDifferentlyInTheThreeTablesThatHaveIt) {
    const auto& in18 = rowOf(eegLayout18, "T3");
    EXPECT_BITS_EQ(85.19843, in18.posX);
    EXPECT_BITS_EQ(44.54773, in18.posY);
    EXPECT_BITS_EQ(-22.21771, in18.posZ);
    const auto& in21 = rowOf(eegLayout21, "T3");
    EXPECT_BITS_EQ(80.19843, in21.posX);
    EXPECT_BITS_EQ(44.54773, in21.posY);
    EXPECT_BITS_EQ(-2.21771, in21.posZ);
    const auto& in21Row = rowOf(eegLayout21Row, "T3");
    EXPECT_BITS_EQ(85.19843, in21Row.posX);
    EXPECT_BITS_EQ(44.54773, in21Row.posY);
    EXPECT_BITS_EQ(-2.21771, in21Row.posZ);
}

TEST(EegLayouts, LabelsAreCaseExact) {
    EXPECT_EQ(nullptr, findRow(eegSphere25, "FP1"));
    EXPECT_EQ(&eegSphere25[0], findRow(eegSphere25, "Fp1"));
    EXPECT_EQ(nullptr, findRow(eegSphere25, "FZ"));
    EXPECT_EQ(&eegSphere25[5], findRow(eegSphere25, "Fz"));
    EXPECT_EQ(nullptr, findRow(eegLayout21, "Fp1"));
    EXPECT_EQ(&eegLayout21[0], findRow(eegLayout21, "FP1"));
}

TEST(EegLayouts, SphereTablesHaveNoEarRowsAndOnlyRecordingElectrodes) {
    for (const auto& table : sphereTables()) {
        EXPECT_EQ(nullptr, findRow(table.rows, "A1")) << table.name;
        EXPECT_EQ(nullptr, findRow(table.rows, "A2")) << table.name;
        for (const auto& row : table.rows) {
            EXPECT_EQ(2, row.electrodeKind) << table.name << " " << row.name;
            EXPECT_EQ(302, row.sensorType) << table.name << " " << row.name;
        }
    }
}

TEST(EegLayouts, TheTenRowsOfLayout10StandAlikeInLayouts18And21AndRow) {
    for (Rows other : {Rows(eegLayout18), Rows(eegLayout21), Rows(eegLayout21Row)}) {
        for (const auto& row : eegLayout10) {
            SCOPED_TRACE(row.name.ToUtf8());
            const EEG_NAME_POS_TYPE* match = findRow(other, row.name.ToUtf8().c_str());
            ASSERT_NE(nullptr, match);
            expectSameRow(row, *match);
        }
    }
}

TEST(EegLayouts, Layouts18And21AndRowAgreeOnAllButTheFourTemporalRows) {
    const std::set<std::string> temporal = {"T3", "T4", "T5", "T6"};
    for (Rows other : {Rows(eegLayout21), Rows(eegLayout21Row)}) {
        for (const auto& row : other) {
            const std::string label = row.name.ToUtf8();
            if (temporal.count(label) != 0) {
                continue;
            }
            SCOPED_TRACE(label);
            const EEG_NAME_POS_TYPE* in21 = findRow(eegLayout21, label.c_str());
            ASSERT_NE(nullptr, in21);
            expectSameRow(*in21, row);
            if (const EEG_NAME_POS_TYPE* in18 = findRow(eegLayout18, label.c_str())) {
                expectSameRow(*in18, row);
            }
        }
    }
    // The temporal rows differ on purpose: no one of them is the same in all
    // three tables, and T3, T5 and T6 differ in each pair of tables.
    for (const auto& label : temporal) {
        SCOPED_TRACE(label);
        const auto& a = rowOf(eegLayout18, label.c_str());
        const auto& b = rowOf(eegLayout21, label.c_str());
        const auto& c = rowOf(eegLayout21Row, label.c_str());
        EXPECT_FALSE(samePosition(a, b) && samePosition(b, c));
        EXPECT_FALSE(samePosition(a, b));
        EXPECT_FALSE(samePosition(a, c));
        if (label != "T4") {
            EXPECT_FALSE(samePosition(b, c));
        }
    }
}

TEST(EegLayouts, Layout21AndLayout21RowAreOneLabelSetInTwoOrders) {
    auto a = labelsOf(eegLayout21);
    auto b = labelsOf(eegLayout21Row);
    EXPECT_NE(a, b);
    EXPECT_EQ(std::multiset<std::string>(a.begin(), a.end()),
              std::multiset<std::string>(b.begin(), b.end()));
    const std::vector<std::string> rowOrder = {"FP1", "FP2", "F7", "F3", "FZ", "F4", "F8",
                                               "C3",  "CZ",  "C4", "T3", "T4", "T5", "T6",
                                               "P3",  "PZ",  "P4", "O1", "O2", "A1", "A2"};
    EXPECT_EQ(rowOrder, b);
}

TEST(EegLayouts, Layout32SharesFourteenRowsWithLayout21Row) {
    for (const char* label :
         {"FP1", "FP2", "F7", "F3", "FZ", "F4", "F8", "C3", "CZ", "C4", "O1", "O2", "A1", "A2"}) {
        SCOPED_TRACE(label);
        expectSameRow(rowOf(eegLayout21Row, label), rowOf(eegLayout32, label));
    }
}

TEST(EegLayouts, Layout32PutsItsCentroTemporalRowsWhereLayout21RowHasItsOwn) {
    const std::pair<const char*, const char*> moved[] = {
        {"T8", "T6"}, {"TP7", "T5"}, {"CP3", "P3"}, {"CPZ", "PZ"}, {"CP4", "P4"}, {"TP8", "T4"}};
    for (const auto& [in32, in21Row] : moved) {
        SCOPED_TRACE(in32);
        expectSamePosition(rowOf(eegLayout21Row, in21Row), rowOf(eegLayout32, in32));
    }
}

TEST(EegLayouts, Sphere33HoldsEverySphere25RowInTheSameOrderPlusEightOfItsOwn) {
    std::size_t next = 0;
    std::vector<std::string> added;
    for (const auto& row : eegSphere33) {
        if (next < std::size(eegSphere25) && row.name == eegSphere25[next].name) {
            expectSameRow(eegSphere25[next], row);
            ++next;
        } else {
            added.push_back(row.name.ToUtf8());
        }
    }
    EXPECT_EQ(std::size(eegSphere25), next);
    EXPECT_EQ((std::vector<std::string>{"FC5", "FC1", "FC2", "FC6", "CP5", "CP1", "CP2", "CP6"}),
              added);
}

TEST(EegLayouts, Sphere47HasValuesOfItsOwn) {
    int common = 0;
    for (const auto& row : eegSphere47) {
        if (const EEG_NAME_POS_TYPE* other = findRow(eegSphere33, row.name.ToUtf8().c_str())) {
            ++common;
            EXPECT_FALSE(samePosition(*other, row)) << row.name;
        }
    }
    EXPECT_EQ(27, common);
}

TEST(EegLayouts, SphereRowsLieOnTheSphereOfRadius100) {
    for (const auto& table : sphereTables()) {
        for (const auto& row : table.rows) {
            const double r = distanceFromOrigin(row);
            EXPECT_GE(r, 99.94) << table.name << " " << row.name;
            EXPECT_LE(r, 100.06) << table.name << " " << row.name;
        }
    }
}

TEST(EegLayouts, SphereTablesKeepTheirTinyValuesAsTheyStand) {
    EXPECT_BITS_EQ(5.55e-15, rowOf(eegSphere25, "T9").posX);
    EXPECT_BITS_EQ(3.75e-31, rowOf(eegSphere25, "Cz").posX);
    EXPECT_BITS_EQ(-6.12e-15, rowOf(eegSphere33, "Cz").posY);
    EXPECT_BITS_EQ(-1.07e-14, rowOf(eegSphere47, "Iz").posY);
}

TEST(EegLayouts, HeadRowsLieOnARealHeadShapeInMillimetres) {
    for (const auto& table : headTables()) {
        for (const auto& row : table.rows) {
            const double r = distanceFromOrigin(row);
            EXPECT_GE(r, 91.7) << table.name << " " << row.name;
            EXPECT_LE(r, 152.7) << table.name << " " << row.name;
        }
    }
}

TEST(EegLayouts, HeadFrameRunsXTowardTheSubjectsLeft) {
    for (const auto& table : headTables()) {
        for (const auto& row : table.rows) {
            const int side = sideOfLabel(row.name.ToUtf8());
            if (side < 0) {
                EXPECT_GT(row.posX, 0.0) << table.name << " " << row.name;
            } else if (side > 0) {
                EXPECT_LT(row.posX, 0.0) << table.name << " " << row.name;
            }
        }
    }
    EXPECT_BITS_EQ(90.92224, eegLayout10[8].posX);
    EXPECT_BITS_EQ(151.83792, rowOf(eegLayout21, "CZ").posY);
    EXPECT_LT(rowOf(eegLayout10, "FP1").posZ, 0.0);
    EXPECT_GT(rowOf(eegLayout10, "O1").posZ, 0.0);
}

TEST(EegLayouts, SphereFrameRunsXTowardTheNoseAndYTowardTheSubjectsLeft) {
    for (const auto& table : sphereTables()) {
        for (const auto& row : table.rows) {
            const std::string label = row.name.ToUtf8();
            const int side = sideOfLabel(label);
            if (side < 0) {
                EXPECT_GT(row.posY, 0.0) << table.name << " " << label;
            } else if (side > 0) {
                EXPECT_LT(row.posY, 0.0) << table.name << " " << label;
            } else {
                EXPECT_LT(std::fabs(row.posY), 1e-13) << table.name << " " << label;
            }
        }
        EXPECT_GT(rowOf(table.rows, "Fp1").posX, 0.0);
        EXPECT_LT(rowOf(table.rows, "O1").posX, 0.0);
        EXPECT_BITS_EQ(100.0, rowOf(table.rows, "Cz").posZ);
    }
}

TEST(EegLayouts, ASensorWithAnEarRowsTypeIsUnknownAndWithAnElectrodesTypeIsEegSensor) {
    CMEGSensorqv ear;
    ear.sensorType = eegLayout10[8].sensorType;
    EXPECT_EQ(CString("Unknown"), ear.getSensorTypeName());
    CMEGSensorqv electrode;
    electrode.sensorType = eegLayout10[0].sensorType;
    EXPECT_EQ(CString("EEG_SNSR"), electrode.getSensorTypeName());
}

}  // namespace
