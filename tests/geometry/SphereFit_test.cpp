// The least-squares sphere: exact on points of a sphere, and no fit where
// the points do not determine one.
#include <fluxgrid/geometry/SphereFit.h>

#include "support/SensorSets.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using fluxgrid::fitSphere;
using fluxgrid::Point3;
using fluxgrid::SphereFit;

TEST(SphereFit, FindsTheCentreAndRadiusOfPointsOnAHelmetCap) {
    const Point3 centre{3.0, -12.5, 40.0};
    const std::vector<Point3> points = fluxgrid::test::helmetPositions(306, 95.0, centre);
    const SphereFit fit = fitSphere(points);
    ASSERT_TRUE(fit.fitted) << fit.reason;
    EXPECT_NEAR(fit.centre[0], 3.0, 1e-9);
    EXPECT_NEAR(fit.centre[1], -12.5, 1e-9);
    EXPECT_NEAR(fit.centre[2], 40.0, 1e-9);
    EXPECT_NEAR(fit.radius, 95.0, 1e-9);
    EXPECT_LT(fit.rms, 1e-9);
    EXPECT_EQ(fit.points, 306);
    EXPECT_TRUE(fit.reason.empty());
}

TEST(SphereFit, FourCornersOfATetrahedronDetermineTheirSphere) {
    // The corners of a regular tetrahedron lie on the sphere of radius
    // sqrt(3) about the origin.
    const std::vector<Point3> points{{1, 1, 1}, {1, -1, -1}, {-1, 1, -1}, {-1, -1, 1}};
    const SphereFit fit = fitSphere(points);
    ASSERT_TRUE(fit.fitted);
    EXPECT_NEAR(fit.centre[0], 0.0, 1e-12);
    EXPECT_NEAR(fit.centre[1], 0.0, 1e-12);
    EXPECT_NEAR(fit.centre[2], 0.0, 1e-12);
    EXPECT_NEAR(fit.radius, std::sqrt(3.0), 1e-12);
}

TEST(SphereFit, PointsOffTheSphereLeaveTheirSpreadInTheRms) {
    // Alternate points 1 mm inside and outside a sphere of 100 mm.
    std::vector<Point3> points = fluxgrid::test::helmetPositions(200, 100.0);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double s = (i % 2 == 0 ? 101.0 : 99.0) / 100.0;
        for (double& c : points[i]) {
            c *= s;
        }
    }
    const SphereFit fit = fitSphere(points);
    ASSERT_TRUE(fit.fitted);
    EXPECT_NEAR(fit.radius, 100.0, 0.1);
    EXPECT_NEAR(fit.rms, 1.0, 0.1);
}

TEST(SphereFit, FewerThanFourPointsHaveNoFit) {
    const std::vector<Point3> points{{100, 0, 0}, {0, 100, 0}, {0, 0, 100}};
    const SphereFit fit = fitSphere(points);
    EXPECT_FALSE(fit.fitted);
    EXPECT_EQ(fit.reason, "fewer than 4 points");
    EXPECT_EQ(fit.points, 3);
    EXPECT_EQ(fit.radius, 0.0);
    EXPECT_FALSE(fitSphere({}).fitted);
}

TEST(SphereFit, PointsInOnePlaneHaveNoFit) {
    // Forty points of a circle and its centre, all at z = 20.
    std::vector<Point3> points{{0, 0, 20}};
    for (int i = 0; i < 40; ++i) {
        points.push_back({80 * std::cos(0.3 * i), 80 * std::sin(0.3 * i), 20});
    }
    const SphereFit fit = fitSphere(points);
    EXPECT_FALSE(fit.fitted);
    EXPECT_EQ(fit.reason, "the points lie in one plane");
}

TEST(SphereFit, PointsOnOneLineOrOnePointHaveNoFit) {
    const std::vector<Point3> line{{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {5, 5, 5}, {9, 9, 9}};
    EXPECT_FALSE(fitSphere(line).fitted);
    const std::vector<Point3> same(6, Point3{4, 5, 6});
    EXPECT_FALSE(fitSphere(same).fitted);
}

TEST(SphereFit, PointsJustOffAPlaneStillFit) {
    // Four corners of a square and a fifth point 1 mm above its centre:
    // far from one plane at this scale.
    const std::vector<Point3> points{
        {-50, -50, 0}, {50, -50, 0}, {50, 50, 0}, {-50, 50, 0}, {0, 0, 1}};
    const SphereFit fit = fitSphere(points);
    ASSERT_TRUE(fit.fitted) << fit.reason;
    // The sphere through the square's corners and (0, 0, 1): centre on the
    // z axis at (1 - 5000) / 2.
    EXPECT_NEAR(fit.centre[2], (1.0 - 5000.0) / 2.0, 1e-6);
    EXPECT_NEAR(fit.radius, (5000.0 + 1.0) / 2.0, 1e-6);
}

}  // namespace
