#include <fluxgrid/element/BscMagSns.h>

#include "support/Harness.h"

#include <cmath>
#include <limits>

namespace {

using fluxgrid::test::bitsOf;

CBscMagSnsqv withOrientation(double x, double y, double z) {
    CBscMagSnsqv element;
    element.oriP4[0] = x;
    element.oriP4[1] = y;
    element.oriP4[2] = z;
    return element;
}

TEST(BscMagSns, ConstructorGivesNameNoneUnitScaleOneAndZeroedNumbers) {
    CBscMagSnsqv element;
    EXPECT_EQ(element.coilName, "None");
    EXPECT_EQ(element.unitScale, 1.0);
    EXPECT_EQ(element.coilTurns, 0);
    EXPECT_EQ(element.coilShape, 0);
    EXPECT_EQ(element.coilArea, 0.0);
    EXPECT_EQ(element.magApha, 0.0);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(element.posP4[i], 0.0);
        EXPECT_EQ(element.oriP4[i], 0.0);
        EXPECT_EQ(element.auxRows[3][i], 0.0);
    }
    EXPECT_EQ(element.pairTable[11][1][2], 0.0);
}

TEST(BscMagSns, ZeroOrientationClearsDirectionFieldsButKeepsFourthAxisElement) {
    CBscMagSnsqv element = withOrientation(0, 0, 0);
    for (double& value : element.nmlDirXYZW) {
        value = 9.0;
    }
    for (double& value : element.axisRotate) {
        value = 8.0;
    }
    element.rotateRad = 7.0;
    element.rotateDeg = 6.0;
    element.vctXYRD[0] = 5.0;

    EXPECT_EQ(element.orient2DirXYZW_VctXYRD(), 0);
    for (double value : element.nmlDirXYZW) {
        EXPECT_EQ(value, 0.0);
    }
    EXPECT_EQ(element.rotateRad, 0.0);
    EXPECT_EQ(element.rotateDeg, 0.0);
    EXPECT_EQ(element.axisRotate[0], 0.0);
    EXPECT_EQ(element.axisRotate[1], 0.0);
    EXPECT_EQ(element.axisRotate[2], 0.0);
    EXPECT_EQ(element.axisRotate[3], 8.0);
    EXPECT_EQ(element.vctXYRD[0], 5.0);
}

TEST(BscMagSns, OrientationAlongPlusYGivesZeroAngleAndZeroAxisWithLength) {
    CBscMagSnsqv element = withOrientation(0, 2, 0);
    EXPECT_EQ(element.orient2DirXYZW_VctXYRD(), 1);
    EXPECT_EQ(element.nmlDirXYZW[0], 0.0);
    EXPECT_EQ(element.nmlDirXYZW[1], 1.0);
    EXPECT_EQ(element.nmlDirXYZW[2], 0.0);
    EXPECT_EQ(element.nmlDirXYZW[3], 2.0);
    EXPECT_EQ(element.rotateRad, 0.0);
    EXPECT_EQ(element.axisRotate[0], 0.0);
    EXPECT_EQ(element.axisRotate[1], 0.0);
    EXPECT_EQ(element.axisRotate[2], 0.0);
    EXPECT_EQ(element.axisRotate[3], 2.0);
}

TEST(BscMagSns, OrientationAlongPlusXGivesQuarterTurnAboutMinusZ) {
    CBscMagSnsqv element = withOrientation(1, 0, 0);
    EXPECT_EQ(element.orient2DirXYZW_VctXYRD(), 1);
    EXPECT_BITS_EQ(std::acos(0.0), element.rotateRad);
    EXPECT_BITS_EQ(std::acos(0.0) * 57.29577951308232, element.rotateDeg);
    EXPECT_NEAR(element.rotateDeg, 90.0, 1e-12);
    // (z, 0, -x) in the order of the cross product: the middle zero is -0.0.
    EXPECT_BITS_EQ(0.0, element.axisRotate[0]);
    EXPECT_BITS_EQ(-0.0, element.axisRotate[1]);
    EXPECT_BITS_EQ(-1.0, element.axisRotate[2]);
    EXPECT_EQ(element.axisRotate[3], 1.0);
    EXPECT_EQ(element.nmlDirXYZW[0], 1.0);
}

TEST(BscMagSns, OrientationAlongMinusYGivesHalfTurn) {
    CBscMagSnsqv element = withOrientation(0, -3, 0);
    EXPECT_EQ(element.orient2DirXYZW_VctXYRD(), 1);
    EXPECT_BITS_EQ(3.141592653589793, element.rotateRad);
}

TEST(BscMagSns, TinyOrientationUsesSmallestNormalFloatAsDivisor) {
    CBscMagSnsqv element = withOrientation(0, 1e-40, 0);
    EXPECT_EQ(element.orient2DirXYZW_VctXYRD(), 1);
    EXPECT_BITS_EQ(std::acos(1e-40 / 1.1754943508222875e-38), element.rotateRad);
    EXPECT_BITS_EQ(1e-40, element.nmlDirXYZW[3]);
}

