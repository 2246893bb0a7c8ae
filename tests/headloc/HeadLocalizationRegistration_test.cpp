#include <fluxgrid/headloc/HeadLocalization.h>

#include "headloc/HeadLocTestSupport.h"
#include "support/Harness.h"

#include <cmath>

namespace {

using namespace fluxgrid::test;

/// A set with points 0, 1 and 2 at the given positions and marked values
/// everywhere else.
CFiducialqv fiducials(const double (&p0)[3], const double (&p1)[3], const double (&p2)[3]) {
    CFiducialqv set;
    fillSet(set, markedSet(2));
    set.fidPts[0].setFidPtPosition(p0[0], p0[1], p0[2]);
    set.fidPts[1].setFidPtPosition(p1[0], p1[1], p1[2]);
    set.fidPts[2].setFidPtPosition(p2[0], p2[1], p2[2]);
    return set;
}

struct Triple {
    double x;
    double y;
    double z;
};

Triple location(const CHeadLocalization& hl) {
    Triple t{-1.0, -1.0, -1.0};
    hl.getSensorLocation(t.x, t.y, t.z);
    return t;
}

Triple rotation(const CHeadLocalization& hl) {
    Triple t{-1.0, -1.0, -1.0};
    hl.getSensorRotation(t.x, t.y, t.z);
    return t;
}

const double kP0[3] = {128.0, 140.0, 200.0};
const double kP1[3] = {60.0, 130.0, 120.0};
const double kP2[3] = {196.0, 130.0, 120.0};

TEST(HeadLocalizationRegistration, ACubeOf256GivesTheMidpointAndOneAngle) {
    CHeadLocalizationqv hl;
    CFiducialqv set = fiducials(kP0, kP1, kP2);
    EXPECT_EQ(1, hl.registerMEGFiducial2MRIFiducialPts(&set, true, nullptr, 256, 256, 256, 1.0, 1.0,
                                                       1.0));
    const Triple loc = location(hl);
    EXPECT_BITS_EQ(0.0, loc.x);
    EXPECT_BITS_EQ(2.0, loc.y);
    EXPECT_BITS_EQ(-8.0, loc.z);
    const Triple rot = rotation(hl);
    EXPECT_BITS_EQ(7.199508999894958, rot.x);
    EXPECT_BITS_EQ(0.0, rot.y);  // positive zero
    EXPECT_BITS_EQ(0.0, rot.z);  // positive zero, though the tangent gave -0.0
    EXPECT_FALSE(std::signbit(rot.y));
    EXPECT_FALSE(std::signbit(rot.z));
}

TEST(HeadLocalizationRegistration, AFractionalMidpointIsTruncatedForTheAnglesOnly) {
    CHeadLocalizationqv hl;
    const double p0[3] = {128.0, 140.5, 200.0};
    const double p1[3] = {60.0, 131.0, 121.0};
    CFiducialqv set = fiducials(p0, p1, kP2);
    EXPECT_EQ(1, hl.registerMEGFiducial2MRIFiducialPts(&set, true, nullptr, 256, 256, 128, 1.0, 1.0,
                                                       2.0));
    const Triple loc = location(hl);
    EXPECT_BITS_EQ(0.0, loc.x);
    EXPECT_BITS_EQ(2.5, loc.y);
    EXPECT_BITS_EQ(-7.5, loc.z);
    const Triple rot = rotation(hl);
    EXPECT_BITS_EQ(7.660423292176864, rot.x);
    EXPECT_BITS_EQ(-0.8426457380735295, rot.y);
    EXPECT_BITS_EQ(-0.8426457380735295, rot.z);
    // The same angles follow from the truncated midpoint my = 2.0, mz = -7.0,
    // mx = 0.0 and the centre (128, 128, 128).
    const double pi = 3.14159265358979;
    EXPECT_BITS_EQ(std::tan(((140.5 - 2.0) - 128.0) / ((200.0 - -7.0) - 128.0)) * 180.0 / pi,
                   rot.x);
    EXPECT_BITS_EQ(std::tan(((120.0 - -7.0) - 128.0) / ((196.0 - 0.0) - 128.0)) * 180.0 / pi,
                   rot.y);
    EXPECT_BITS_EQ(std::tan(((131.0 - 2.0) - 128.0) / ((60.0 - 0.0) - 128.0)) * 180.0 / pi, rot.z);
}

TEST(HeadLocalizationRegistration, WithoutRotationTheLocationIsTheSameAndTheRotationZeroed) {
    CHeadLocalizationqv hl;
    hl.setSensorRotation(11.0, 12.0, 13.0);
    hl.setSensorLocation(21.0, 22.0, 23.0);
    CFiducialqv set = fiducials(kP0, kP1, kP2);
    EXPECT_EQ(1, hl.registerMEGFiducial2MRIFiducialPts(&set, false, nullptr, 256, 256, 256, 1.0,
                                                       1.0, 1.0));
    const Triple loc = location(hl);
    EXPECT_BITS_EQ(0.0, loc.x);
    EXPECT_BITS_EQ(2.0, loc.y);
    EXPECT_BITS_EQ(-8.0, loc.z);
    const Triple rot = rotation(hl);
    EXPECT_BITS_EQ(0.0, rot.x);
    EXPECT_BITS_EQ(0.0, rot.y);
    EXPECT_BITS_EQ(0.0, rot.z);
}

TEST(HeadLocalizationRegistration, PointZeroAtTheTruncatedMidpointGivesANaNAndResultOne) {
    CHeadLocalizationqv hl;
    // mz = -8.0 and cz = 128.0, so p0.z = mz + cz makes the first ratio 10 / 0.
    const double p0[3] = {128.0, 140.0, 120.0};
    CFiducialqv set = fiducials(p0, kP1, kP2);
    EXPECT_EQ(1, hl.registerMEGFiducial2MRIFiducialPts(&set, true, nullptr, 256, 256, 256, 1.0, 1.0,
                                                       1.0));
    const Triple rot = rotation(hl);
    EXPECT_TRUE(std::isnan(rot.x));
    EXPECT_BITS_EQ(0.0, rot.y);
    EXPECT_BITS_EQ(0.0, rot.z);
}

TEST(HeadLocalizationRegistration, TheSphereArgumentIsNeverLookedAt) {
    CFiducialqv set = fiducials(kP0, kP1, kP2);
    CHeadLocalizationqv withNull;
    withNull.registerMEGFiducial2MRIFiducialPts(&set, true, nullptr, 256, 256, 256, 1.0, 1.0, 1.0);
    CHeadLocalizationqv withSphere;
    CSphereqv sphere;
    fillSphere(sphere, markedSphere(3));
    EXPECT_EQ(1, withSphere.registerMEGFiducial2MRIFiducialPts(&set, true, &sphere, 256, 256, 256,
                                                               1.0, 1.0, 1.0));
    expectSphere(markedSphere(3), sphere);
    for (int i = 0; i < 4; ++i) {
        EXPECT_BITS_EQ(withNull.sensorLocation.sphereValues[i],
                       withSphere.sensorLocation.sphereValues[i]);
        EXPECT_BITS_EQ(withNull.sensorRotation.sphereValues[i],
                       withSphere.sensorRotation.sphereValues[i]);
    }
}

TEST(HeadLocalizationRegistration, ChangesOnlyLocationAndRotationAndNotTheGivenSet) {
    CHeadLocalizationqv hl;
    fillSet(hl.fiducialCurrent, markedSet(5));
    fillSet(hl.fiducialFirst, markedSet(6));
    hl.fiducialPA.Add(markedRecord(1));
    hl.headLocalizeTime = 4;
    fillSphere(hl.sensorLocation, markedSphere(1));
    CFiducialqv set = fiducials(kP0, kP1, kP2);
    const CFiducialqv before(set);
    hl.registerMEGFiducial2MRIFiducialPts(&set, true, nullptr, 256, 256, 256, 1.0, 1.0, 1.0);
    expectSet(markedSet(5), hl.fiducialCurrent);
    expectSet(markedSet(6), hl.fiducialFirst);
    EXPECT_EQ(1, hl.fiducialPA.GetSize());
    EXPECT_EQ(4, hl.headLocalizeTime);
    for (int p = 0; p < 6; ++p) {
        for (int k = 0; k < 16; ++k) {
            EXPECT_BITS_EQ(before.fidPts[p].ptValues[k], set.fidPts[p].ptValues[k]);
        }
    }
    // The zeroing takes all four values; the numbers and the name stay.
    SphereValues expected = markedSphere(1);
    expected.values[0] = 0.0;
    expected.values[1] = 2.0;
    expected.values[2] = -8.0;
    expected.values[3] = 0.0;
    expectSphere(expected, hl.sensorLocation);
}

TEST(HeadLocalizationRegistration, CallingTwiceGivesTheSameValues) {
    CHeadLocalizationqv hl;
    CFiducialqv set = fiducials(kP0, kP1, kP2);
    hl.registerMEGFiducial2MRIFiducialPts(&set, true, nullptr, 256, 256, 256, 1.0, 1.0, 1.0);
    const Triple firstLoc = location(hl);
    const Triple firstRot = rotation(hl);
    hl.registerMEGFiducial2MRIFiducialPts(&set, true, nullptr, 256, 256, 256, 1.0, 1.0, 1.0);
    EXPECT_BITS_EQ(firstLoc.x, location(hl).x);
    EXPECT_BITS_EQ(firstLoc.y, location(hl).y);
    EXPECT_BITS_EQ(firstLoc.z, location(hl).z);
    EXPECT_BITS_EQ(firstRot.x, rotation(hl).x);
    EXPECT_BITS_EQ(firstRot.y, rotation(hl).y);
    EXPECT_BITS_EQ(firstRot.z, rotation(hl).z);
}

TEST(HeadLocalizationRegistration, AMidpointNoInt32HoldsTruncatesToTheIndefiniteInteger) {
    CHeadLocalizationqv hl;
    // The y midpoint is 3e9 and the x midpoint NaN: both become -2147483648.
    const double nan = std::nan("");
    const double p0[3] = {0.0, 0.0, 1.0};
    const double p1[3] = {nan, 3e9, 0.0};
    const double p2[3] = {0.0, 3e9, 0.0};
    CFiducialqv set = fiducials(p0, p1, p2);
    EXPECT_EQ(1,
              hl.registerMEGFiducial2MRIFiducialPts(&set, true, nullptr, 0, 0, 0, 1.0, 1.0, 1.0));
    const double my = -2147483648.0;
    const double pi = 3.14159265358979;
    EXPECT_BITS_EQ(std::tan((0.0 - my) / (1.0 - 0.0)) * 180.0 / pi + 0.0, rotation(hl).x);
    EXPECT_TRUE(std::isnan(rotation(hl).z));
}

}  // namespace
