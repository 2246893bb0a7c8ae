// The rules of one channel: each test puts exactly one defect into a clean
// helmet of SQUID gradiometers and finds exactly that finding.
#include <fluxgrid/geometry/Check.h>

#include "support/SensorSets.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

using fluxgrid::CheckedSensor;
using fluxgrid::checkGeometry;
using fluxgrid::Finding;
using fluxgrid::GeometryReport;
using fluxgrid::Point3;
using fluxgrid::Severity;
using fluxgrid::test::codesOf;
using fluxgrid::test::holds;
using fluxgrid::test::onlyFinding;
using fluxgrid::test::squidOf;
using Codes = std::vector<std::string>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

class ChannelRules : public ::testing::Test {
  protected:
    // Twenty axial gradiometers on a helmet of radius 100 mm, baseline 50 mm.
    std::vector<CMEGSensorqv> sensors = fluxgrid::test::squidHelmet(20, 100.0, 50.0);

    GeometryReport check() const { return checkGeometry(fluxgrid::test::checkedSet(sensors)); }

    // The report has exactly one finding, of `code`, on channel 7.
    Finding only(const std::string& code) const {
        const Finding finding = fluxgrid::test::onlyFinding(check(), code);
        EXPECT_EQ(finding.channel, 7);
        return finding;
    }

    CBscMagSnsqv& work(int channel, int element) {
        return *sensors[channel].getCoilWkHdDw(0, element);
    }
};

TEST_F(ChannelRules, ACleanHelmetHasNoFinding) {
    const GeometryReport report = check();
    EXPECT_EQ(codesOf(report), Codes{});
    EXPECT_EQ(report.channels, 20);
    EXPECT_EQ(report.megChannels, 20);
    EXPECT_EQ(report.errors + report.warnings + report.notes, 0);
}

TEST_F(ChannelRules, AnEmptyNameIsAnError) {
    sensors[7].snsRawName = CString("");
    const Finding finding = only("name-empty");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_EQ(finding.name, "");
    EXPECT_EQ(fluxgrid::formatFinding(finding).substr(0, 20), "error name-empty #7 ");
}

TEST_F(ChannelRules, ANameOfSixteenCharactersIsLongerThanFifKeeps) {
    sensors[7].snsRawName = CString("MEG0113ABCDEFGHI");
    const Finding finding = only("name-too-long");
    EXPECT_EQ(finding.severity, Severity::warning);
    EXPECT_EQ(finding.name, "MEG0113ABCDEFGHI");
    EXPECT_TRUE(holds(finding.message, "16 characters"));
    ASSERT_EQ(finding.values.size(), 1u);
    EXPECT_EQ(finding.values[0].value, 16.0);
}

TEST_F(ChannelRules, ANameOfFifteenCharactersPasses) {
    sensors[7].snsRawName = CString("MEG0113ABCDEFGH");
    EXPECT_EQ(codesOf(check()), Codes{});
}

TEST_F(ChannelRules, ANameOutsideAsciiIsAWarningAndComesOutInUtf8) {
    sensors[7].snsRawName = CString(std::u16string(u"MEG\u00DC7"));
    const Finding finding = only("name-not-ascii");
    EXPECT_EQ(finding.severity, Severity::warning);
    EXPECT_EQ(finding.name,
              "MEG\xC3\x9C"
              "7");
}

TEST_F(ChannelRules, ATypeCodeWithoutNameIsAWarning) {
    sensors[7].sensorType = 301;
    const Finding finding = only("type-unknown");
    EXPECT_EQ(finding.severity, Severity::warning);
    EXPECT_TRUE(holds(finding.message, "301"));
}

TEST_F(ChannelRules, AHardwareTypeWithoutRecordIsAWarning) {
    // A stimulus line that says SQUID and has no record.
    sensors[7].cleanHardwareType();
    sensors[7].hardwareType = 0;
    sensors[7].sensorType = 600;
    const Finding finding = only("record-missing");
    EXPECT_EQ(finding.severity, Severity::warning);
}

TEST_F(ChannelRules, ARecordUnderAnotherHardwareTypeIsLostOnStoring) {
    sensors[7].hardwareType = 5;
    const Finding finding = only("record-unreachable");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_TRUE(holds(finding.message, "SQUID record under hardwareType 5"));
}

TEST_F(ChannelRules, AnOpmRecordUnderTheSquidTypeIsUnreachable) {
    sensors[7].cleanHardwareType();
    // A misc OPM line, outside the concern of the sphere.
    fluxgrid::test::setUpOpm(sensors[7], "MEG008", {0, 0, 100}, {0, 0, 1}, 4000);
    sensors[7].hardwareType = 0;
    EXPECT_EQ(codesOf(check()), Codes{"record-unreachable"});
}

TEST_F(ChannelRules, AnElementCountOutsideTheEightSlotsIsAWarning) {
    // A misc line, so that no element in use is no error of its own.
    sensors[7].sensorType = 4000;
    squidOf(sensors[7]).totalCoils = -1;
    const Finding finding = only("element-count-out-of-range");
    EXPECT_EQ(finding.severity, Severity::warning);
    EXPECT_TRUE(holds(finding.message, "totalCoils is -1"));
}

