// What a host asks of a sensor and how it sets one up: type names, coil
// shape names, gain, baseline, element position and orientation, and the
// acquisition setup.
#include <fluxgrid/sensor/MEGSensor.h>

#include "support/HardwareRecords.h"
#include "support/Harness.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using fluxgrid::sensor::hardwareRecordKind;
using fluxgrid::sensor::makeHardwareRecord;

// The sensor's record of a kind; a record of any other kind fails the test
// (the exception is reported by the test runner) instead of being misread.
CMegSquidqv* squidOf(const CMEGSensor& s) {
    if (fluxgrid::sensor::hardwareRecordKind(s.hardware) != 0) {
        throw std::logic_error("the sensor holds no SQUID record");
    }
    return static_cast<CMegSquidqv*>(s.hardware.get());
}

CMegOpmqv* opmOf(const CMEGSensor& s) {
    if (fluxgrid::sensor::hardwareRecordKind(s.hardware) != 1) {
        throw std::logic_error("the sensor holds no OPM record");
    }
    return static_cast<CMegOpmqv*>(s.hardware.get());
}

CMegSquidqv& attachSquid(CMEGSensor& s) {
    s.hardwareType = 0;
    s.hardware = makeHardwareRecord(0);
    squidOf(s)->resetSensors();
    return *squidOf(s);
}

CMegOpmqv& attachOpm(CMEGSensor& s) {
    s.hardwareType = 1;
    s.hardware = makeHardwareRecord(1);
    return *opmOf(s);
}

void setPos(CBscMagSns& e, double x, double y, double z) {
    e.posP4[0] = x;
    e.posP4[1] = y;
    e.posP4[2] = z;
}

void setOri(CBscMagSns& e, double x, double y, double z) {
    e.oriP4[0] = x;
    e.oriP4[1] = y;
    e.oriP4[2] = z;
}

// A SQUID sensor with two dewar coils; the work frame holds something else,
// so that a reading from the wrong frame shows.
CMegSquidqv& twoCoilGradiometer(CMEGSensor& s, const double* p0, const double* p1,
                                const double* ori) {
    CMegSquidqv& squid = attachSquid(s);
    squid.totalCoils = 2;
    setPos(squid.coilDewar[0], p0[0], p0[1], p0[2]);
    setPos(squid.coilDewar[1], p1[0], p1[1], p1[2]);
    setOri(squid.coilDewar[0], ori[0], ori[1], ori[2]);
    setPos(squid.coilWork[1], 100.0, 100.0, 100.0);
    setOri(squid.coilWork[0], 1.0, 0.0, 0.0);
    return squid;
}

// ---------------------------------------------------------------------------
// Type names.

TEST(MEGSensorTypeName, EveryCodeOfTheTableHasItsName) {
    const std::vector<std::pair<int, const char*>> table = {
        {-1, "INVALID"},
        {10, "MEG_REF"},
        {11, "MEG_REF1"},
        {12, "MEG_REF2"},
        {13, "MEG_REF3"},
        {100, "MEG_SNSR"},
        {101, "MEG_SNSR1"},
        {102, "MEG_SNSR2"},
        {103, "MEG_SNSR3"},
        {200, "MEG_RESET"},
        {300, "EEG_REF"},
        {302, "EEG_SNSR"},
        {303, "EEG_BIPOLAR"},
        {354, "EEG_OVER_RANGE_FLAG"},
        {400, "ADC"},
        {401, "DAC"},
        {402, "ADC_VOLT"},
        {600, "STIM"},
        {601, "STIM_ANALYOG"},
        {602, "STIM_DIGITAL"},
        {700, "TIME"},
        {701, "TIME_SYSTEM"},
        {800, "POSITION"},
        {900, "SAM_SNSR"},
        {901, "SAM_SNSR_NORMAL"},
        {903, "VIRTUAL_SNSR"},
        {1000, "HEADLOCATION_ANGLE"},
        {1001, "HEADLOCATION_EXTRACT"},
        {1002, "HEADLOCATION_FITERROR"},
        {4000, "OTHER"},
        {5001, "DIPOLE_SOURCE"},
    };
    CMEGSensorqv s;
    for (const auto& [code, name] : table) {
        s.sensorType = code;
        EXPECT_EQ(s.getSensorTypeName(), name) << "code " << code;
    }
}

TEST(MEGSensorTypeName, GapsAndCodesOutsideTheTableAreUnknown) {
    CMEGSensorqv s;
    for (int code : {301, 902, 5000, 1, 9, 14, 99, 104, 355, 603, 702, 801, 1003, 5002, -2}) {
        s.sensorType = code;
        EXPECT_EQ(s.getSensorTypeName(), "Unknown") << "code " << code;
    }
}

TEST(MEGSensorTypeName, MinusOneIsInvalidAndTheResetCodeZeroIsUnknown) {
    CMEGSensorqv s;
    s.sensorType = -1;
    EXPECT_EQ(s.getSensorTypeName(), "INVALID");
    s.resetSensors();
    EXPECT_EQ(s.sensorType, 0);
    EXPECT_EQ(s.getSensorTypeName(), "Unknown");
}

