// The rules of the set: each test builds a helmet with exactly one defect
// of the set and finds exactly that finding.
#include <fluxgrid/geometry/Check.h>

#include "support/SensorSets.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using fluxgrid::checkGeometry;
using fluxgrid::CheckOptions;
using fluxgrid::Finding;
using fluxgrid::GeometryReport;
using fluxgrid::LengthUnit;
using fluxgrid::Point3;
using fluxgrid::Severity;
using fluxgrid::test::codesOf;
using fluxgrid::test::holds;
using fluxgrid::test::onlyFinding;
using Codes = std::vector<std::string>;

GeometryReport check(const std::vector<CMEGSensorqv>& sensors, const CheckOptions& options = {}) {
    return checkGeometry(fluxgrid::test::checkedSet(sensors), options);
}

Point3 positionOf(CMEGSensorqv& sensor, int element = 0) {
    const double* p = sensor.getCoilWkHdDw(0, element)->posP4;
    return {p[0], p[1], p[2]};
}

Point3 orientationOf(CMEGSensorqv& sensor) {
    const double* o = sensor.getCoilWkHdDw(0, 0)->oriP4;
    return {o[0], o[1], o[2]};
}

void setOrientation(CMEGSensorqv& sensor, const Point3& o) {
    for (int i = 0; i < 3; ++i) {
        sensor.getCoilWkHdDw(0, 0)->oriP4[i] = o[i];
    }
}

// The unit vector `degrees` away from the unit vector `n`, turned towards
// the unit vector `t` orthogonal to it.
Point3 turned(const Point3& n, const Point3& t, double degrees) {
    const double a = degrees * 3.141592653589793 / 180.0;
    return {std::cos(a) * n[0] + std::sin(a) * t[0], std::cos(a) * n[1] + std::sin(a) * t[1],
            std::cos(a) * n[2] + std::sin(a) * t[2]};
}

// A unit vector orthogonal to the unit vector `n`.
Point3 tangentOf(const Point3& n) {
    const Point3 helper = std::abs(n[0]) < 0.9 ? Point3{1, 0, 0} : Point3{0, 1, 0};
    const Point3 t{helper[1] * n[2] - helper[2] * n[1], helper[2] * n[0] - helper[0] * n[2],
                   helper[0] * n[1] - helper[1] * n[0]};
    return fluxgrid::test::unit(t);
}

std::vector<CMEGSensorqv> helmet() {
    return fluxgrid::test::squidHelmet(20, 100.0, 50.0);
}

TEST(SetRules, TheSphereOfACleanHelmetIsItsOwn) {
    const GeometryReport report = check(helmet());
    ASSERT_TRUE(report.sphere.fitted);
    EXPECT_NEAR(report.sphere.radius, 100.0, 1e-9);
    EXPECT_NEAR(report.sphere.centre[2], 0.0, 1e-9);
    EXPECT_EQ(report.sphere.points, 20);
}

TEST(SetRules, ASecondChannelOfOneNameIsAnErrorNamingTheFirst) {
    std::vector<CMEGSensorqv> sensors = helmet();
    sensors[12].snsRawName = CString("MEG003");
    const GeometryReport report = check(sensors);
    const Finding finding = onlyFinding(report, "name-duplicate");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_EQ(finding.channel, 12);
    EXPECT_TRUE(holds(finding.message, "#2 MEG003 (MEG003.sensor)"));
    ASSERT_EQ(finding.values.size(), 1u);
    EXPECT_EQ(finding.values[0].value, 2.0);
}

TEST(SetRules, ThreeMegChannelsFitNoSphereAndSaySo) {
    const GeometryReport report = check(fluxgrid::test::squidHelmet(3, 100.0, 50.0));
    ASSERT_EQ(codesOf(report), Codes{"sphere-not-fitted"});
    EXPECT_FALSE(report.sphere.fitted);
    EXPECT_EQ(report.findings[0].severity, Severity::note);
    EXPECT_EQ(report.findings[0].channel, -1);
    EXPECT_EQ(fluxgrid::formatFinding(report.findings[0]),
              "note sphere-not-fitted: no sphere fitted to the first elements of 3 MEG channels "
              "in the work frame: fewer than 4 points (4 not in one plane are needed); "
              "orientation-inward, gradiometer-inward and fiducial-outside-helmet are not judged");
}

