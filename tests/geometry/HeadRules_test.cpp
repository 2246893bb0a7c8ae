// The rules of a head localization: each test gives a head localization
// with exactly one defect and finds exactly that finding.
#include <fluxgrid/geometry/Check.h>

#include "support/SensorSets.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

using fluxgrid::CheckedHead;
using fluxgrid::checkGeometry;
using fluxgrid::Finding;
using fluxgrid::GeometryReport;
using fluxgrid::LengthUnit;
using fluxgrid::Severity;
using fluxgrid::test::codesOf;
using fluxgrid::test::holds;
using fluxgrid::test::setFiducials;
using Codes = std::vector<std::string>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class HeadRules : public ::testing::Test {
  protected:
    HeadRules() { fluxgrid::test::setHeadInHelmet(head); }

    // With the helmet of radius 100 mm that the head sits in.
    GeometryReport check(LengthUnit unit = LengthUnit::mm) const {
        return checkGeometry(fluxgrid::test::checkedSet(helmet),
                             CheckedHead{head, "head.hl", unit});
    }
    // Without sensors.
    GeometryReport checkAlone(LengthUnit unit = LengthUnit::mm) const {
        return checkGeometry({}, CheckedHead{head, "head.hl", unit});
    }

    // The report has exactly one finding, of `code`, about the head.
    static Finding only(const GeometryReport& report, const std::string& code) {
        const Finding finding = fluxgrid::test::onlyFinding(report, code);
        EXPECT_EQ(finding.channel, -1);
        EXPECT_EQ(finding.file, "head.hl");
        return finding;
    }

    std::vector<CMEGSensorqv> helmet = fluxgrid::test::squidHelmet(20, 100.0, 50.0);
    CHeadLocalizationqv head;
};

TEST_F(HeadRules, AHeadInsideTheHelmetHasNoFinding) {
    EXPECT_EQ(codesOf(check()), Codes{});
    EXPECT_EQ(codesOf(checkAlone()), Codes{});
}

TEST_F(HeadRules, ANewHeadLocalizationHoldsNoFiducialsAndSaysSo) {
    const CHeadLocalizationqv fresh;
    const GeometryReport report = checkGeometry({}, CheckedHead{fresh, "head.hl"});
    const Finding finding = only(report, "fiducials-empty");
    EXPECT_EQ(finding.severity, Severity::note);
    EXPECT_EQ(fluxgrid::formatFinding(finding).substr(0, 33), "note fiducials-empty (head.hl): p");
}

TEST_F(HeadRules, ANasionNotFiniteIsAnError) {
    setFiducials(head, {0, kNaN, -10}, {-70, 0, -20}, {70, 0, -20});
    const Finding finding = only(check(), "fiducial-not-finite");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_TRUE(holds(finding.message, "nasion (point 0) (0, nan, -10) is not finite"));
}

TEST_F(HeadRules, ALocationNotFiniteIsAnError) {
    head.setSensorLocation(1.0, kNaN, 2.0);
    EXPECT_EQ(only(check(), "location-not-finite").severity, Severity::error);
}

TEST_F(HeadRules, ARegistrationThatDividesByZeroStoresARotationNotFinite) {
    // The example volume of registration, with point 0 at the height that
    // makes the first ratio's denominator 0.
    CFiducialqv mri;
    mri.fidPts[0].setFidPtPosition(128.0, 140.0, 120.0);
    mri.fidPts[1].setFidPtPosition(60.0, 130.0, 120.0);
    mri.fidPts[2].setFidPtPosition(196.0, 130.0, 120.0);
    head.registerMEGFiducial2MRIFiducialPts(&mri, true, nullptr, 256, 256, 256, 1.0, 1.0, 1.0);
    double x = 0.0, y = 0.0, z = 0.0;
    head.getSensorRotation(x, y, z);
    ASSERT_TRUE(std::isnan(x));
    const Finding finding = only(check(), "rotation-not-finite");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_EQ(finding.values[0].unit, "deg");
}

TEST_F(HeadRules, ARegisteredRotationOfFiniteAnglesPasses) {
    CFiducialqv mri;
    mri.fidPts[0].setFidPtPosition(128.0, 140.0, 200.0);
    mri.fidPts[1].setFidPtPosition(60.0, 130.0, 120.0);
    mri.fidPts[2].setFidPtPosition(196.0, 130.0, 120.0);
    head.registerMEGFiducial2MRIFiducialPts(&mri, true, nullptr, 256, 256, 256, 1.0, 1.0, 1.0);
    EXPECT_EQ(codesOf(check()), Codes{});
}

TEST_F(HeadRules, FiducialsInMetresReadAsMillimetresAreAnError) {
    setFiducials(head, {0, 0.08, -0.01}, {-0.07, 0, -0.02}, {0.07, 0, -0.02});
    const Finding finding = only(checkAlone(), "head-unit-mismatch");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_TRUE(holds(finding.message,
                      "the ear points lie 0.14 mm apart: the fiducials look like "
                      "metres, not millimetres"));
}

