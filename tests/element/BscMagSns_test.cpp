#include <fluxgrid/element/BscMagSns.h>

#include "support/Harness.h"

#include <cmath>

namespace {

TEST(BscMagSns, DefaultsNameNoneUnitScaleOneAndZeroes) {
    CBscMagSnsqv element;
    EXPECT_EQ(element.coilName, "None");
    EXPECT_EQ(element.unitScale, 1.0);
    EXPECT_EQ(element.coilTurns, 0);
    EXPECT_EQ(element.posP4[3], 0.0);
}

}  // namespace