TEST(BscMagSns, OrientationLeavesVctXYRDAlone) {
    CBscMagSnsqv element = withOrientation(0.3, 0.4, 0.5);
    element.vctXYRD[2] = 42.0;
    element.orient2DirXYZW_VctXYRD();
    EXPECT_EQ(element.vctXYRD[2], 42.0);
}

TEST(BscMagSns, Matlab2qvCoordinateRotatesAxesAndReturnsZero) {
    CBscMagSnsqv element;
    double a = 1, b = 2, c = 3;
    EXPECT_EQ(element.matlab2qvCoordinate(a, b, c), 0);
    EXPECT_EQ(a, 2.0);
    EXPECT_EQ(b, 3.0);
    EXPECT_EQ(c, -1.0);
}

TEST(BscMagSns, FlattenVertexGoesToOrigin) {
    double u = 9, v = 9;
    EXPECT_EQ(CBscMagSns::flatten3Dto2D(0, 0, 1, u, v), 1);
    EXPECT_EQ(u, 0.0);
    EXPECT_EQ(v, 0.0);
}

TEST(BscMagSns, FlattenNadirGoesOutsideUnitCircle) {
    double u = 9, v = 9;
    CBscMagSns::flatten3Dto2D(0, 0, -1, u, v);
    EXPECT_BITS_EQ(3.141592653589793 / 1.8849555921538759, u);
    EXPECT_EQ(v, 0.0);
}

TEST(BscMagSns, FlattenEquatorGivesQuarterTurnOverDivisor) {
    double u = 9, v = 9;
    CBscMagSns::flatten3Dto2D(1, 0, 0, u, v);
    EXPECT_BITS_EQ(1.5707963267948966 / 1.8849555921538759, u);
    EXPECT_EQ(v, 0.0);
}

TEST(BscMagSns, FlattenOriginIsTreatedAsEquatorAtZeroAzimuth) {
    double u = 9, v = 9;
    CBscMagSns::flatten3Dto2D(0, 0, 0, u, v);
    EXPECT_BITS_EQ(1.5707963267948966 / 1.8849555921538759, u);
    EXPECT_EQ(v, 0.0);
}

TEST(BscMagSns, FlattenAt108DegreesLandsOnUnitCircle) {
    const double polar = 108.0 * 3.141592653589793 / 180.0;
    double u = 0, v = 0;
    CBscMagSns::flatten3Dto2D(0, std::sin(polar), std::cos(polar), u, v);
    EXPECT_NEAR(u, 0.0, 1e-15);
    EXPECT_NEAR(v, 1.0, 1e-12);
}

TEST(BscMagSns, ProjectWithZeroDistanceRefusesAndLeavesResults) {
    double u = 4, v = 5;
    EXPECT_EQ(CBscMagSns::project3Dto2D(1, 2, 3, 0.0, u, v), 0);
    EXPECT_EQ(u, 4.0);
    EXPECT_EQ(v, 5.0);
    EXPECT_EQ(CBscMagSns::project3Dto2D(1, 2, 3, -0.0, u, v), 0);
    EXPECT_EQ(u, 4.0);
}

TEST(BscMagSns, ProjectWithNegativeDistanceBehavesAsPositive) {
    double u1 = 0, v1 = 0, u2 = 0, v2 = 0;
    EXPECT_EQ(CBscMagSns::project3Dto2D(1, 2, 3, -2, u1, v1), 1);
    EXPECT_EQ(CBscMagSns::project3Dto2D(1, 2, 3, 2, u2, v2), 1);
    EXPECT_BITS_EQ(u2, u1);
    EXPECT_BITS_EQ(v2, v1);
    EXPECT_EQ(u1, 1.0 / 2.5);
    EXPECT_EQ(v1, 2.0 / 2.5);
}

TEST(BscMagSns, SphericalFormsAgreeWhenAnglesAreEqual) {
    double x1, y1, z1, x2, y2, z2;
    CBscMagSns::spherical2Cartesian(2.5, 0.7, 0.7, x1, y1, z1, false);
    CBscMagSns::spherical2CartesianVSM(2.5, 0.7, 0.7, x2, y2, z2, false);
    EXPECT_NEAR(x1, x2, 1e-15);
    EXPECT_NEAR(y1, y2, 1e-15);
    EXPECT_NEAR(z1, z2, 1e-15);
}

TEST(BscMagSns, SphericalFormsDifferWhenAnglesDiffer) {
    double x1, y1, z1, x2, y2, z2;
    EXPECT_EQ(CBscMagSns::spherical2Cartesian(1.0, 0.3, 1.1, x1, y1, z1, false), 1);
    EXPECT_EQ(CBscMagSns::spherical2CartesianVSM(1.0, 0.3, 1.1, x2, y2, z2, false), 1);
    EXPECT_BITS_EQ(std::cos(1.1), y1);
    EXPECT_BITS_EQ(std::cos(0.3), y2);
    EXPECT_NE(z1, z2);
}