TEST_F(HeadRules, FiducialsInCentimetresPassInCentimetres) {
    setFiducials(head, {0, 8, -1}, {-7, 0, -2}, {7, 0, -2});
    EXPECT_EQ(codesOf(checkAlone(LengthUnit::cm)), Codes{});
    EXPECT_EQ(codesOf(check(LengthUnit::cm)), Codes{});
    EXPECT_EQ(codesOf(checkAlone()), Codes{"head-unit-mismatch"});
}

TEST_F(HeadRules, WithoutAUnitTheHeadIsJudgedInTheUnitItsEarsTell) {
    setFiducials(head, {0, 8, -1}, {-7, 0, -2}, {7, 0, -2});
    const GeometryReport inCentimetres = checkGeometry({}, CheckedHead{head, "head.hl", {}});
    EXPECT_EQ(codesOf(inCentimetres), Codes{});
    EXPECT_EQ(inCentimetres.headUnit, LengthUnit::cm);

    setFiducials(head, {0, 80, -10}, {-70, 0, -20}, {70, 0, -20});
    const GeometryReport inMillimetres = checkGeometry({}, CheckedHead{head, "head.hl", {}});
    EXPECT_EQ(codesOf(inMillimetres), Codes{});
    EXPECT_EQ(inMillimetres.headUnit, LengthUnit::mm);
}

TEST_F(HeadRules, WithoutAUnitEarsThatFitNoHeadAreJudgedInTheSensorsUnit) {
    setFiducials(head, {0, 80, -10}, {-20, 0, -20}, {20, 0, -20});
    const GeometryReport report =
        checkGeometry(fluxgrid::test::checkedSet(helmet), CheckedHead{head, "head.hl", {}});
    EXPECT_EQ(report.headUnit, LengthUnit::mm);
    EXPECT_EQ(codesOf(report), Codes{"ears-too-close"});
}

TEST_F(HeadRules, EarPointsCloserThan50MillimetresAreAnError) {
    setFiducials(head, {0, 80, -10}, {-20, 0, -20}, {20, 0, -20});
    const Finding finding = only(check(), "ears-too-close");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_TRUE(holds(finding.message, "the ear points lie 40 mm apart (limit 50 mm)"));
}

// Ear points at one point, or a nasion on their line, give no head frame.
TEST_F(HeadRules, EarPointsAtOnePointAreAnError) {
    setFiducials(head, {0, 80, -10}, {40, 0, -20}, {40, 0, -20});
    const Finding finding = only(check(), "ears-too-close");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_TRUE(holds(finding.message, "the ear points lie 0 mm apart (limit 50 mm)"));
}

TEST_F(HeadRules, ANasionExactlyOnTheLineThroughTheEarsIsAnError) {
    setFiducials(head, {35, 0, -20}, {-70, 0, -20}, {70, 0, -20});
    const Finding finding = only(check(), "nasion-on-ear-line");
    EXPECT_TRUE(
        holds(finding.message, "the nasion lies 0 mm from the line through the ear points"));
}

TEST_F(HeadRules, EarPointsFartherApartThan200MillimetresAreAWarning) {
    setFiducials(head, {0, 80, -10}, {-115, 0, -20}, {115, 0, -20});
    const Finding finding = only(checkAlone(), "ear-distance-unusual");
    EXPECT_EQ(finding.severity, Severity::warning);
    EXPECT_TRUE(
        holds(finding.message, "the ear points lie 230 mm apart, outside the 100 to 200 mm"));
}

TEST_F(HeadRules, EarPointsCloserThan100MillimetresAreAWarning) {
    setFiducials(head, {0, 80, -10}, {-40, 0, -20}, {40, 0, -20});
    EXPECT_EQ(only(check(), "ear-distance-unusual").severity, Severity::warning);
}

TEST_F(HeadRules, ANasionNearTheLineThroughTheEarsIsAnError) {
    setFiducials(head, {0, 3, -16}, {-70, 0, -20}, {70, 0, -20});
    const Finding finding = only(check(), "nasion-on-ear-line");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_TRUE(holds(finding.message,
                      "the nasion lies 5 mm from the line through the ear points "
                      "(limit 10 mm)"));
}

TEST_F(HeadRules, ANasionOutsideTheHelmetIsAnError) {
    setFiducials(head, {0, 130, -10}, {-70, 0, -20}, {70, 0, -20});
    const GeometryReport report = check();
    const Finding finding = only(report, "fiducial-outside-helmet");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_TRUE(holds(finding.message,
                      "nasion (point 0) (0, 130, -10) mm lies 130.384 mm from the "
                      "centre of the helmet's sphere, outside its radius 100 mm"));
    // Without sensors there is no helmet to stick out of.
    EXPECT_EQ(codesOf(checkAlone()), Codes{});
}

TEST_F(HeadRules, TheHelmetComparesFiducialsInTheirOwnUnit) {
    // 13 cm from the centre: outside the helmet of 100 mm.
    setFiducials(head, {0, 13, -1}, {-7, 0, -2}, {7, 0, -2});
    EXPECT_EQ(codesOf(check(LengthUnit::cm)), Codes{"fiducial-outside-helmet"});
}

}  // namespace