TEST(MEGSensorTypeName, SixHundredOneIsStimAnalyog) {
    CMEGSensorqv s;
    s.sensorType = 601;
    EXPECT_EQ(s.getSensorTypeName(), "STIM_ANALYOG");
}

TEST(MEGSensorTypeName, NeedsNoRecord) {
    CMEGSensorqv s;
    s.sensorType = 100;
    EXPECT_EQ(s.getSensorTypeName(), "MEG_SNSR");
    EXPECT_EQ(s.hardware, nullptr);
    EXPECT_EQ(s.hardwareType, -1);
}

// ---------------------------------------------------------------------------
// Coil shape names.

TEST(MEGSensorCoilTypeName, WithoutRecordIsNone) {
    CMEGSensorqv s;
    EXPECT_EQ(s.getSensorCoilTypeName(), "None");
    s.hardwareType = 0;
    EXPECT_EQ(s.getSensorCoilTypeName(), "None");
    s.hardwareType = 1;
    EXPECT_EQ(s.getSensorCoilTypeName(), "None");
}

TEST(MEGSensorCoilTypeName, ShapeZeroAfterAResetIsUnknown) {
    CMEGSensorqv squidSensor;
    attachSquid(squidSensor);
    EXPECT_EQ(squidSensor.getSensorCoilTypeName(), "Unknown");
    CMEGSensorqv opmSensor;
    attachOpm(opmSensor);
    EXPECT_EQ(opmSensor.getSensorCoilTypeName(), "Unknown");
}

TEST(MEGSensorCoilTypeName, SquidReadsCoilShapeOfWorkElementZero) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    squid.coilWork[0].coilShape = 1;
    EXPECT_EQ(s.getSensorCoilTypeName(), "Circle");
    squid.coilWork[0].coilShape = 2;
    EXPECT_EQ(s.getSensorCoilTypeName(), "Square");
    squid.coilWork[0].coilShape = 3;
    EXPECT_EQ(s.getSensorCoilTypeName(), "Unknown");
}

TEST(MEGSensorCoilTypeName, OpmReadsVaporShapeAndNotCoilShape) {
    CMEGSensorqv s;
    CMegOpmqv& opm = attachOpm(s);
    opm.vaporWork[0].coilShape = 1;
    opm.vaporWork[0].vaporShape = 2;
    EXPECT_EQ(s.getSensorCoilTypeName(), "Square");
    opm.vaporWork[0].vaporShape = 0;
    EXPECT_EQ(s.getSensorCoilTypeName(), "Unknown");
}

TEST(MEGSensorCoilTypeName, CurrentElementOneStillReadsElementZero) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    squid.coilWork[0].coilShape = 1;
    squid.coilWork[1].coilShape = 2;
    squid.coilDewar[0].coilShape = 2;
    EXPECT_EQ(s.setCurrentCoilID(1), 1);
    EXPECT_EQ(s.getSensorCoilTypeName(), "Circle");
}

// ---------------------------------------------------------------------------
// Gain.

TEST(MEGSensorGain, WithoutRecordEveryGainIsOne) {
    CMEGSensorqv s;
    EXPECT_BITS_EQ(1.0, s.sensorGain());
    EXPECT_BITS_EQ(1.0, s.getSensorGain());
    EXPECT_BITS_EQ(1.0, s.sensorNeuromag2Ctf(0));
    EXPECT_BITS_EQ(1.0, s.sensorNeuromag2Ctf(1));
    EXPECT_BITS_EQ(1.0, s.getSnsGainCtf());
    EXPECT_EQ(s.hardware, nullptr);
}

TEST(MEGSensorGain, FileReadOfTheGainsLeavesTotalGainUntilSensorGain) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    EXPECT_BITS_EQ(1.0, s.sensorGain());

    // The record read from a file: new gains, and a stored product that no
    // longer agrees with them.
    CMegSquidqv fileRecord;
    fluxgrid::test::fillSquid(fileRecord, 3);
    fileRecord.properGain = 2.0;
    fileRecord.secondGain = 3.0;
    fileRecord.thirdGain = 0.1;
    fileRecord.totalGain = 1.0;
    int result = -1;
    fluxgrid::test::loadFromBytes(fluxgrid::test::squidRecord20190201(fileRecord),
                                  [&](CArchive& ar) { result = squid.serialize(ar); });
    ASSERT_EQ(result, 1);
    EXPECT_BITS_EQ(2.0, squid.properGain);

    EXPECT_BITS_EQ(1.0, s.getSensorGain());
    EXPECT_BITS_EQ((3.0 * 2.0) * 0.1, s.sensorGain());
    EXPECT_BITS_EQ((3.0 * 2.0) * 0.1, s.getSensorGain());
    EXPECT_BITS_EQ((3.0 * 2.0) * 0.1, squid.totalGain);
}

