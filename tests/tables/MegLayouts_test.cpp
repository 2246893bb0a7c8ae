// The three MEG layouts: shape, the transcription cross-check, labels,
// type codes, orientations, and rows handed to a sensor.
#include <fluxgrid/element/BscMagSns.h>
#include <fluxgrid/sensor/MEGSensor.h>
#include <fluxgrid/tables/EegLayouts.h>
#include <fluxgrid/tables/MegLayouts.h>

#include "LayoutCsv.h"
#include "support/Harness.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <ostream>
#include <span>
#include <string>
#include <vector>

namespace {

using fluxgrid::test::bitsOf;
using fluxgrid::test::parseDecimal;
using fluxgrid::test::parseInteger;
using fluxgrid::test::readLayoutCsv;
using Rows = std::span<const MEG_OPM_NAME_POS_TYPE>;

static_assert(std::size(megLayout21) == 21);
static_assert(std::size(megLayout32) == 32);
static_assert(std::size(megTriaxial33) == 33);

struct MegTable {
    const char* name;
    Rows rows;
};

// Names the table in test output.
void PrintTo(const MegTable& table, std::ostream* out) {
    *out << table.name;
}

std::vector<MegTable> megTables() {
    return {{"megLayout21", megLayout21},
            {"megLayout32", megLayout32},
            {"megTriaxial33", megTriaxial33}};
}

void expectSamePosition(const MEG_OPM_NAME_POS_TYPE& expected,
                        const MEG_OPM_NAME_POS_TYPE& actual) {
    EXPECT_BITS_EQ(expected.posX, actual.posX);
    EXPECT_BITS_EQ(expected.posY, actual.posY);
    EXPECT_BITS_EQ(expected.posZ, actual.posZ);
}

void expectSameOrientation(const MEG_OPM_NAME_POS_TYPE& expected,
                           const MEG_OPM_NAME_POS_TYPE& actual) {
    EXPECT_BITS_EQ(expected.ornX, actual.ornX);
    EXPECT_BITS_EQ(expected.ornY, actual.ornY);
    EXPECT_BITS_EQ(expected.ornZ, actual.ornZ);
}

bool sameOrientation(const MEG_OPM_NAME_POS_TYPE& a, const MEG_OPM_NAME_POS_TYPE& b) {
    return bitsOf(a.ornX) == bitsOf(b.ornX) && bitsOf(a.ornY) == bitsOf(b.ornY) &&
           bitsOf(a.ornZ) == bitsOf(b.ornZ);
}

double orientationLength(const MEG_OPM_NAME_POS_TYPE& row) {
    return std::sqrt(row.ornX * row.ornX + row.ornY * row.ornY + row.ornZ * row.ornZ);
}

// "M", then the side (L odd, R even, Z for a label ending in Z), then the
// EEG label; `zeroForZ` writes the midline label's Z as 0.
std::string megLabelFor(const std::string& eegLabel, bool zeroForZ) {
    if (eegLabel.back() == 'Z') {
        return "MZ" + (zeroForZ ? eegLabel.substr(0, eegLabel.size() - 1) + "0" : eegLabel);
    }
    return std::string("M") + ((eegLabel.back() - '0') % 2 == 1 ? "L" : "R") + eegLabel;
}

class MegTranscription : public ::testing::TestWithParam<MegTable> {};

TEST_P(MegTranscription, EveryRowMatchesTheIndependentTranscription) {
    const MegTable& table = GetParam();
    const auto csv = readLayoutCsv(table.name);
    ASSERT_EQ((std::vector<std::string>{"name", "posX", "posY", "posZ", "ornX", "ornY", "ornZ",
                                        "sensorType"}),
              csv.header);
    ASSERT_EQ(csv.rows.size(), table.rows.size());
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
        SCOPED_TRACE(std::string(table.name) + " row " + std::to_string(i));
        const auto& row = table.rows[i];
        const auto& cells = csv.rows[i];
        EXPECT_EQ(CString(cells[0]), row.name);
        EXPECT_BITS_EQ(parseDecimal(cells[1]), row.posX);
        EXPECT_BITS_EQ(parseDecimal(cells[2]), row.posY);
        EXPECT_BITS_EQ(parseDecimal(cells[3]), row.posZ);
        EXPECT_BITS_EQ(parseDecimal(cells[4]), row.ornX);
        EXPECT_BITS_EQ(parseDecimal(cells[5]), row.ornY);
        EXPECT_BITS_EQ(parseDecimal(cells[6]), row.ornZ);
        EXPECT_EQ(parseInteger(cells[7]), row.sensorType);
    }
}