TEST(BscMagSns, SphericalPolarAngleIsMeasuredFromPlusY) {
    double x, y, z;
    CBscMagSns::spherical2Cartesian(3.0, 0.0, 0.0, x, y, z, false);
    EXPECT_EQ(y, 3.0);
    EXPECT_EQ(x, 0.0);
    EXPECT_EQ(z, 0.0);
}

TEST(BscMagSns, SphericalNormalizedIsUnitLength) {
    double x, y, z;
    CBscMagSns::spherical2Cartesian(7.0, 0.4, 1.2, x, y, z, true);
    EXPECT_NEAR(CBscMagSns::vectorMagnitude(x, y, z), 1.0, 1e-15);
}

TEST(BscMagSns, SphericalZeroRadiusNormalizedIsNotANumber) {
    double x, y, z;
    CBscMagSns::spherical2Cartesian(0.0, 0.4, 1.2, x, y, z, true);
    EXPECT_TRUE(std::isnan(x) && std::isnan(y) && std::isnan(z));
    CBscMagSns::spherical2CartesianVSM(0.0, 0.4, 1.2, x, y, z, true);
    EXPECT_TRUE(std::isnan(x) && std::isnan(y) && std::isnan(z));
}

TEST(BscMagSns, PositionInSinglePrecisionIsNearestFloat) {
    CBscMagSnsqv element;
    element.setCoilPosition(0.1, 0.2, 0.3);
    float x, y, z;
    EXPECT_EQ(element.getCoilPositionF(x, y, z), 1);
    EXPECT_EQ(x, 0.1f);
    EXPECT_EQ(y, 0.2f);
    EXPECT_EQ(z, 0.3f);
}

TEST(BscMagSns, SetPositionLeavesFourthElementAndDerivedFields) {
    CBscMagSnsqv element;
    element.posP4[3] = 4.0;
    element.nmlDirXYZW[1] = 0.5;
    EXPECT_EQ(element.setCoilPosition(1, 2, 3), 1);
    double x, y, z;
    element.getCoilPositionD(x, y, z);
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(y, 2.0);
    EXPECT_EQ(z, 3.0);
    EXPECT_EQ(element.posP4[3], 4.0);
    EXPECT_EQ(element.nmlDirXYZW[1], 0.5);
    EXPECT_EQ(element.getPosP4(), element.posP4);
    EXPECT_EQ(element.getOriP4(), element.oriP4);
}

TEST(BscMagSns, GettersGiveNormalAndAxis) {
    CBscMagSnsqv element = withOrientation(0, 0, 2);
    element.orient2DirXYZW_VctXYRD();
    double x, y, z, r;
    EXPECT_EQ(element.getNmlDirXYZ(x, y, z), 1);
    EXPECT_EQ(z, 1.0);
    double xf, yf, zf;
    EXPECT_EQ(element.getNmlDirXYZf(xf, yf, zf), 1);
    EXPECT_EQ(zf, 1.0);
    EXPECT_EQ(element.getCoilAxisRotateRr(x, y, z, r), 1);
    EXPECT_EQ(x, 2.0);
    EXPECT_BITS_EQ(0.0, z);
    EXPECT_BITS_EQ(element.rotateRad, r);
}

TEST(BscMagSns, MagAphaIsTurnsTimesAreaAndCached) {
    CBscMagSnsqv element;
    element.coilTurns = 3;
    element.coilArea = 2.5;
    EXPECT_EQ(element.getMagApha(), 7.5);
    EXPECT_EQ(element.magApha, 7.5);
}

TEST(BscMagSns, CopyCarriesEveryFieldWithoutRecomputing) {
    CBscMagSnsqv source = withOrientation(1, 1, 1);
    source.coilName = "Source";
    source.magApha = 99.0;
    source.rotateRad = -3.0;
    source.pairTable[11][0][2] = 6.5;
    source.auxRows[3][3] = 2.25;
    source.coilAuxValue3 = 1.5;
    CBscMagSnsqv copy(source);
    EXPECT_EQ(copy.coilName, "Source");
    EXPECT_EQ(copy.magApha, 99.0);
    EXPECT_EQ(copy.rotateRad, -3.0);
    EXPECT_EQ(copy.pairTable[11][0][2], 6.5);
    CBscMagSnsqv assigned;
    assigned = source;
    EXPECT_EQ(assigned.auxRows[3][3], 2.25);
    EXPECT_EQ(assigned.coilAuxValue3, 1.5);
    EXPECT_EQ(assigned.nmlDirXYZW[0], 0.0);
}

TEST(BscMagSns, VectorArithmeticFollowsStatedForms) {
    const double a[3] = {1, 2, 3};
    const double b[3] = {4, 5, 6};
    double c[3];
    EXPECT_EQ(CBscMagSns::dotProduct(a, b), 32.0);
    CBscMagSns::crossProduct(a, b, c);
    EXPECT_EQ(c[0], -3.0);
    EXPECT_EQ(c[1], 6.0);
    EXPECT_EQ(c[2], -3.0);
    EXPECT_EQ(CBscMagSns::vectorMagnitude(2, 3, 6), 7.0);
}

}  // namespace