TEST(MEGSensorGain, SensorGainMultipliesSecondProperThirdInThatOrderForAnOpmRecord) {
    CMEGSensorqv s;
    CMegOpmqv& opm = attachOpm(s);
    opm.properGain = 1e308;
    opm.secondGain = 10.0;
    opm.thirdGain = 1e-300;
    // (10 x 1e308) overflows before the third factor comes in.
    EXPECT_TRUE(std::isinf(s.sensorGain()));
    EXPECT_TRUE(std::isinf(opm.totalGain));
}

TEST(MEGSensorGain, GetSnsGainCtfGivesTheSignOfProperGain) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    squid.properGain = -2.5;
    EXPECT_BITS_EQ(-1.0, s.getSnsGainCtf());
    squid.properGain = 4.0;
    EXPECT_BITS_EQ(1.0, s.getSnsGainCtf());
    squid.properGain = 0.0;
    EXPECT_TRUE(std::isnan(s.getSnsGainCtf()));
}

TEST(MEGSensorGain, GetSnsGainCtfOfAnOpmSensorIsOne) {
    CMEGSensorqv s;
    attachOpm(s).properGain = -2.5;
    EXPECT_BITS_EQ(1.0, s.getSnsGainCtf());
}

TEST(MEGSensorGain, Neuromag2CtfScaledIsFourHundredthsOfUnscaled) {
    for (int type : {0, 1}) {
        SCOPED_TRACE("type " + std::to_string(type));
        CMEGSensorqv s;
        CMegGrdBscqv& record =
            type == 0 ? static_cast<CMegGrdBscqv&>(attachSquid(s)) : attachOpm(s);
        record.totalGain = 2.0;
        record.neuromagFactor = 3.0;
        record.secondGain = 5.0;
        record.thirdGain = 7.0;
        const double unscaled = s.sensorNeuromag2Ctf(0);
        EXPECT_BITS_EQ(210.0, unscaled);
        EXPECT_BITS_EQ(unscaled * 0.04, s.sensorNeuromag2Ctf(1));
        EXPECT_BITS_EQ(unscaled * 0.04, s.sensorNeuromag2Ctf(-3));
        // totalGain is used as stored, not refreshed.
        EXPECT_BITS_EQ(2.0, record.totalGain);
    }
}

TEST(MEGSensorGain, Neuromag2CtfUsesSecondAndThirdGainTwiceWhenTotalGainIsUpToDate) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    squid.properGain = 2.0;
    squid.secondGain = 3.0;
    squid.thirdGain = 5.0;
    squid.neuromagFactor = 0.5;
    s.sensorGain();
    EXPECT_BITS_EQ(((30.0 * 0.5) * 3.0) * 5.0, s.sensorNeuromag2Ctf(0));
}

// ---------------------------------------------------------------------------
// Gradiometer geometry.

TEST(MEGSensorGradiometer, TwoCoilsAtTheSamePositionHaveBaselineZeroAndAreNotAxial) {
    CMEGSensorqv s;
    const double p[3] = {1.0, 2.0, 3.0};
    const double ori[3] = {0.0, 0.0, 1.0};
    twoCoilGradiometer(s, p, p, ori);
    EXPECT_BITS_EQ(0.0, s.getCoilBaseLine());
    EXPECT_EQ(s.isAxialGrad(), 0);
}

TEST(MEGSensorGradiometer, FiveCentimetresAlongZAgainstTheOrientationIsAxial) {
    CMEGSensorqv s;
    const double p0[3] = {0.0, 0.0, 0.0};
    const double p1[3] = {0.0, 0.0, 5.0};
    const double ori[3] = {0.0, 0.0, -1.0};
    twoCoilGradiometer(s, p0, p1, ori);
    EXPECT_EQ(s.isAxialGrad(), 1);
    EXPECT_BITS_EQ(5.0, s.getCoilBaseLine());
}

TEST(MEGSensorGradiometer, PlanarArrangementIsNotAxialAndHasItsDistance) {
    CMEGSensorqv s;
    const double p0[3] = {1.0, 2.0, 3.0};
    const double p1[3] = {4.0, 6.0, 3.0};
    const double ori[3] = {0.0, 0.0, 1.0};
    twoCoilGradiometer(s, p0, p1, ori);
    EXPECT_EQ(s.isAxialGrad(), 0);
    EXPECT_BITS_EQ(5.0, s.getCoilBaseLine());
}

TEST(MEGSensorGradiometer, BaselineAndOrientationOneHundredthRadianApartIsNotAxial) {
    CMEGSensorqv s;
    const double p0[3] = {0.0, 0.0, 0.0};
    const double p1[3] = {0.0, 0.0, 5.0};
    const double ori[3] = {std::sin(0.01), 0.0, std::cos(0.01)};
    twoCoilGradiometer(s, p0, p1, ori);
    const double gap = std::fabs(1.0 - std::cos(0.01));
    EXPECT_GT(gap, 4.9e-5);
    EXPECT_LT(gap, 5.1e-5);
    EXPECT_EQ(s.isAxialGrad(), 0);
}