INSTANTIATE_TEST_SUITE_P(MegLayouts, MegTranscription, ::testing::ValuesIn(megTables()),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(MegLayouts, RowZeroOfEveryTableStandsAtFp1WithTheSameOrientation) {
    for (const auto& table : megTables()) {
        SCOPED_TRACE(table.name);
        const auto& row = table.rows[0];
        EXPECT_BITS_EQ(30.0, row.posX);
        EXPECT_BITS_EQ(70.84885, row.posY);
        EXPECT_BITS_EQ(-104.70795, row.posZ);
        EXPECT_BITS_EQ(0.301, row.ornX);
        EXPECT_BITS_EQ(-0.068, row.ornY);
        EXPECT_BITS_EQ(-0.948, row.ornZ);
    }
}

TEST(MegLayouts, Layout21TakesItsPositionsAndLabelsFromLayout21RowRowByRow) {
    for (std::size_t i = 0; i < std::size(megLayout21); ++i) {
        const auto& eeg = eegLayout21Row[i];
        const auto& meg = megLayout21[i];
        SCOPED_TRACE(eeg.name.ToUtf8());
        EXPECT_BITS_EQ(eeg.posX, meg.posX);
        EXPECT_BITS_EQ(eeg.posY, meg.posY);
        EXPECT_BITS_EQ(eeg.posZ, meg.posZ);
        if (i < 19) {
            EXPECT_EQ(CString(megLabelFor(eeg.name.ToUtf8(), true)), meg.name);
        }
    }
    EXPECT_EQ(CString("MZF0"), megLayout21[4].name);
    EXPECT_EQ(CString("MZC0"), megLayout21[8].name);
    EXPECT_EQ(CString("MZP0"), megLayout21[15].name);
    EXPECT_EQ(CString("MGL0"), megLayout21[19].name);
    EXPECT_EQ(CString("MGR0"), megLayout21[20].name);
}

TEST(MegLayouts, Layout32TakesItsPositionsAndLabelsFromLayout32RowByRow) {
    for (std::size_t i = 0; i < std::size(megLayout32); ++i) {
        const auto& eeg = eegLayout32[i];
        const auto& meg = megLayout32[i];
        SCOPED_TRACE(eeg.name.ToUtf8());
        EXPECT_BITS_EQ(eeg.posX, meg.posX);
        EXPECT_BITS_EQ(eeg.posY, meg.posY);
        EXPECT_BITS_EQ(eeg.posZ, meg.posZ);
        EXPECT_EQ(CString(megLabelFor(eeg.name.ToUtf8(), false)), meg.name);
    }
    EXPECT_EQ(CString("MZOZ"), megLayout32[28].name);
    EXPECT_EQ(CString("MLA1"), megLayout32[30].name);
    EXPECT_EQ(CString("MRA2"), megLayout32[31].name);
}

TEST(MegLayouts, TriaxialLabelsNameASensorAndAnAxis) {
    const char* sensors[] = {"11", "12", "13", "21", "22", "23", "31", "32", "33", "r1", "r2"};
    std::size_t i = 0;
    for (const char* sensor : sensors) {
        for (const char* axis : {"x", "y", "z"}) {
            EXPECT_EQ(CString(std::string("M") + sensor + axis), megTriaxial33[i].name) << i;
            ++i;
        }
    }
    EXPECT_EQ(std::size(megTriaxial33), i);
}

TEST(MegLayouts, TriaxialRows0To26StandWhereThoseOfLayout32Do) {
    for (std::size_t i = 0; i <= 26; ++i) {
        SCOPED_TRACE(i);
        expectSamePosition(megLayout32[i], megTriaxial33[i]);
        EXPECT_BITS_EQ(megLayout32[i].ornX, megTriaxial33[i].ornX);
        EXPECT_BITS_EQ(megLayout32[i].ornY, megTriaxial33[i].ornY);
        if (i != 4) {
            EXPECT_BITS_EQ(megLayout32[i].ornZ, megTriaxial33[i].ornZ);
        }
    }
    // Row 4 keeps the longer last component, as megLayout21 has it.
    EXPECT_BITS_EQ(-0.82381022986727, megTriaxial33[4].ornZ);
}

TEST(MegLayouts, M33zHasThePositionAndOrientationOfMrp8) {
    ASSERT_EQ(CString("M33z"), megTriaxial33[26].name);
    ASSERT_EQ(CString("MRP8"), megLayout32[26].name);
    expectSamePosition(megLayout32[26], megTriaxial33[26]);
    expectSameOrientation(megLayout32[26], megTriaxial33[26]);
}

TEST(MegLayouts, TriaxialReferenceRowsHavePositionsOfTheirOwn) {
    const auto& mr2z = megTriaxial33[32];
    EXPECT_EQ(CString("Mr2z"), mr2z.name);
    EXPECT_BITS_EQ(-53.14825, mr2z.posX);
    EXPECT_BITS_EQ(24.76944, mr2z.posY);
    EXPECT_BITS_EQ(50.4704, mr2z.posZ);
    for (std::size_t i = 27; i < 33; ++i) {
        for (const auto& row : megLayout32) {
            EXPECT_FALSE(bitsOf(row.posX) == bitsOf(megTriaxial33[i].posX) &&
                         bitsOf(row.posY) == bitsOf(megTriaxial33[i].posY) &&
                         bitsOf(row.posZ) == bitsOf(megTriaxial33[i].posZ))
                << megTriaxial33[i].name << " at " << row.name;
        }
    }
}

TEST(MegLayouts, TypeCodes) {
    for (const auto& row : megLayout21) {
        const bool ear = row.name == "MGL0" || row.name == "MGR0";
        EXPECT_EQ(ear ? 10 : 100, row.sensorType) << row.name;
    }
    for (const auto& row : megLayout32) {
        const bool ear = row.name == "MLA1" || row.name == "MRA2";
        EXPECT_EQ(ear ? 301 : 100, row.sensorType) << row.name;
    }
    for (const auto& row : megTriaxial33) {
        EXPECT_EQ(100, row.sensorType) << row.name;
    }
}

TEST(MegLayouts, Rows0To6AgreeBetweenTheTwoLayoutsButForRow4sLastComponent) {
    for (std::size_t i = 0; i <= 6; ++i) {
        SCOPED_TRACE(i);
        EXPECT_BITS_EQ(megLayout21[i].ornX, megLayout32[i].ornX);
        EXPECT_BITS_EQ(megLayout21[i].ornY, megLayout32[i].ornY);
        if (i != 4) {
            EXPECT_BITS_EQ(megLayout21[i].ornZ, megLayout32[i].ornZ);
        }
    }
    EXPECT_BITS_EQ(-0.82381022986727, megLayout21[4].ornZ);
    EXPECT_BITS_EQ(-0.8238, megLayout32[4].ornZ);
}

TEST(MegLayouts, Layout32RunsOnThroughRepeatedBlocksOfOrientations) {
    // Rows 7 to 11 repeat rows 2 to 6, row 9 with the longer value.
    for (std::size_t i = 7; i <= 11; ++i) {
        SCOPED_TRACE(i);
        EXPECT_BITS_EQ(megLayout32[i - 5].ornX, megLayout32[i].ornX);
        EXPECT_BITS_EQ(megLayout32[i - 5].ornY, megLayout32[i].ornY);
        EXPECT_BITS_EQ(megLayout21[i - 5].ornZ, megLayout32[i].ornZ);
    }
    EXPECT_BITS_EQ(-0.82381022986727, megLayout32[9].ornZ);
    // Rows 12 to 22 take those of megLayout21 rows 7 to 17.
    for (std::size_t i = 12; i <= 22; ++i) {
        SCOPED_TRACE(i);
        expectSameOrientation(megLayout21[i - 5], megLayout32[i]);
    }
    // Rows 23 to 29 all hold that of megLayout21 row 18.
    for (std::size_t i = 23; i <= 29; ++i) {
        SCOPED_TRACE(i);
        expectSameOrientation(megLayout21[18], megLayout32[i]);
    }
}

TEST(MegLayouts, Mlc3StandsAlikeInBothLayoutsButPointsElsewhere) {
    const auto& in21 = megLayout21[7];
    const auto& in32 = megLayout32[13];
    ASSERT_EQ(CString("MLC3"), in21.name);
    ASSERT_EQ(CString("MLC3"), in32.name);
    expectSamePosition(in21, in32);
    EXPECT_FALSE(sameOrientation(in21, in32));
}

TEST(MegLayouts, EarRowsPointStraightOutAlongX) {
    for (const auto& [left, right] : {std::pair{&megLayout21[19], &megLayout21[20]},
                                      std::pair{&megLayout32[30], &megLayout32[31]}}) {
        EXPECT_BITS_EQ(1.0, left->ornX);
        EXPECT_BITS_EQ(0.0, left->ornY);
        EXPECT_BITS_EQ(0.0, left->ornZ);
        EXPECT_BITS_EQ(-1.0, right->ornX);
        EXPECT_BITS_EQ(0.0, right->ornY);
        EXPECT_BITS_EQ(0.0, right->ornZ);
        EXPECT_GT(left->posX, 0.0);
        EXPECT_LT(right->posX, 0.0);
    }
}

TEST(MegLayouts, OrientationsAreNotNormalised) {
    for (const auto& table : megTables()) {
        EXPECT_NEAR(0.99696, orientationLength(table.rows[0]), 5e-6) << table.name;
        for (std::size_t i = 1; i < table.rows.size(); ++i) {
            EXPECT_NEAR(1.0, orientationLength(table.rows[i]), 0.0005)
                << table.name << " " << table.rows[i].name;
        }
    }
    EXPECT_NE(1.0, orientationLength(megLayout32[4]));
}

TEST(MegLayouts, SensorTypeNamesOfTheRows) {
    CMEGSensorqv earOf32;
    earOf32.sensorType = megLayout32[30].sensorType;
    EXPECT_EQ(CString("Unknown"), earOf32.getSensorTypeName());
    CMEGSensorqv earOf21;
    earOf21.sensorType = megLayout21[19].sensorType;
    EXPECT_EQ(CString("MEG_REF"), earOf21.getSensorTypeName());
    CMEGSensorqv channel;
    channel.sensorType = megTriaxial33[32].sensorType;
    EXPECT_EQ(CString("MEG_SNSR"), channel.getSensorTypeName());
}

// The name that getSensorTypeName gives to the codes the tables use.
const char* typeNameOf(int sensorType) {
    switch (sensorType) {
        case 10:
            return "MEG_REF";
        case 100:
            return "MEG_SNSR";
        default:
            return "Unknown";
    }
}

void expectElementHolds(const CBscMagSnsqv* element, const MEG_OPM_NAME_POS_TYPE& row) {
    ASSERT_NE(nullptr, element);
    EXPECT_BITS_EQ(row.posX, element->posP4[0]);
    EXPECT_BITS_EQ(row.posY, element->posP4[1]);
    EXPECT_BITS_EQ(row.posZ, element->posP4[2]);
    EXPECT_BITS_EQ(row.ornX, element->oriP4[0]);
    EXPECT_BITS_EQ(row.ornY, element->oriP4[1]);
    EXPECT_BITS_EQ(row.ornZ, element->oriP4[2]);
}

void expectSameElementPlace(const CBscMagSnsqv* expected, const CBscMagSnsqv* actual) {
    ASSERT_NE(nullptr, expected);
    ASSERT_NE(nullptr, actual);
    for (int k = 0; k < 4; ++k) {
        EXPECT_BITS_EQ(expected->posP4[k], actual->posP4[k]);
        EXPECT_BITS_EQ(expected->oriP4[k], actual->oriP4[k]);
    }
}

TEST(MegLayouts, EveryRowPassedToSetAcqSnsParamLandsInTheSelectedFramesOnly) {
    int case_ = 0;
    for (const auto& table : megTables()) {
        for (const auto& row : table.rows) {
            for (int hwType : {0, 1}) {
                SCOPED_TRACE(std::string(table.name) + " " + row.name.ToUtf8() + " type " +
                             std::to_string(hwType));
                // Selectors and element index vary from case to case, so that
                // every combination is met.
                const int toDewar = case_ & 1;
                const int toHead = (case_ >> 1) & 1;
                const int toWork = (case_ >> 2) & 1;
                const int toSensor = (case_ >> 3) & 1;
                const int coil = (case_ / 3) % 8;
                ++case_;

                CMEGSensorqv untouched;
                ASSERT_EQ(1,
                          untouched.setAcqSnsParam(
                              hwType, coil, const_cast<MEG_OPM_NAME_POS_TYPE*>(&row), 0, 0, 0, 0));
                CMEGSensorqv sensor;
                ASSERT_EQ(
                    1, sensor.setAcqSnsParam(hwType, coil, const_cast<MEG_OPM_NAME_POS_TYPE*>(&row),
                                             toDewar, toHead, toWork, toSensor));
                EXPECT_EQ(hwType, sensor.hardwareType);
                EXPECT_EQ(row.name, sensor.snsShowName);
                EXPECT_EQ(row.name, sensor.snsRawName);
                EXPECT_EQ(row.name, sensor.getSensorName());
                // The type code is not read.
                EXPECT_EQ(untouched.sensorType, sensor.sensorType);
                const int selected[3] = {toWork, toHead, toDewar};
                for (int frame = 0; frame < 3; ++frame) {
                    SCOPED_TRACE("frame " + std::to_string(frame));
                    const CBscMagSnsqv* element = sensor.getCoilWkHdDw(frame, coil);
                    const CBscMagSnsqv* before = untouched.getCoilWkHdDw(frame, coil);
                    if (selected[frame] != 0) {
                        expectElementHolds(element, row);
                        ASSERT_NE(nullptr, before);
                        EXPECT_BITS_EQ(before->posP4[3], element->posP4[3]);
                        EXPECT_BITS_EQ(before->oriP4[3], element->oriP4[3]);
                    } else {
                        expectSameElementPlace(before, element);
                    }
                }
                if (toSensor != 0) {
                    EXPECT_BITS_EQ(row.posX, sensor.snsPos4[0]);
                    EXPECT_BITS_EQ(row.posY, sensor.snsPos4[1]);
                    EXPECT_BITS_EQ(row.posZ, sensor.snsPos4[2]);
                    EXPECT_BITS_EQ(row.ornX, sensor.snsOri4[0]);
                    EXPECT_BITS_EQ(row.ornY, sensor.snsOri4[1]);
                    EXPECT_BITS_EQ(row.ornZ, sensor.snsOri4[2]);
                } else {
                    for (int k = 0; k < 3; ++k) {
                        EXPECT_BITS_EQ(untouched.snsPos4[k], sensor.snsPos4[k]);
                        EXPECT_BITS_EQ(untouched.snsOri4[k], sensor.snsOri4[k]);
                    }
                }
                EXPECT_BITS_EQ(untouched.snsPos4[3], sensor.snsPos4[3]);
                EXPECT_BITS_EQ(untouched.snsOri4[3], sensor.snsOri4[3]);

                sensor.sensorType = row.sensorType;
                EXPECT_EQ(CString(typeNameOf(row.sensorType)), sensor.getSensorTypeName());
            }
        }
    }
    EXPECT_EQ(2 * (21 + 32 + 33), case_);
}

TEST(MegLayouts, ALayout21RowOnASensorWithoutHardwareSetsOnlyTheSensorsOwnValues) {
    const auto& row = megLayout21[8];
    CMEGSensorqv sensor;
    ASSERT_EQ(1,
              sensor.setAcqSnsParam(-1, 0, const_cast<MEG_OPM_NAME_POS_TYPE*>(&row), 1, 1, 1, 1));
    EXPECT_EQ(-1, sensor.hardwareType);
    EXPECT_EQ(nullptr, sensor.getBscSns());
    EXPECT_EQ(CString("MZC0"), sensor.getSensorName());
    EXPECT_BITS_EQ(7.43439, sensor.snsPos4[0]);
    EXPECT_BITS_EQ(151.83792, sensor.snsPos4[1]);
    EXPECT_BITS_EQ(14.09561, sensor.snsPos4[2]);
    EXPECT_BITS_EQ(-0.0146875730851347, sensor.snsOri4[0]);
    EXPECT_BITS_EQ(0.915750282274253, sensor.snsOri4[1]);
    EXPECT_BITS_EQ(-0.401479, sensor.snsOri4[2]);
}

TEST(MegLayouts, ALayout21RowLandsInTheWorkFrameOfAnOpmSensorAndIsReadBack) {
    const auto& row = megLayout21[0];
    CMEGSensorqv sensor;
    ASSERT_EQ(1, sensor.setAcqSnsParam(1, 2, const_cast<MEG_OPM_NAME_POS_TYPE*>(&row), 0, 0, 1, 0));
    double x = 0, y = 0, z = 0;
    ASSERT_EQ(1, sensor.getSnsPos(-1, 2, x, y, z));
    EXPECT_BITS_EQ(30.0, x);
    EXPECT_BITS_EQ(70.84885, y);
    EXPECT_BITS_EQ(-104.70795, z);
    ASSERT_EQ(1, sensor.getSnsOrn(-1, 2, x, y, z));
    EXPECT_BITS_EQ(0.301, x);
    EXPECT_BITS_EQ(-0.068, y);
    EXPECT_BITS_EQ(-0.948, z);
}

}  // namespace