TEST(SetRules, ChannelsOnOneCircleFitNoSphere) {
    std::vector<CMEGSensorqv> sensors(12);
    for (int i = 0; i < 12; ++i) {
        const Point3 n{std::cos(0.5 * i), std::sin(0.5 * i), 0.0};
        fluxgrid::test::setUpSquid(sensors[i], "MEG" + std::to_string(100 + i),
                                   {90 * n[0], 90 * n[1], 0.0}, n, 50.0);
    }
    EXPECT_TRUE(holds(onlyFinding(check(sensors), "sphere-not-fitted").message,
                      "the points lie in one plane"));
}

TEST(SetRules, ReferencesAloneNeedNoSphere) {
    std::vector<CMEGSensorqv> sensors = helmet();
    for (CMEGSensorqv& sensor : sensors) {
        sensor.sensorType = 10;
    }
    const GeometryReport report = check(sensors);
    EXPECT_EQ(codesOf(report), Codes{});
    EXPECT_FALSE(report.sphere.fitted);
    EXPECT_EQ(report.referenceChannels, 20);
    EXPECT_EQ(report.sphere.points, 0);
}

TEST(SetRules, ReferencesStayOutOfTheSphere) {
    // Five references far above the helmet, pointing anywhere.
    std::vector<CMEGSensorqv> sensors = helmet();
    sensors.resize(25);
    for (int i = 20; i < 25; ++i) {
        fluxgrid::test::setUpSquid(sensors[i], "REF" + std::to_string(i), {10.0 * i, 0, 300.0},
                                   {0, 0, -1}, 50.0, 11);
    }
    const GeometryReport report = check(sensors);
    EXPECT_EQ(codesOf(report), Codes{});
    EXPECT_NEAR(report.sphere.radius, 100.0, 1e-9);
    EXPECT_EQ(report.sphere.points, 20);
}

TEST(SetRules, AHelmetOfRadius200IsAWarning) {
    const GeometryReport report = check(fluxgrid::test::squidHelmet(20, 200.0, 50.0));
    const Finding finding = onlyFinding(report, "sphere-radius");
    EXPECT_EQ(finding.severity, Severity::warning);
    EXPECT_TRUE(holds(finding.message, "has radius 200 mm"));
    EXPECT_EQ(finding.values[0].name, "radius");
    EXPECT_NEAR(finding.values[0].value, 200.0, 1e-9);
    EXPECT_EQ(finding.values[0].unit, "mm");
}

TEST(SetRules, AHelmetOfRadius40IsAWarning) {
    EXPECT_EQ(codesOf(check(fluxgrid::test::squidHelmet(20, 40.0, 20.0))), Codes{"sphere-radius"});
}

TEST(SetRules, PositionsInMetresReadAsMillimetresAreAnError) {
    // 306 channels 0.1 apart would all be closer than "1 mm" to their
    // neighbours: those rules stand aside.
    const GeometryReport report = check(fluxgrid::test::squidHelmet(306, 0.1, 0.05));
    const Finding finding = onlyFinding(report, "unit-mismatch");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_TRUE(holds(finding.message, "radius 0.1 mm"));
    EXPECT_TRUE(holds(finding.message, "look like metres, not millimetres"));
}

TEST(SetRules, PositionsInMetresPassInMetres) {
    CheckOptions options;
    options.unit = LengthUnit::m;
    const GeometryReport report = check(fluxgrid::test::squidHelmet(306, 0.1, 0.05), options);
    EXPECT_EQ(codesOf(report), Codes{});
}

TEST(SetRules, PositionsInCentimetresReadAsMillimetresLookLikeCentimetres) {
    const GeometryReport report = check(fluxgrid::test::squidHelmet(20, 10.0, 5.0));
    ASSERT_EQ(codesOf(report), Codes{"unit-mismatch"});
    EXPECT_TRUE(holds(report.findings[0].message, "look like centimetres, not millimetres"));
}

TEST(SetRules, AnOrientationPointingInIsAnError) {
    std::vector<CMEGSensorqv> sensors = helmet();
    const Point3 n = orientationOf(sensors[7]);
    setOrientation(sensors[7], {-n[0], -n[1], -n[2]});
    const GeometryReport report = check(sensors);
    const Finding finding = onlyFinding(report, "orientation-inward");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_EQ(finding.channel, 7);
    EXPECT_EQ(finding.name, "MEG008");
    EXPECT_EQ(finding.file, "MEG008.sensor");
    EXPECT_TRUE(holds(finding.message,
                      "points 180 degrees from outward (radial component -1, limit "
                      "-0.5)"));
}