TEST(MEGSensorGradiometer, ParallelOrientationNotOfUnitLengthIsNotAxial) {
    CMEGSensorqv s;
    const double p0[3] = {0.0, 0.0, 0.0};
    const double p1[3] = {0.0, 0.0, 5.0};
    const double ori[3] = {0.0, 0.0, 2.0};
    twoCoilGradiometer(s, p0, p1, ori);
    EXPECT_EQ(s.isAxialGrad(), 0);
}

TEST(MEGSensorGradiometer, ThreeCoilsAreNotAxialAndHaveBaselineZero) {
    CMEGSensorqv s;
    const double p0[3] = {0.0, 0.0, 0.0};
    const double p1[3] = {0.0, 0.0, 5.0};
    const double ori[3] = {0.0, 0.0, 1.0};
    twoCoilGradiometer(s, p0, p1, ori).totalCoils = 3;
    EXPECT_EQ(s.isAxialGrad(), 0);
    EXPECT_BITS_EQ(0.0, s.getCoilBaseLine());
}

TEST(MEGSensorGradiometer, OneCoilHasBaselineZero) {
    CMEGSensorqv s;
    attachSquid(s).totalCoils = 1;
    EXPECT_BITS_EQ(0.0, s.getCoilBaseLine());
    EXPECT_EQ(s.isAxialGrad(), 0);
}

TEST(MEGSensorGradiometer, OpmSensorIsAxialWithBaselineOne) {
    CMEGSensorqv s;
    attachOpm(s).totalVapors = 2;
    EXPECT_EQ(s.isAxialGrad(), 1);
    EXPECT_BITS_EQ(1.0, s.getCoilBaseLine());
}

TEST(MEGSensorGradiometer, WithoutRecordNotAxialAndBaselineOne) {
    CMEGSensorqv s;
    EXPECT_EQ(s.isAxialGrad(), 0);
    EXPECT_BITS_EQ(1.0, s.getCoilBaseLine());
    s.hardwareType = 1;
    EXPECT_EQ(s.isAxialGrad(), 0);
    EXPECT_BITS_EQ(1.0, s.getCoilBaseLine());
}

TEST(MEGSensorGradiometer, IsW12EvaluateReturnsTheFieldAsItStands) {
    CMEGSensorqv s;
    EXPECT_EQ(s.isW12Evaluate(), 0);
    s.w12Evaluate = 7;
    EXPECT_EQ(s.isW12Evaluate(), 7);
}

// ---------------------------------------------------------------------------
// Position and orientation of a work-frame element.

TEST(MEGSensorElementAccess, GetSnsPosWithTypeZeroOnNewSensorMakesASquidRecord) {
    CMEGSensorqv s;
    double x = 9.0, y = 9.0, z = 9.0;
    EXPECT_EQ(s.getSnsPos(0, 0, x, y, z), 1);
    EXPECT_EQ(s.hardwareType, 0);
    ASSERT_NE(s.getBscSns(), nullptr);
    EXPECT_EQ(hardwareRecordKind(s.hardware), 0);
    // The answer comes from the new record's coil.
    EXPECT_BITS_EQ(0.0, x);
    EXPECT_BITS_EQ(0.0, y);
    EXPECT_BITS_EQ(0.0, z);
}

TEST(MEGSensorElementAccess, GetSnsPosWithMinusOneOnNewSensorLeavesTheOutputs) {
    CMEGSensorqv s;
    double x = 9.0, y = 8.0, z = 7.0;
    EXPECT_EQ(s.getSnsPos(-1, 0, x, y, z), 1);
    EXPECT_EQ(s.hardware, nullptr);
    EXPECT_EQ(s.hardwareType, -1);
    EXPECT_BITS_EQ(9.0, x);
    EXPECT_BITS_EQ(8.0, y);
    EXPECT_BITS_EQ(7.0, z);
}

TEST(MEGSensorElementAccess, SetSnsPosWithTypeSevenStoresTheTypeAndNoPosition) {
    CMEGSensorqv s;
    EXPECT_EQ(s.setSnsPos(7, 0, 1.0, 2.0, 3.0), 1);
    EXPECT_EQ(s.hardwareType, 7);
    EXPECT_EQ(s.hardware, nullptr);
    EXPECT_EQ(s.getTotalCoils(), -1);
}

TEST(MEGSensorElementAccess, GettersWithAnUnknownTypeLeaveTheOutputs) {
    CMEGSensorqv s;
    attachSquid(s);
    double x = 9.0, y = 8.0, z = 7.0;
    EXPECT_EQ(s.getSnsOrn(3, 0, x, y, z), 1);
    EXPECT_EQ(s.getSnsNmlDir(-1, 0, x, y, z), 1);
    EXPECT_EQ(s.getSnsPos(-1, 0, x, y, z), 1);
    EXPECT_EQ(s.hardwareType, 3);
    EXPECT_BITS_EQ(9.0, x);
    EXPECT_BITS_EQ(8.0, y);
    EXPECT_BITS_EQ(7.0, z);
}

