#include <fluxgrid/records/CoordinateProcess.h>

#include "support/Harness.h"

namespace {

TEST(CoordinateProcess, CtfHeadFrameMapsYZAndNegatedXOntoXYZ) {
    double x = 1.5;
    double y = -2.25;
    double z = 4.0;
    EXPECT_EQ(1, CCoordinateProcess::cvtCtf_D3Dqv(x, y, z));
    EXPECT_BITS_EQ(-2.25, x);
    EXPECT_BITS_EQ(4.0, y);
    EXPECT_BITS_EQ(-1.5, z);
}

TEST(CoordinateProcess, ThePositiveZeroOfXBecomesANegativeZero) {
    double x = 0.0;
    double y = 0.0;
    double z = -27.0;
    CCoordinateProcess::cvtCtf_D3Dqv(x, y, z);
    EXPECT_BITS_EQ(0.0, x);
    EXPECT_BITS_EQ(-27.0, y);
    EXPECT_BITS_EQ(-0.0, z);
}

}  // namespace