TEST(SetRules, AnOrientation130DegreesFromOutwardIsInwardAnd110IsNot) {
    std::vector<CMEGSensorqv> sensors = fluxgrid::test::opmHelmet(20, 100.0);
    const Point3 n = orientationOf(sensors[7]);
    setOrientation(sensors[7], turned(n, tangentOf(n), 110.0));
    EXPECT_EQ(codesOf(check(sensors)), Codes{});
    setOrientation(sensors[7], turned(n, tangentOf(n), 130.0));
    EXPECT_EQ(codesOf(check(sensors)), Codes{"orientation-inward"});
}

TEST(SetRules, TheTangentialAxesOfTriaxialOpmSensorsAreNotInward) {
    const GeometryReport report = check(fluxgrid::test::opmHelmet(20, 100.0, true));
    EXPECT_EQ(report.channels, 60);
    EXPECT_EQ(report.megChannels, 60);
    // Three pairs at each of the twenty positions, and nothing else.
    EXPECT_EQ(codesOf(report), Codes(60, "multi-axis"));
    EXPECT_EQ(report.notes, 60);
    EXPECT_EQ(report.errors, 0);
}

TEST(SetRules, ASecondCoilInsideTheFirstIsAnError) {
    std::vector<CMEGSensorqv> sensors = helmet();
    const Point3 p = positionOf(sensors[7]);
    const Point3 n = orientationOf(sensors[7]);
    double* second = sensors[7].getCoilWkHdDw(0, 1)->posP4;
    for (int i = 0; i < 3; ++i) {
        second[i] = p[i] - 50.0 * n[i];
    }
    const GeometryReport report = check(sensors);
    const Finding finding = onlyFinding(report, "gradiometer-inward");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_EQ(finding.channel, 7);
    EXPECT_TRUE(holds(finding.message,
                      "lies 50 mm from the sphere's centre, not farther out than the "
                      "first coil at 100 mm"));
}

// A clean single-axis OPM helmet and one more cell at channel 5's
// position, `offset` away along x, `degrees` from channel 5's orientation.
std::vector<CMEGSensorqv> withSecondCell(double offset, double degrees) {
    std::vector<CMEGSensorqv> sensors = fluxgrid::test::opmHelmet(20, 100.0);
    sensors.resize(21);
    const Point3 p = positionOf(sensors[5]);
    const Point3 n = orientationOf(sensors[5]);
    fluxgrid::test::setUpOpm(sensors[20], "OPM021", {p[0] + offset, p[1], p[2]},
                             turned(n, tangentOf(n), degrees));
    return sensors;
}

TEST(SetRules, ACleanOpmHelmetHasNoFinding) {
    EXPECT_EQ(codesOf(check(fluxgrid::test::opmHelmet(20, 100.0))), Codes{});
}

TEST(SetRules, AnOrthogonalCellAtOnePositionIsAMultiAxisSensor) {
    const GeometryReport report = check(withSecondCell(0.0, 90.0));
    const Finding finding = onlyFinding(report, "multi-axis");
    EXPECT_EQ(finding.severity, Severity::note);
    EXPECT_EQ(finding.channel, 20);
    EXPECT_TRUE(holds(finding.message,
                      "0 mm from channel #5 OPM006 (OPM006.sensor), orientations 90 "
                      "degrees apart"));
}

TEST(SetRules, OrthogonalWithinFiveDegreesIsStillMultiAxis) {
    EXPECT_EQ(codesOf(check(withSecondCell(0.5, 86.0))), Codes{"multi-axis"});
}

TEST(SetRules, TwoCellsCloserThanAMillimetreAndNotOrthogonalOverlap) {
    const GeometryReport report = check(withSecondCell(0.5, 30.0));
    const Finding finding = onlyFinding(report, "channels-overlap");
    EXPECT_EQ(finding.severity, Severity::error);
    EXPECT_EQ(finding.channel, 20);
    EXPECT_TRUE(holds(finding.message,
                      "0.5 mm from channel #5 OPM006 (OPM006.sensor) (limit 1 mm), "
                      "orientations 30 degrees apart"));
    EXPECT_EQ(codesOf(check(withSecondCell(0.0, 80.0))), Codes{"channels-overlap"});
}

TEST(SetRules, TwoCellsMoreThanAMillimetreApartDoNotShareAPosition) {
    EXPECT_EQ(codesOf(check(withSecondCell(1.1, 30.0))), Codes{});
}

}  // namespace