TEST(MEGSensorElementAccess, MinusOneReadsTheCurrentElementExceptForTheNormalDirection) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    for (int i = 0; i < 8; ++i) {
        setPos(squid.coilWork[i], i + 0.5, i + 1.5, i + 2.5);
        squid.coilWork[i].nmlDirXYZW[0] = i + 10.0;
        squid.coilWork[i].nmlDirXYZW[1] = i + 20.0;
        squid.coilWork[i].nmlDirXYZW[2] = i + 30.0;
    }
    squid.currentCoilID = 2;
    double x = 0, y = 0, z = 0;
    EXPECT_EQ(s.getSnsPos(-1, -1, x, y, z), 1);
    EXPECT_BITS_EQ(2.5, x);
    EXPECT_BITS_EQ(3.5, y);
    EXPECT_BITS_EQ(4.5, z);
    EXPECT_EQ(s.getSnsNmlDir(-1, -1, x, y, z), 1);
    EXPECT_BITS_EQ(10.0, x);
    EXPECT_BITS_EQ(20.0, y);
    EXPECT_BITS_EQ(30.0, z);
    EXPECT_EQ(s.getSnsNmlDir(-1, 5, x, y, z), 1);
    EXPECT_BITS_EQ(15.0, x);
    EXPECT_EQ(s.getCurrentCoilID(), 2);
}

TEST(MEGSensorElementAccess, OrientationIndexTwelveAddressesElementZero) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    setOri(squid.coilWork[0], 0.25, 0.5, 0.75);
    squid.currentCoilID = 3;
    double x = 0, y = 0, z = 0;
    EXPECT_EQ(s.getSnsOrn(-1, 12, x, y, z), 1);
    EXPECT_BITS_EQ(0.25, x);
    EXPECT_BITS_EQ(0.5, y);
    EXPECT_BITS_EQ(0.75, z);
    EXPECT_EQ(s.getCurrentCoilID(), 3);

    EXPECT_EQ(s.setSnsOrn(-1, 12, 1.0, 2.0, 3.0), 1);
    EXPECT_BITS_EQ(1.0, squid.coilWork[0].oriP4[0]);
    EXPECT_BITS_EQ(2.0, squid.coilWork[0].oriP4[1]);
    EXPECT_BITS_EQ(3.0, squid.coilWork[0].oriP4[2]);
    EXPECT_EQ(s.getCurrentCoilID(), 0);
}

TEST(MEGSensorElementAccess, SetSnsOrnIsReadBackButTheNormalDirectionStaysUntilDerived) {
    CMEGSensorqv s;
    CMegOpmqv& opm = attachOpm(s);
    setOri(opm.vaporWork[1], 0.0, 1.0, 0.0);
    opm.vaporWork[1].orient2DirXYZW_VctXYRD();
    EXPECT_EQ(s.setSnsOrn(-1, 1, 0.0, 0.0, 2.0), 1);
    double x = 0, y = 0, z = 0;
    EXPECT_EQ(s.getSnsOrn(-1, 1, x, y, z), 1);
    EXPECT_BITS_EQ(0.0, x);
    EXPECT_BITS_EQ(0.0, y);
    EXPECT_BITS_EQ(2.0, z);
    EXPECT_EQ(s.getSnsNmlDir(-1, 1, x, y, z), 1);
    EXPECT_BITS_EQ(0.0, x);
    EXPECT_BITS_EQ(1.0, y);
    EXPECT_BITS_EQ(0.0, z);
    EXPECT_BITS_EQ(1.0, opm.vaporWork[1].nmlDirXYZW[3]);
    opm.vaporWork[1].orient2DirXYZW_VctXYRD();
    EXPECT_EQ(s.getSnsNmlDir(-1, 1, x, y, z), 1);
    EXPECT_BITS_EQ(1.0, z);
    EXPECT_BITS_EQ(0.0, y);
}

TEST(MEGSensorElementAccess, SetSnsPosTouchesTheWorkFrameOnlyUntilTheNextHeadCopy) {
    fluxgrid::test::MessageBoxRecorder boxes;
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    setPos(squid.coilHead[4], 1.0, 1.0, 1.0);
    setPos(squid.coilDewar[4], 2.0, 2.0, 2.0);
    squid.coilWork[4].posP4[3] = 6.0;
    EXPECT_EQ(s.setSnsPos(-1, 4, 7.0, 8.0, 9.0), 1);
    EXPECT_BITS_EQ(7.0, squid.coilWork[4].posP4[0]);
    EXPECT_BITS_EQ(8.0, squid.coilWork[4].posP4[1]);
    EXPECT_BITS_EQ(9.0, squid.coilWork[4].posP4[2]);
    EXPECT_BITS_EQ(6.0, squid.coilWork[4].posP4[3]);
    EXPECT_BITS_EQ(1.0, squid.coilHead[4].posP4[0]);
    EXPECT_BITS_EQ(2.0, squid.coilDewar[4].posP4[0]);
    EXPECT_EQ(s.setCoilsHead2work(), 1);
    EXPECT_BITS_EQ(1.0, squid.coilWork[4].posP4[0]);
}