TEST_F(ChannelRules, AnMegChannelWithoutElementsInUseIsAnError) {
    squidOf(sensors[7]).totalCoils = 0;
    EXPECT_EQ(only("no-elements").severity, Severity::error);
}

TEST_F(ChannelRules, AReferenceWithoutRecordHasNoElements) {
    sensors[7].cleanHardwareType();
    sensors[7].sensorType = 10;
    const Finding finding = only("no-elements");
    EXPECT_TRUE(holds(finding.message, "no record"));
}

TEST_F(ChannelRules, AStimulusLineWithoutElementsPasses) {
    sensors[7].cleanHardwareType();
    sensors[7].sensorType = 600;
    EXPECT_EQ(codesOf(check()), Codes{});
}

TEST_F(ChannelRules, APositionNotFiniteIsAnError) {
    work(7, 1).posP4[2] = kNaN;
    const Finding finding = only("position-not-finite");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_TRUE(holds(finding.message, "element 1 (work frame) position"));
    EXPECT_TRUE(holds(finding.message, "nan)"));
}

TEST_F(ChannelRules, AnOrientationNotFiniteIsAnError) {
    work(7, 1).oriP4[0] = -kInf;
    EXPECT_EQ(only("orientation-not-finite").severity, Severity::error);
}

TEST_F(ChannelRules, AZeroOrientationIsAnError) {
    for (int i = 0; i < 3; ++i) {
        work(7, 1).oriP4[i] = 0.0;
    }
    EXPECT_EQ(only("orientation-zero").severity, Severity::error);
}

TEST_F(ChannelRules, AnOrientationOffUnitLengthByMoreThanAHundredthIsAnError) {
    for (int i = 0; i < 3; ++i) {
        work(7, 1).oriP4[i] *= 1.02;
    }
    const Finding finding = only("orientation-not-unit");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_TRUE(holds(finding.message, "has length 1.02, off 1 by 0.02 (limit 0.01)"));
}

TEST_F(ChannelRules, AnOrientationFromAThreeDecimalTableIsAWarning) {
    // The table's orientation, unnormalised, on a cell where it points out.
    sensors.resize(21);
    const Point3 table{0.301, -0.068, -0.948};
    const Point3 at = fluxgrid::test::unit(table);
    fluxgrid::test::setUpOpm(sensors[20], "OPM020", {100.0 * at[0], 100.0 * at[1], 100.0 * at[2]},
                             table);
    const GeometryReport report = check();
    const Finding finding = onlyFinding(report, "orientation-not-normalised");
    EXPECT_EQ(finding.severity, Severity::warning);
    EXPECT_EQ(finding.channel, 20);
    EXPECT_TRUE(holds(finding.message, "(0.301, -0.068, -0.948) has length 0.99696"));
    ASSERT_EQ(finding.values.size(), 3u);
    EXPECT_EQ(finding.values[1].name, "length");
    EXPECT_DOUBLE_EQ(finding.values[1].value,
                     std::sqrt(0.301 * 0.301 + 0.068 * 0.068 + 0.948 * 0.948));
}

TEST_F(ChannelRules, AnOrientationOffByAMillionthPasses) {
    for (int i = 0; i < 3; ++i) {
        work(7, 1).oriP4[i] *= 1.0 + 9e-7;
    }
    EXPECT_EQ(codesOf(check()), Codes{});
}

TEST_F(ChannelRules, AGainNotFiniteIsAnError) {
    squidOf(sensors[7]).totalGain = kNaN;
    EXPECT_EQ(only("gain-not-finite").severity, Severity::error);
}

TEST_F(ChannelRules, AZeroGainIsAnError) {
    squidOf(sensors[7]).totalGain = 0.0;
    EXPECT_EQ(only("gain-zero").severity, Severity::error);
}

TEST_F(ChannelRules, ANegativeGainIsAWarning) {
    squidOf(sensors[7]).totalGain = -2.5;
    const Finding finding = only("gain-negative");
    EXPECT_EQ(finding.severity, Severity::warning);
    EXPECT_TRUE(holds(finding.message, "-2.5"));
}

TEST_F(ChannelRules, TheGainIsReadAsStoredWithoutRecomputing) {
    // The three factors multiply to 1; the stored product says 0.
    squidOf(sensors[7]).totalGain = 0.0;
    EXPECT_EQ(codesOf(check()), Codes{"gain-zero"});
    EXPECT_EQ(squidOf(sensors[7]).totalGain, 0.0);
}

TEST_F(ChannelRules, ASecondCoilOffTheNormalLineIsAnError) {
    work(7, 1).posP4[0] += 1.5;
    const Finding finding = only("gradiometer-off-axis");
    EXPECT_EQ(finding.severity, Severity::error);
    ASSERT_EQ(finding.values.size(), 1u);
    EXPECT_NEAR(finding.values[0].value, 1.5 * std::sqrt(1.0 - std::pow(work(7, 0).oriP4[0], 2)),
                1e-9);
    EXPECT_EQ(finding.values[0].unit, "mm");
}

TEST_F(ChannelRules, ASecondCoilHalfAMillimetreOffTheLinePasses) {
    work(7, 1).posP4[0] += 0.5;
    EXPECT_EQ(codesOf(check()), Codes{});
}

}  // namespace