TEST(MEGSensorElementAccess, SettersMakeTheIndexTheyUsedTheCurrentElement) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    EXPECT_EQ(s.setSnsPos(-1, 3, 1.0, 2.0, 3.0), 1);
    EXPECT_EQ(s.getCurrentCoilID(), 3);
    EXPECT_EQ(s.setSnsPos(-1, -1, 4.0, 5.0, 6.0), 1);
    EXPECT_BITS_EQ(4.0, squid.coilWork[3].posP4[0]);
    EXPECT_EQ(s.getCurrentCoilID(), 3);
    EXPECT_EQ(s.setSnsPos(-1, 9, 7.0, 8.0, 9.0), 1);
    EXPECT_EQ(s.getCurrentCoilID(), 0);
    EXPECT_BITS_EQ(7.0, squid.coilWork[0].posP4[0]);
    EXPECT_BITS_EQ(4.0, squid.coilWork[3].posP4[0]);
}

TEST(MEGSensorElementAccess, CurrentElementOutOfRangeMakesMinusOneAddressElementZero) {
    CMEGSensorqv s;
    CMegOpmqv& opm = attachOpm(s);
    opm.currentVaporID = 100;
    setPos(opm.vaporWork[0], 3.0, 2.0, 1.0);
    double x = 0, y = 0, z = 0;
    EXPECT_EQ(s.getSnsPos(-1, -1, x, y, z), 1);
    EXPECT_BITS_EQ(3.0, x);
    EXPECT_EQ(opm.currentVaporID, 100);
    EXPECT_EQ(s.setSnsPos(-1, -1, 5.0, 5.0, 5.0), 1);
    EXPECT_BITS_EQ(5.0, opm.vaporWork[0].posP4[0]);
    EXPECT_EQ(opm.currentVaporID, 0);
}

TEST(MEGSensorElementAccess, FailedAllocationLeavesTheOutputsAndReturnsZero) {
    const auto previous = fluxgrid::sensor::setHardwareRecordAllocator(
        [](int) { return fluxgrid::sensor::HardwareRecord(); });
    CMEGSensorqv s;
    double x = 9.0, y = 8.0, z = 7.0;
    const int result = s.getSnsPos(1, 0, x, y, z);
    fluxgrid::sensor::setHardwareRecordAllocator(previous);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(s.hardwareType, 1);
    EXPECT_BITS_EQ(9.0, x);
    EXPECT_BITS_EQ(8.0, y);
    EXPECT_BITS_EQ(7.0, z);
}

// ---------------------------------------------------------------------------
// Acquisition setup.

TEST(MEGSensorAcquisition, InitSensorBasicWithSquidTwoCoilsOnNewSensor) {
    CMEGSensorqv s;
    int turns[2] = {3, 5};
    double areas[2] = {0.25, 0.75};
    double pos0[3] = {1.0, 2.0, 3.0};
    double pos1[3] = {4.0, 5.0, 6.0};
    EXPECT_EQ(s.initSensorBasic(0, CString("MLC11-raw"), CString("MLC11"), 2, turns, areas, pos0,
                                pos1, nullptr),
              1);
    EXPECT_EQ(s.hardwareType, 0);
    EXPECT_EQ(s.getTotalCoils(), 2);
    EXPECT_EQ(s.getSensorName(), "MLC11");
    EXPECT_EQ(s.snsRawName, "MLC11-raw");
    double x = 0, y = 0, z = 0;
    EXPECT_EQ(s.getSnsPos(-1, 1, x, y, z), 1);
    EXPECT_BITS_EQ(4.0, x);
    EXPECT_BITS_EQ(5.0, y);
    EXPECT_BITS_EQ(6.0, z);
    const CMegSquidqv& squid = *squidOf(s);
    EXPECT_EQ(squid.coilWork[0].coilTurns, 3);
    EXPECT_BITS_EQ(0.25, squid.coilWork[0].coilArea);
    EXPECT_EQ(squid.coilWork[1].coilTurns, 5);
    EXPECT_BITS_EQ(0.75, squid.coilWork[1].coilArea);
    EXPECT_BITS_EQ(1.0, squid.coilWork[0].posP4[0]);
    // Neither the other frames, nor magApha, nor the type code follow.
    EXPECT_BITS_EQ(0.0, squid.coilWork[0].magApha);
    EXPECT_BITS_EQ(0.0, squid.coilHead[1].posP4[0]);
    EXPECT_BITS_EQ(0.0, squid.coilDewar[1].posP4[0]);
    EXPECT_EQ(s.sensorType, 0);
    EXPECT_EQ(squid.currentCoilID, 0);
}

TEST(MEGSensorAcquisition, InitSensorBasicWithOpmReadsNeitherTurnsNorAreas) {
    CMEGSensorqv s;
    double pos0[3] = {1.0, 2.0, 3.0};
    double pos1[3] = {4.0, 5.0, 6.0};
    EXPECT_EQ(
        s.initSensorBasic(1, CString("r"), CString("s"), 3, nullptr, nullptr, pos0, pos1, nullptr),
        1);
    EXPECT_EQ(s.hardwareType, 1);
    EXPECT_EQ(s.getTotalCoils(), 3);
    const CMegOpmqv& opm = *opmOf(s);
    EXPECT_BITS_EQ(3.0, opm.vaporWork[0].posP4[2]);
    EXPECT_BITS_EQ(6.0, opm.vaporWork[1].posP4[2]);
    EXPECT_BITS_EQ(0.0, opm.vaporHead[0].posP4[2]);
}

TEST(MEGSensorAcquisition, InitSensorBasicWithMinusOneOnNewSensorStoresOnlyTheNames) {
    CMEGSensorqv s;
    EXPECT_EQ(s.initSensorBasic(-1, CString("raw"), CString("show"), 2, nullptr, nullptr, nullptr,
                                nullptr, nullptr),
              1);
    EXPECT_EQ(s.snsRawName, "raw");
    EXPECT_EQ(s.snsShowName, "show");
    EXPECT_EQ(s.hardware, nullptr);
    EXPECT_EQ(s.hardwareType, -1);
}

TEST(MEGSensorAcquisition, InitSensorBasicOnASquidSensorKeepsTheRecordAndItsOtherValues) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    fluxgrid::test::fillSquid(squid, 4);
    const CMegSquidqv before = squid;
    int turns[2] = {3, 5};
    double areas[2] = {0.25, 0.75};
    double pos0[3] = {1.0, 2.0, 3.0};
    double pos1[3] = {4.0, 5.0, 6.0};
    EXPECT_EQ(
        s.initSensorBasic(0, CString("raw"), CString("show"), 9, turns, areas, pos0, pos1, nullptr),
        1);
    EXPECT_EQ(squidOf(s), &squid);
    // A count beyond the eight slots is kept as given.
    EXPECT_EQ(squid.totalCoils, 9);
    EXPECT_EQ(squid.currentCoilID, before.currentCoilID);
    EXPECT_EQ(squid.squidAuxNo, before.squidAuxNo);
    EXPECT_EQ(squid.hardwareName, before.hardwareName);
    EXPECT_BITS_EQ(before.totalGain, squid.totalGain);
    EXPECT_BITS_EQ(before.coilWork[0].posP4[3], squid.coilWork[0].posP4[3]);
    EXPECT_BITS_EQ(before.coilWork[0].oriP4[0], squid.coilWork[0].oriP4[0]);
    EXPECT_BITS_EQ(before.coilWork[0].magApha, squid.coilWork[0].magApha);
    EXPECT_EQ(squid.coilWork[2].coilName, before.coilWork[2].coilName);
    EXPECT_BITS_EQ(before.coilWork[2].posP4[0], squid.coilWork[2].posP4[0]);
    EXPECT_BITS_EQ(before.coilHead[0].posP4[0], squid.coilHead[0].posP4[0]);
}

MEG_OPM_NAME_POS_TYPE sampleRow() {
    return MEG_OPM_NAME_POS_TYPE{CString("OPM07"), 1.5, 2.5, 3.5, 0.25, 0.5, 0.75, 800};
}

void expectPlaced(const double* pos, const double* ori) {
    EXPECT_BITS_EQ(1.5, pos[0]);
    EXPECT_BITS_EQ(2.5, pos[1]);
    EXPECT_BITS_EQ(3.5, pos[2]);
    EXPECT_BITS_EQ(0.25, ori[0]);
    EXPECT_BITS_EQ(0.5, ori[1]);
    EXPECT_BITS_EQ(0.75, ori[2]);
}

TEST(MEGSensorAcquisition, SetAcqSnsParamIndexNineWritesWorkElementZeroOnly) {
    CMEGSensorqv s;
    CMegOpmqv& opm = attachOpm(s);
    opm.currentVaporID = 3;
    MEG_OPM_NAME_POS_TYPE row = sampleRow();
    EXPECT_EQ(s.setAcqSnsParam(1, 9, &row, 0, 0, 1, 0), 1);
    expectPlaced(opm.vaporWork[0].posP4, opm.vaporWork[0].oriP4);
    EXPECT_BITS_EQ(0.0, opm.vaporHead[0].posP4[0]);
    EXPECT_BITS_EQ(0.0, opm.vaporDewar[0].posP4[0]);
    EXPECT_BITS_EQ(0.0, opm.vaporWork[3].posP4[0]);
    EXPECT_EQ(opm.currentVaporID, 3);
    EXPECT_BITS_EQ(0.0, s.snsPos4[0]);
    EXPECT_EQ(s.snsShowName, "OPM07");
    EXPECT_EQ(s.snsRawName, "OPM07");
    // Nothing derived and no count changed; the row's type code is not read.
    EXPECT_BITS_EQ(0.0, opm.vaporWork[0].nmlDirXYZW[0]);
    EXPECT_EQ(opm.totalVapors, 0);
    EXPECT_EQ(s.sensorType, 0);
}

TEST(MEGSensorAcquisition, SetAcqSnsParamWithoutHardwareStoresNamesAndSensorValuesOnly) {
    CMEGSensorqv s;
    s.snsPos4[3] = 4.0;
    MEG_OPM_NAME_POS_TYPE row = sampleRow();
    EXPECT_EQ(s.setAcqSnsParam(-1, 0, &row, 1, 1, 1, 1), 1);
    EXPECT_EQ(s.hardware, nullptr);
    EXPECT_EQ(s.hardwareType, -1);
    EXPECT_EQ(s.snsShowName, "OPM07");
    EXPECT_EQ(s.snsRawName, "OPM07");
    expectPlaced(s.snsPos4, s.snsOri4);
    EXPECT_BITS_EQ(4.0, s.snsPos4[3]);
}

TEST(MEGSensorAcquisition, SetAcqSnsParamWithEverySelectorFillsAllThreeFramesAndTheSensor) {
    CMEGSensorqv s;
    CMegOpmqv& opm = attachOpm(s);
    opm.vaporDewar[2].posP4[3] = 11.0;
    opm.vaporHead[2].oriP4[3] = 12.0;
    opm.vaporWork[2].posP4[3] = 13.0;
    s.snsPos4[3] = 14.0;
    s.snsOri4[3] = 15.0;
    MEG_OPM_NAME_POS_TYPE row = sampleRow();
    EXPECT_EQ(s.setAcqSnsParam(1, 2, &row, 1, 1, 1, 1), 1);
    expectPlaced(opm.vaporDewar[2].posP4, opm.vaporDewar[2].oriP4);
    expectPlaced(opm.vaporHead[2].posP4, opm.vaporHead[2].oriP4);
    expectPlaced(opm.vaporWork[2].posP4, opm.vaporWork[2].oriP4);
    expectPlaced(s.snsPos4, s.snsOri4);
    EXPECT_BITS_EQ(11.0, opm.vaporDewar[2].posP4[3]);
    EXPECT_BITS_EQ(12.0, opm.vaporHead[2].oriP4[3]);
    EXPECT_BITS_EQ(13.0, opm.vaporWork[2].posP4[3]);
    EXPECT_BITS_EQ(14.0, s.snsPos4[3]);
    EXPECT_BITS_EQ(15.0, s.snsOri4[3]);
    EXPECT_BITS_EQ(0.0, opm.vaporWork[1].posP4[0]);
}

TEST(MEGSensorAcquisition, SetAcqSnsParamPlacesASquidCoilTheSameWay) {
    CMEGSensorqv s;
    MEG_OPM_NAME_POS_TYPE row = sampleRow();
    EXPECT_EQ(s.setAcqSnsParam(0, 5, &row, 1, 0, 0, 0), 1);
    EXPECT_EQ(s.hardwareType, 0);
    const CMegSquidqv& squid = *squidOf(s);
    expectPlaced(squid.coilDewar[5].posP4, squid.coilDewar[5].oriP4);
    EXPECT_BITS_EQ(0.0, squid.coilWork[5].posP4[0]);
    EXPECT_BITS_EQ(0.0, squid.coilHead[5].posP4[0]);
}

TEST(MEGSensorAcquisition, SetAcqSnsParamWithNoSelectorChangesOnlyTheNames) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    fluxgrid::test::fillSquid(squid, 2);
    const CMegSquidqv before = squid;
    s.snsPos4[0] = 3.0;
    MEG_OPM_NAME_POS_TYPE row = sampleRow();
    EXPECT_EQ(s.setAcqSnsParam(-1, 1, &row, 0, 0, 0, 0), 1);
    EXPECT_EQ(s.snsShowName, "OPM07");
    EXPECT_EQ(s.snsRawName, "OPM07");
    EXPECT_BITS_EQ(3.0, s.snsPos4[0]);
    fluxgrid::test::expectSquidFiledFieldsEq(before, squid);
}

TEST(MEGSensorAcquisition, FailedAllocationKeepsTheNamesAndSkipsTheSensorValues) {
    const auto previous = fluxgrid::sensor::setHardwareRecordAllocator(
        [](int) { return fluxgrid::sensor::HardwareRecord(); });
    CMEGSensorqv s;
    MEG_OPM_NAME_POS_TYPE row = sampleRow();
    const int acq = s.setAcqSnsParam(1, 0, &row, 1, 1, 1, 1);
    double pos[3] = {1.0, 2.0, 3.0};
    CMEGSensorqv t;
    const int basic = t.initSensorBasic(1, CString("raw"), CString("show"), 2, nullptr, nullptr,
                                        pos, pos, nullptr);
    fluxgrid::sensor::setHardwareRecordAllocator(previous);
    EXPECT_EQ(acq, 0);
    EXPECT_EQ(s.snsShowName, "OPM07");
    EXPECT_EQ(s.snsRawName, "OPM07");
    EXPECT_BITS_EQ(0.0, s.snsPos4[0]);
    EXPECT_EQ(basic, 0);
    EXPECT_EQ(t.snsShowName, "show");
    EXPECT_EQ(t.snsRawName, "raw");
    EXPECT_EQ(t.hardware, nullptr);
}

}  // namespace
