// The sensor core: defaults, the hardware-type argument and the record made
// on demand, the accessors of the record, the frame copies and the copies of
// a sensor.
#include <fluxgrid/sensor/MEGSensor.h>

#include "support/FieldFill.h"
#include "support/Harness.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using fluxgrid::sensor::HardwareRecord;
using fluxgrid::sensor::hardwareRecordKind;
using fluxgrid::sensor::makeHardwareRecord;
using fluxgrid::test::MessageBoxRecorder;

constexpr const char* kUnknownHardware = "Sensor hardware type is unknown: SQUID or OPM?";

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

// Gives the sensor a reset SQUID record, built without the sensor's help.
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

// Distinct positions, orientations and loop numbers in every slot of every
// frame; frame 0 work, 1 head, 2 dewar.
void placeElement(CBscMagSns& e, int frame, int slot) {
    const double base = 100.0 * (frame + 1) + 10.0 * slot;
    e.posP4[0] = base + 1.0;
    e.posP4[1] = base + 2.0;
    e.posP4[2] = base + 3.0;
    e.posP4[3] = base + 4.0;
    e.oriP4[0] = 0.0;
    e.oriP4[1] = 0.0;
    e.oriP4[2] = slot + 1.0;
    e.oriP4[3] = base + 8.0;
    e.coilTurns = frame * 10 + slot + 1;
    e.coilArea = 0.5 * (slot + 1);
    e.magApha = -1.0;
    e.rotateRad = -2.0;
}

void placeSquid(CMegSquidqv& r) {
    for (int i = 0; i < 8; ++i) {
        placeElement(r.coilWork[i], 0, i);
        placeElement(r.coilHead[i], 1, i);
        placeElement(r.coilDewar[i], 2, i);
        r.coilHead[i].coilName = CString("head");
        r.coilDewar[i].coilName = CString("dewar");
    }
}

void placeOpm(CMegOpmqv& r) {
    for (int i = 0; i < 8; ++i) {
        placeElement(r.vaporWork[i], 0, i);
        placeElement(r.vaporHead[i], 1, i);
        placeElement(r.vaporDewar[i], 2, i);
    }
}

// A process-wide allocator that can make no record, while it lives.
class FailingAllocation {
  public:
    FailingAllocation()
        : m_previous(
              fluxgrid::sensor::setHardwareRecordAllocator([](int) { return HardwareRecord(); })) {}
    ~FailingAllocation() { fluxgrid::sensor::setHardwareRecordAllocator(m_previous); }
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

  private:
    fluxgrid::sensor::HardwareRecordAllocator m_previous;
};

// ---------------------------------------------------------------------------
// A new sensor.

TEST(MEGSensorCore, NewSensorReportsNoHardware) {
    CMEGSensorqv s;
    EXPECT_EQ(s.getTotalCoils(), -1);
    EXPECT_EQ(s.getCurrentCoilID(), -1);
    EXPECT_EQ(s.getGradOrderNo(), 0);
    EXPECT_TRUE(s.getRealIdealCoefMode());
    EXPECT_TRUE(s.getAdaptiveBalance());
    EXPECT_EQ(s.getBscSns(), nullptr);
    EXPECT_EQ(s.getSensorName(), "SnsShow");
}

TEST(MEGSensorCore, NewSensorHoldsItsDefaults) {
    const CMEGSensorqv s;
    EXPECT_EQ(s.geomFlag, 1);
    EXPECT_EQ(s.geomWordA, 0);
    EXPECT_EQ(s.hardwareType, -1);
    EXPECT_EQ(s.hardware, nullptr);
    EXPECT_EQ(s.backupNo, 0);
    EXPECT_EQ(s.snsRawName, "SnsRaw");
    EXPECT_EQ(s.snsShowName, "SnsShow");
    EXPECT_TRUE(s.snsAuxName.IsEmpty());
    EXPECT_EQ(s.snsAuxNo, 0);
    EXPECT_EQ(s.snsFileNo, 0);
    EXPECT_EQ(s.sensorType, 0);
    for (int i = 0; i < 4; ++i) {
        EXPECT_BITS_EQ(0.0, s.snsPos4[i]);
        EXPECT_BITS_EQ(0.0, s.snsOri4[i]);
        EXPECT_BITS_EQ(0.0, s.locSph[i]);
    }
    EXPECT_EQ(s.w12Evaluate, 0);
    EXPECT_EQ(s.w12AuxNo, 0);
    EXPECT_EQ(s.coefAuxNo, 0);
    for (double v : s.w12Values) {
        EXPECT_BITS_EQ(0.0, v);
    }
}

TEST(MEGSensorCore, SetBackupReturnsZeroThenOneThenTwo) {
    CMEGSensorqv s;
    EXPECT_EQ(s.setBackup(), 0);
    EXPECT_EQ(s.setBackup(), 1);
    EXPECT_EQ(s.setBackup(), 2);
    EXPECT_EQ(s.backupNo, 3);
}

TEST(MEGSensorCore, LocSphPointerReachesTheSensorsValues) {
    CMEGSensorqv s;
    double* p = s.getLocSphP();
    p[0] = 1.5;
    p[3] = -2.5;
    EXPECT_EQ(p, &s.locSph[0]);
    EXPECT_EQ(s.locSph[0], 1.5);
    EXPECT_EQ(s.locSph[3], -2.5);
}

// ---------------------------------------------------------------------------
// Accessors of the record.

TEST(MEGSensorCore, SetCurrentCoilIdEightOrMinusOneStoresAndReturnsZero) {
    CMEGSensorqv squidSensor;
    CMegSquidqv& squid = attachSquid(squidSensor);
    squid.currentCoilID = 5;
    EXPECT_EQ(squidSensor.setCurrentCoilID(8), 0);
    EXPECT_EQ(squid.currentCoilID, 0);
    squid.currentCoilID = 5;
    EXPECT_EQ(squidSensor.setCurrentCoilID(-1), 0);
    EXPECT_EQ(squid.currentCoilID, 0);
    EXPECT_EQ(squidSensor.setCurrentCoilID(7), 7);
    EXPECT_EQ(squidSensor.getCurrentCoilID(), 7);

    CMEGSensorqv opmSensor;
    CMegOpmqv& opm = attachOpm(opmSensor);
    opm.currentVaporID = 5;
    EXPECT_EQ(opmSensor.setCurrentCoilID(8), 0);
    EXPECT_EQ(opm.currentVaporID, 0);
    opm.currentVaporID = 5;
    EXPECT_EQ(opmSensor.setCurrentCoilID(-1), 0);
    EXPECT_EQ(opm.currentVaporID, 0);
    EXPECT_EQ(opmSensor.setCurrentCoilID(3), 3);
    EXPECT_EQ(opmSensor.getCurrentCoilID(), 3);
}

TEST(MEGSensorCore, SetCurrentCoilIdWithoutRecordStoresNothingAndReturnsMinusOne) {
    CMEGSensorqv s;
    EXPECT_EQ(s.setCurrentCoilID(3), -1);
    s.hardwareType = 0;
    EXPECT_EQ(s.setCurrentCoilID(3), -1);
    EXPECT_EQ(s.hardware, nullptr);
}

TEST(MEGSensorCore, CountAndCurrentComeFromTheRecordOfEitherKind) {
    CMEGSensorqv squidSensor;
    CMegSquidqv& squid = attachSquid(squidSensor);
    squid.totalCoils = 2;
    squid.currentCoilID = 1;
    EXPECT_EQ(squidSensor.getTotalCoils(), 2);
    EXPECT_EQ(squidSensor.getCurrentCoilID(), 1);

    CMEGSensorqv opmSensor;
    CMegOpmqv& opm = attachOpm(opmSensor);
    opm.totalVapors = 6;
    opm.currentVaporID = 4;
    EXPECT_EQ(opmSensor.getTotalCoils(), 6);
    EXPECT_EQ(opmSensor.getCurrentCoilID(), 4);
}

TEST(MEGSensorCore, AccessorsOfAnotherHardwareTypeAnswerAsWithoutRecord) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    squid.totalCoils = 2;
    squid.gradOrderNo = 3;
    s.hardwareType = 5;
    EXPECT_EQ(s.getTotalCoils(), -1);
    EXPECT_EQ(s.getCurrentCoilID(), -1);
    EXPECT_EQ(s.getGradOrderNo(), 0);
    EXPECT_EQ(s.setGradOrderNo(9), 0);
    EXPECT_TRUE(s.getRealIdealCoefMode());
    EXPECT_EQ(s.setRealIdealCoefMode(false), 1);
    EXPECT_TRUE(s.getAdaptiveBalance());
    EXPECT_EQ(s.setAdaptiveBalance(false), 1);
    EXPECT_EQ(s.getBscSns(), nullptr);
    EXPECT_EQ(s.getCoil(0), nullptr);
    EXPECT_EQ(squid.gradOrderNo, 3);
}

TEST(MEGSensorCore, GradOrderAndModeSettersReturnThePreviousValue) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    EXPECT_EQ(s.setGradOrderNo(3), 0);
    EXPECT_EQ(s.setGradOrderNo(1), 3);
    EXPECT_EQ(s.getGradOrderNo(), 1);
    EXPECT_EQ(squid.gradOrderNo, 1);

    EXPECT_EQ(s.setRealIdealCoefMode(true), 0);
    EXPECT_EQ(s.setRealIdealCoefMode(false), 1);
    EXPECT_FALSE(s.getRealIdealCoefMode());
    EXPECT_FALSE(squid.realIdealCoefMode);

    EXPECT_EQ(s.setAdaptiveBalance(true), 0);
    EXPECT_TRUE(s.getAdaptiveBalance());
    EXPECT_EQ(s.setAdaptiveBalance(false), 1);
    EXPECT_FALSE(squid.adaptiveBalance);
}

TEST(MEGSensorCore, GetBscSnsHandsOutTheRecordOfEitherKind) {
    CMEGSensorqv squidSensor;
    CMegSquidqv& squid = attachSquid(squidSensor);
    EXPECT_EQ(squidSensor.getBscSns(), static_cast<CMegGrdBscqv*>(&squid));
    CMEGSensorqv opmSensor;
    CMegOpmqv& opm = attachOpm(opmSensor);
    EXPECT_EQ(opmSensor.getBscSns(), static_cast<CMegGrdBscqv*>(&opm));
    opmSensor.hardware.reset();
    EXPECT_EQ(opmSensor.getBscSns(), nullptr);
}

TEST(MEGSensorCore, GetCoilMinusOneIsTheCurrentWorkElementAndEightIsNull) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    squid.totalCoils = 2;
    EXPECT_EQ(s.setCurrentCoilID(3), 3);
    EXPECT_EQ(s.getCoil(-1), &squid.coilWork[3]);
    EXPECT_EQ(s.getCoil(8), nullptr);
    EXPECT_EQ(s.setCurrentCoilID(8), 0);
    EXPECT_EQ(s.getCoil(-1), &squid.coilWork[0]);
    // Not tested against the count in use.
    EXPECT_EQ(s.getCoil(5), &squid.coilWork[5]);
    EXPECT_EQ(s.getCoil(-2), nullptr);
}

TEST(MEGSensorCore, GetCoilOfAnOpmSensorHandsOutAVaporCell) {
    CMEGSensorqv s;
    CMegOpmqv& opm = attachOpm(s);
    EXPECT_EQ(s.getCoil(7), &opm.vaporWork[7]);
    EXPECT_EQ(s.getCoilWkHdDw(1, 2), &opm.vaporHead[2]);
    EXPECT_EQ(s.getCoilWkHdDw(2, 2), &opm.vaporDewar[2]);
}

TEST(MEGSensorCore, GetCoilWithoutRecordIsNull) {
    CMEGSensorqv s;
    EXPECT_EQ(s.getCoil(0), nullptr);
    EXPECT_EQ(s.getCoil(-1), nullptr);
    s.hardwareType = 1;
    EXPECT_EQ(s.getCoilWkHdDw(0, 0), nullptr);
}

TEST(MEGSensorCore, GetCoilWkHdDwFrameThreeIsNullAndMinusOneIsTheCurrentDewarElement) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    squid.currentCoilID = 4;
    EXPECT_EQ(s.getCoilWkHdDw(3, 0), nullptr);
    EXPECT_EQ(s.getCoilWkHdDw(-1, 0), nullptr);
    EXPECT_EQ(s.getCoilWkHdDw(2, -1), &squid.coilDewar[4]);
    EXPECT_EQ(s.getCoilWkHdDw(1, -1), &squid.coilHead[4]);
    EXPECT_EQ(s.getCoilWkHdDw(0, -1), &squid.coilWork[4]);
}

TEST(MEGSensorCore, CurrentElementOutOfRangeFromAFileGivesNoElementForMinusOne) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    squid.currentCoilID = 100;
    squid.totalCoils = 9;
    EXPECT_EQ(s.getCurrentCoilID(), 100);
    EXPECT_EQ(s.getTotalCoils(), 9);
    EXPECT_EQ(s.getCoil(-1), nullptr);
    EXPECT_EQ(s.getCoilWkHdDw(2, -1), nullptr);
    // Frame copies treat the eight slots and no more.
    EXPECT_EQ(s.setCoilsDewar2work(), 1);
    EXPECT_EQ(s.setHeadLocalizationCoil2work(0), 1);
}

// ---------------------------------------------------------------------------
// initSensorInfo.

TEST(MEGSensorCore, InitSensorInfoSetsTheGainChainAndComputesTotalGain) {
    CMEGSensorqv s;
    EXPECT_EQ(s.initSensorInfo(0, 100, 17, 2, 1.5, -2.0, 3.25, 0.125), 1);
    EXPECT_EQ(s.hardwareType, 0);
    EXPECT_EQ(s.sensorType, 100);
    CMegSquidqv* squid = squidOf(s);
    ASSERT_NE(squid, nullptr);
    EXPECT_EQ(squid->hardwareNo, 17);
    EXPECT_EQ(squid->gradOrderNo, 2);
    EXPECT_BITS_EQ(1.5, squid->properGain);
    EXPECT_BITS_EQ(-2.0, squid->secondGain);
    EXPECT_BITS_EQ(3.25, squid->thirdGain);
    EXPECT_BITS_EQ(0.125, squid->gainOffset);
    EXPECT_BITS_EQ(1.5 * -2.0 * 3.25, squid->totalGain);
    EXPECT_EQ(squid->totalCoils, 0);
}

TEST(MEGSensorCore, InitSensorInfoStoresTheTypeCodeWhateverTheHardwareType) {
    CMEGSensorqv s;
    EXPECT_EQ(s.initSensorInfo(-1, 302, 1, 1, 2.0, 2.0, 2.0, 0.0), 1);
    EXPECT_EQ(s.sensorType, 302);
    EXPECT_EQ(s.hardware, nullptr);
    EXPECT_EQ(s.initSensorInfo(4, 400, 1, 1, 2.0, 2.0, 2.0, 0.0), 1);
    EXPECT_EQ(s.sensorType, 400);
    EXPECT_EQ(s.hardwareType, 4);
    EXPECT_EQ(s.hardware, nullptr);
}

// ---------------------------------------------------------------------------
// resetSensors and cleanHardwareType.

TEST(MEGSensorCore, ResetSensorsKeepsTypeAuxNameFileNoAndRestoresScaleConstant) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    s.snsAuxName = CString("aux");
    s.snsFileNo = 41;
    s.sensorType = 100;
    s.backupNo = 9;
    s.snsShowName = CString("MLC11");
    s.snsPos4[3] = 2.0;
    s.w12Values[11] = 3.0;
    s.geomTextA = CString("base");
    squid.scaleConstant = 2.0;
    squid.totalCoils = 2;
    squid.hardwareName = CString("unit");
    squid.squidAuxNo = 12;
    CMegGrdBscqv* const before = s.getBscSns();

    EXPECT_EQ(s.resetSensors(), 1);

    EXPECT_EQ(s.hardwareType, 0);
    EXPECT_EQ(s.getBscSns(), before);
    EXPECT_EQ(s.snsAuxName, "aux");
    EXPECT_EQ(s.snsFileNo, 41);
    EXPECT_EQ(s.geomTextA, "base");
    EXPECT_EQ(s.sensorType, 0);
    EXPECT_EQ(s.backupNo, 0);
    EXPECT_EQ(s.snsShowName, "SnsShow");
    EXPECT_BITS_EQ(0.0, s.snsPos4[3]);
    EXPECT_BITS_EQ(0.0, s.w12Values[11]);
    EXPECT_BITS_EQ(1e17, squid.scaleConstant);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(squid.scaleConstant), 0x4376345785D8A000u);
    EXPECT_EQ(squid.totalCoils, 0);
    EXPECT_EQ(squid.hardwareName, "unit");
    EXPECT_EQ(squid.squidAuxNo, 12);
}

TEST(MEGSensorCore, ResetSensorsResetsAnOpmRecordToItsNames) {
    CMEGSensorqv s;
    CMegOpmqv& opm = attachOpm(s);
    opm.vaporDewar[2].coilName = CString("edited");
    opm.totalVapors = 3;
    EXPECT_EQ(s.resetSensors(), 1);
    EXPECT_EQ(s.hardwareType, 1);
    EXPECT_EQ(opm.vaporDewar[2].coilName, "OPMg2");
    EXPECT_EQ(opm.totalVapors, 0);
}

TEST(MEGSensorCore, CleanHardwareTypeOnTypeFiveReturnsOneAndLeavesMinusOneAndNull) {
    CMEGSensorqv s;
    s.hardwareType = 5;
    EXPECT_EQ(s.cleanHardwareType(), 1);
    EXPECT_EQ(s.hardwareType, -1);
    EXPECT_EQ(s.hardware, nullptr);
}

TEST(MEGSensorCore, CleanHardwareTypeReleasesTheRecordOfEitherKind) {
    for (int type : {0, 1, 5}) {
        SCOPED_TRACE("type " + std::to_string(type));
        CMEGSensorqv s;
        s.hardware = makeHardwareRecord(type == 1 ? 1 : 0);
        s.hardwareType = type;
        const std::weak_ptr<CMegGrdBscqv> watch = s.hardware;
        EXPECT_EQ(s.cleanHardwareType(), 1);
        EXPECT_EQ(s.hardwareType, -1);
        EXPECT_EQ(s.hardware, nullptr);
        EXPECT_TRUE(watch.expired());
    }
}

// ---------------------------------------------------------------------------
// Frame copies.

TEST(MEGSensorCore, SetCoilsHead2workOnSquidCopiesAllEightDerivesAndShowsNothing) {
    MessageBoxRecorder boxes;
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    placeSquid(squid);
    squid.totalCoils = 2;
    EXPECT_EQ(s.setCoilsHead2work(), 1);
    EXPECT_TRUE(boxes.texts().empty());
    for (int i = 0; i < 8; ++i) {
        SCOPED_TRACE("slot " + std::to_string(i));
        const CMagCoilqv& w = squid.coilWork[i];
        EXPECT_EQ(w.coilName, "head");
        EXPECT_BITS_EQ(squid.coilHead[i].posP4[0], w.posP4[0]);
        EXPECT_BITS_EQ(squid.coilHead[i].posP4[3], w.posP4[3]);
        EXPECT_EQ(w.coilTurns, 10 + i + 1);
        // Directions derived anew from the orientation (0, 0, i + 1).
        EXPECT_BITS_EQ(1.0, w.nmlDirXYZW[2]);
        EXPECT_BITS_EQ(i + 1.0, w.nmlDirXYZW[3]);
        EXPECT_BITS_EQ(std::acos(0.0 / (i + 1.0)), w.rotateRad);
        EXPECT_BITS_EQ(static_cast<double>(w.coilTurns) * w.coilArea, w.magApha);
    }
}

TEST(MEGSensorCore, SetCoilsHead2workOnOpmCopiesAllEightAndShowsTheMessage) {
    MessageBoxRecorder boxes;
    CMEGSensorqv s;
    CMegOpmqv& opm = attachOpm(s);
    placeOpm(opm);
    EXPECT_EQ(s.setCoilsHead2work(), 1);
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text, kUnknownHardware);
    EXPECT_EQ(boxes.boxes()[0].type, MB_OK);
    EXPECT_EQ(boxes.boxes()[0].helpId, 0u);
    for (int i = 0; i < 8; ++i) {
        SCOPED_TRACE("slot " + std::to_string(i));
        const CMagVaporqv& w = opm.vaporWork[i];
        EXPECT_BITS_EQ(opm.vaporHead[i].posP4[1], w.posP4[1]);
        EXPECT_BITS_EQ(1.0, w.nmlDirXYZW[2]);
        // The cell's assignment leaves the work cell's own turns and area,
        // and magApha follows them.
        EXPECT_EQ(w.coilTurns, i + 1);
        EXPECT_BITS_EQ(0.5 * (i + 1), w.coilArea);
        EXPECT_BITS_EQ(static_cast<double>(i + 1) * (0.5 * (i + 1)), w.magApha);
    }
}

TEST(MEGSensorCore, SetCoilsHead2workOnNewSensorShowsTheMessageAndCopiesNothing) {
    MessageBoxRecorder boxes;
    CMEGSensorqv s;
    EXPECT_EQ(s.setCoilsHead2work(), 1);
    EXPECT_EQ(boxes.texts(), std::vector<std::string>{kUnknownHardware});
    EXPECT_EQ(s.hardware, nullptr);
    EXPECT_EQ(s.hardwareType, -1);
}

TEST(MEGSensorCore, SetCoilsHead2workOnSquidWithoutRecordShowsNothing) {
    MessageBoxRecorder boxes;
    CMEGSensorqv s;
    s.hardwareType = 0;
    EXPECT_EQ(s.setCoilsHead2work(), 1);
    EXPECT_TRUE(boxes.texts().empty());
    EXPECT_EQ(s.hardware, nullptr);
}

TEST(MEGSensorCore, SetCoilsDewar2workOnNewSensorReturnsOneAndShowsNothing) {
    MessageBoxRecorder boxes;
    CMEGSensorqv s;
    EXPECT_EQ(s.setCoilsDewar2work(), 1);
    s.hardwareType = 5;
    EXPECT_EQ(s.setCoilsDewar2work(), 1);
    EXPECT_TRUE(boxes.texts().empty());
    EXPECT_EQ(s.hardware, nullptr);
}

TEST(MEGSensorCore, SetCoilsDewar2workCopiesTheDewarFrameSilentlyForEitherKind) {
    MessageBoxRecorder boxes;
    CMEGSensorqv squidSensor;
    CMegSquidqv& squid = attachSquid(squidSensor);
    placeSquid(squid);
    EXPECT_EQ(squidSensor.setCoilsDewar2work(), 1);
    CMEGSensorqv opmSensor;
    CMegOpmqv& opm = attachOpm(opmSensor);
    placeOpm(opm);
    EXPECT_EQ(opmSensor.setCoilsDewar2work(), 1);
    EXPECT_TRUE(boxes.texts().empty());
    for (int i = 0; i < 8; ++i) {
        SCOPED_TRACE("slot " + std::to_string(i));
        EXPECT_EQ(squid.coilWork[i].coilName, "dewar");
        EXPECT_BITS_EQ(squid.coilDewar[i].posP4[2], squid.coilWork[i].posP4[2]);
        EXPECT_BITS_EQ(static_cast<double>(20 + i + 1) * (0.5 * (i + 1)),
                       squid.coilWork[i].magApha);
        EXPECT_BITS_EQ(opm.vaporDewar[i].posP4[2], opm.vaporWork[i].posP4[2]);
        EXPECT_EQ(opm.vaporWork[i].coilName, opm.vaporDewar[i].coilName);
        EXPECT_BITS_EQ(1.0, opm.vaporWork[i].nmlDirXYZW[2]);
    }
}

TEST(MEGSensorCore, SetHeadLocalizationCoil2workEightOrMinusOneReturnsZeroAndChangesNothing) {
    MessageBoxRecorder boxes;
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    placeSquid(squid);
    EXPECT_EQ(s.setHeadLocalizationCoil2work(8), 0);
    EXPECT_EQ(s.setHeadLocalizationCoil2work(-1), 0);
    for (int i = 0; i < 8; ++i) {
        EXPECT_BITS_EQ(100.0 + 10.0 * i + 1.0, squid.coilWork[i].posP4[0]);
        EXPECT_BITS_EQ(-2.0, squid.coilWork[i].rotateRad);
    }
    EXPECT_TRUE(boxes.texts().empty());
}

TEST(MEGSensorCore, SetHeadLocalizationCoil2workThreeCopiesAllEightWithoutMagApha) {
    MessageBoxRecorder boxes;
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    placeSquid(squid);
    EXPECT_EQ(s.setHeadLocalizationCoil2work(3), 1);
    EXPECT_TRUE(boxes.texts().empty());
    for (int i = 0; i < 8; ++i) {
        SCOPED_TRACE("slot " + std::to_string(i));
        const CMagCoilqv& w = squid.coilWork[i];
        EXPECT_EQ(w.coilName, "head");
        EXPECT_BITS_EQ(squid.coilHead[i].posP4[0], w.posP4[0]);
        EXPECT_BITS_EQ(1.0, w.nmlDirXYZW[2]);
        EXPECT_BITS_EQ(std::acos(0.0), w.rotateRad);
        // magApha travels with the copy and is not computed again.
        EXPECT_BITS_EQ(-1.0, w.magApha);
    }
}

TEST(MEGSensorCore, SetHeadLocalizationCoil2workOnOpmCopiesTheVaporCells) {
    MessageBoxRecorder boxes;
    CMEGSensorqv s;
    CMegOpmqv& opm = attachOpm(s);
    placeOpm(opm);
    EXPECT_EQ(s.setHeadLocalizationCoil2work(0), 1);
    EXPECT_TRUE(boxes.texts().empty());
    for (int i = 0; i < 8; ++i) {
        EXPECT_BITS_EQ(opm.vaporHead[i].posP4[0], opm.vaporWork[i].posP4[0]);
        EXPECT_BITS_EQ(-1.0, opm.vaporWork[i].magApha);
    }
}

// ---------------------------------------------------------------------------
// The hardware-type argument and the record made on demand, for every
// operation that takes the argument.

struct TypedOperation {
    const char* name;
    std::function<int(CMEGSensorqv&, int)> call;
};

std::vector<TypedOperation> typedOperations() {
    return {
        {"initSensorInfo",
         [](CMEGSensorqv& s, int t) { return s.initSensorInfo(t, 100, 1, 1, 2.0, 3.0, 4.0, 0.5); }},
        {"setSnsPos", [](CMEGSensorqv& s, int t) { return s.setSnsPos(t, 1, 1.0, 2.0, 3.0); }},
        {"setSnsOrn", [](CMEGSensorqv& s, int t) { return s.setSnsOrn(t, 1, 1.0, 2.0, 3.0); }},
        {"getSnsPos",
         [](CMEGSensorqv& s, int t) {
             double x = 0, y = 0, z = 0;
             return s.getSnsPos(t, 1, x, y, z);
         }},
        {"getSnsOrn",
         [](CMEGSensorqv& s, int t) {
             double x = 0, y = 0, z = 0;
             return s.getSnsOrn(t, 1, x, y, z);
         }},
        {"getSnsNmlDir",
         [](CMEGSensorqv& s, int t) {
             double x = 0, y = 0, z = 0;
             return s.getSnsNmlDir(t, 1, x, y, z);
         }},
        {"initSensorBasic",
         [](CMEGSensorqv& s, int t) {
             int turns[2] = {1, 1};
             double areas[2] = {1.0, 1.0};
             double pos0[3] = {1.0, 2.0, 3.0};
             double pos1[3] = {4.0, 5.0, 6.0};
             return s.initSensorBasic(t, CString("raw"), CString("show"), 2, turns, areas, pos0,
                                      pos1, nullptr);
         }},
        {"setAcqSnsParam",
         [](CMEGSensorqv& s, int t) {
             MEG_OPM_NAME_POS_TYPE row{CString("OPM01"), 1.0, 2.0, 3.0, 0.0, 0.0, 1.0, 700};
             return s.setAcqSnsParam(t, 1, &row, 1, 1, 1, 1);
         }},
    };
}

class HardwareTypeArgument : public ::testing::TestWithParam<TypedOperation> {};

TEST_P(HardwareTypeArgument, MinusOneOnNewSensorKeepsNoneCreatesNothingAndReturnsOne) {
    CMEGSensorqv s;
    EXPECT_EQ(GetParam().call(s, -1), 1);
    EXPECT_EQ(s.hardwareType, -1);
    EXPECT_EQ(s.hardware, nullptr);
}

TEST_P(HardwareTypeArgument, ZeroOverwritesTheTypeAndMakesASquidRecord) {
    CMEGSensorqv s;
    EXPECT_EQ(GetParam().call(s, 0), 1);
    EXPECT_EQ(s.hardwareType, 0);
    ASSERT_NE(s.hardware, nullptr);
    EXPECT_EQ(hardwareRecordKind(s.hardware), 0);
}

TEST_P(HardwareTypeArgument, OneOverwritesTheTypeAndMakesAResetOpmRecord) {
    CMEGSensorqv s;
    EXPECT_EQ(GetParam().call(s, 1), 1);
    EXPECT_EQ(s.hardwareType, 1);
    ASSERT_NE(s.hardware, nullptr);
    EXPECT_EQ(hardwareRecordKind(s.hardware), 1);
    EXPECT_EQ(opmOf(s)->vaporDewar[3].coilName, "OPMg3");
    EXPECT_BITS_EQ(1e17, opmOf(s)->scaleConstant);
}

TEST_P(HardwareTypeArgument, MinusOneKeepsTheStoredTypeAndUsesTheRecordAsItStands) {
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    squid.squidAuxNo = 4242;
    CMegGrdBscqv* const before = s.hardware.get();
    EXPECT_EQ(GetParam().call(s, -1), 1);
    EXPECT_EQ(s.hardwareType, 0);
    EXPECT_EQ(s.hardware.get(), before);
    EXPECT_EQ(squid.squidAuxNo, 4242);
}

TEST_P(HardwareTypeArgument, SameTypeUsesTheExistingRecord) {
    CMEGSensorqv s;
    CMegOpmqv& opm = attachOpm(s);
    opm.hardwareName = CString("kept");
    CMegGrdBscqv* const before = s.hardware.get();
    EXPECT_EQ(GetParam().call(s, 1), 1);
    EXPECT_EQ(s.hardware.get(), before);
    EXPECT_EQ(opm.hardwareName, "kept");
}

TEST_P(HardwareTypeArgument, UnknownTypeIsStoredWithoutTestAndTheOldRecordStays) {
    CMEGSensorqv s;
    attachSquid(s);
    CMegGrdBscqv* const before = s.hardware.get();
    EXPECT_EQ(GetParam().call(s, 7), 1);
    EXPECT_EQ(s.hardwareType, 7);
    EXPECT_EQ(s.hardware.get(), before);
    EXPECT_EQ(s.getBscSns(), nullptr);
    EXPECT_EQ(s.getTotalCoils(), -1);
}

TEST_P(HardwareTypeArgument, UnknownTypeOnNewSensorCreatesNothing) {
    CMEGSensorqv s;
    EXPECT_EQ(GetParam().call(s, 2), 1);
    EXPECT_EQ(s.hardwareType, 2);
    EXPECT_EQ(s.hardware, nullptr);
}

TEST_P(HardwareTypeArgument, FailedAllocationReturnsZeroWithTheTypeStoredAndNoRecord) {
    FailingAllocation failing;
    for (int type : {0, 1}) {
        SCOPED_TRACE("type " + std::to_string(type));
        CMEGSensorqv s;
        EXPECT_EQ(GetParam().call(s, type), 0);
        EXPECT_EQ(s.hardwareType, type);
        EXPECT_EQ(s.hardware, nullptr);
    }
}

TEST_P(HardwareTypeArgument, RecordOfTheOtherKindIsNeverTakenForThisOne) {
    // Outside the contract: the caller should have released the record
    // first. The sensor refuses as if no record could be made and leaves
    // the record untouched.
    CMEGSensorqv s;
    CMegSquidqv& squid = attachSquid(s);
    squid.squidAuxNo = 77;
    EXPECT_EQ(GetParam().call(s, 1), 0);
    EXPECT_EQ(s.hardwareType, 1);
    EXPECT_EQ(hardwareRecordKind(s.hardware), 0);
    EXPECT_EQ(squid.squidAuxNo, 77);
    EXPECT_EQ(s.getTotalCoils(), -1);
    EXPECT_EQ(s.getCoil(0), nullptr);
}

INSTANTIATE_TEST_SUITE_P(EveryTypedOperation, HardwareTypeArgument,
                         ::testing::ValuesIn(typedOperations()),
                         [](const ::testing::TestParamInfo<TypedOperation>& info) {
                             return std::string(info.param.name);
                         });

// ---------------------------------------------------------------------------
// Copies.

// Every field of the sensor and its base a distinct value from `base`; the
// type and the record stay. The tests below rely on a few of them: the
// first text of the base is "textA" and `base`, `geomFlag` is `base` + 4,
// `backupNo` `base` + 8 and `sensorType` `base` + 11.
void fillOwnFields(CMEGSensor& s, int base) {
    fluxgrid::test::fillSensorFields(s, base);
    s.geomTextA = CString("textA") + CString(std::to_string(base));
    s.geomFlag = base + 4;
    s.backupNo = base + 8;
    s.sensorType = base + 11;
}

// The sensor's own fields and `hardwareType`, without the base and the record.
void expectOwnFieldsEq(const CMEGSensor& e, const CMEGSensor& a) {
    using fluxgrid::test::FieldScope;
    fluxgrid::test::expectFieldsEq(e, a, FieldScope::all().withoutHardware().withoutNamedBases());
}

void expectBaseFieldsEq(const CGeomqv& e, const CGeomqv& a) {
    fluxgrid::test::expectFieldsEq(e, a);
}

TEST(MEGSensorCopy, CopyConstructorCopiesEveryFieldAndSharesTheRecord) {
    CMEGSensorqv a;
    fillOwnFields(a, 100);
    CMegSquidqv& squid = attachSquid(a);
    const CMEGSensorqv b(a);
    expectBaseFieldsEq(a, b);
    expectOwnFieldsEq(a, b);
    EXPECT_EQ(b.getBscSns(), a.getBscSns());
    EXPECT_EQ(a.hardware.use_count(), 2);
    // A change through one shows through the other.
    EXPECT_EQ(a.setSnsPos(-1, 2, 7.0, 8.0, 9.0), 1);
    EXPECT_BITS_EQ(7.0, b.getCoil(2)->posP4[0]);
    EXPECT_EQ(b.getCurrentCoilID(), 2);
    EXPECT_EQ(&squid, squidOf(b));
}

TEST(MEGSensorCopy, MemberWiseAssignmentOfTheLowerLayersSharesTheRecord) {
    CMEGSensor09File a;
    fillOwnFields(a, 200);
    CMegOpmqv& opm = attachOpm(a);
    CMEGSensor09File b;
    attachSquid(b);
    const std::weak_ptr<CMegGrdBscqv> oldRecordOfB = b.hardware;
    b = a;
    expectBaseFieldsEq(a, b);
    expectOwnFieldsEq(a, b);
    EXPECT_EQ(b.hardware.get(), &opm);
    EXPECT_TRUE(oldRecordOfB.expired());

    CMEGSensor c;
    c = a;
    EXPECT_EQ(c.hardware.get(), &opm);
    c.setCurrentCoilID(6);
    EXPECT_EQ(a.getCurrentCoilID(), 6);
    EXPECT_EQ(b.getCurrentCoilID(), 6);
}

TEST(MEGSensorCopy, SharedRecordOutlivesTheFirstSensorAndGoesWithTheLast) {
    std::weak_ptr<CMegGrdBscqv> watch;
    {
        auto first = std::make_unique<CMEGSensorqv>();
        attachSquid(*first);
        squidOf(*first)->totalCoils = 2;
        watch = first->hardware;
        CMEGSensorqv second(*first);
        first.reset();
        EXPECT_FALSE(watch.expired());
        EXPECT_EQ(second.getTotalCoils(), 2);
        EXPECT_EQ(second.setSnsOrn(-1, 0, 0.0, 0.0, 1.0), 1);
    }
    EXPECT_TRUE(watch.expired());
}

TEST(MEGSensorCopy, CleanHardwareTypeOnOneCopyLeavesTheOtherItsRecord) {
    CMEGSensorqv a;
    attachOpm(a).totalVapors = 3;
    CMEGSensorqv b(a);
    EXPECT_EQ(a.cleanHardwareType(), 1);
    EXPECT_EQ(a.hardware, nullptr);
    EXPECT_EQ(b.getTotalCoils(), 3);
    EXPECT_EQ(b.hardware.use_count(), 1);
}

TEST(MEGSensorCopy, DeepAssignmentGivesAnIndependentSensor) {
    CMEGSensorqv b;
    CMegSquidqv& fromRecord = attachSquid(b);
    placeSquid(fromRecord);
    CMEGSensorqv a;
    a.geomTextA = CString("a's own");
    a = b;
    ASSERT_NE(a.hardware, nullptr);
    EXPECT_NE(a.hardware, b.hardware);
    EXPECT_BITS_EQ(fromRecord.coilWork[4].posP4[0], a.getCoil(4)->posP4[0]);
    a.getCoil(4)->posP4[0] = -99.0;
    EXPECT_EQ(a.setSnsPos(-1, 5, 1.0, 1.0, 1.0), 1);
    EXPECT_BITS_EQ(100.0 + 40.0 + 1.0, fromRecord.coilWork[4].posP4[0]);
    EXPECT_BITS_EQ(100.0 + 50.0 + 1.0, fromRecord.coilWork[5].posP4[0]);
    EXPECT_EQ(a.geomTextA, "a's own");
}

TEST(MEGSensorCopy, DeepAssignmentCopiesGeomFlagAndTheOwnFieldsOnly) {
    CMEGSensorqv source;
    fillOwnFields(source, 300);
    CMEGSensorqv target;
    fillOwnFields(target, 700);
    CGeomqv targetBase = target;
    target = source;
    expectOwnFieldsEq(source, target);
    EXPECT_EQ(target.geomFlag, 304);
    targetBase.geomFlag = 304;
    expectBaseFieldsEq(targetBase, target);
}

TEST(MEGSensorCopy, DeepAssignmentKeepsTheTargetRecordsNameNeuromagFactorAndSquidAuxNo) {
    CMEGSensorqv source;
    CMegSquidqv& from = attachSquid(source);
    from.hardwareName = CString("source unit");
    from.neuromagFactor = 2.5;
    from.squidAuxNo = 11;
    from.properGain = -3.0;
    from.gradAuxNo = 4;
    from.totalCoils = 2;
    CMEGSensorqv target;
    CMegSquidqv& to = attachSquid(target);
    to.hardwareName = CString("target unit");
    to.neuromagFactor = 0.75;
    to.squidAuxNo = 22;
    target = source;
    EXPECT_EQ(target.hardware.get(), &to);
    EXPECT_EQ(to.hardwareName, "target unit");
    EXPECT_BITS_EQ(0.75, to.neuromagFactor);
    EXPECT_EQ(to.squidAuxNo, 22);
    EXPECT_BITS_EQ(-3.0, to.properGain);
    EXPECT_EQ(to.gradAuxNo, 4);
    EXPECT_EQ(to.totalCoils, 2);
}

TEST(MEGSensorCopy, DeepAssignmentOfAnOpmSensorKeepsTheTargetsGradAuxNo) {
    CMEGSensorqv source;
    CMegOpmqv& from = attachOpm(source);
    from.hardwareName = CString("source opm");
    from.neuromagFactor = 2.5;
    from.gradAuxNo = 5;
    from.totalVapors = 4;
    from.vaporDewar[1].coilName = CString("cell one");
    CMEGSensorqv target;
    CMegOpmqv& to = attachOpm(target);
    to.gradAuxNo = 9;
    target = source;
    EXPECT_EQ(to.hardwareName, "");
    EXPECT_BITS_EQ(1.0, to.neuromagFactor);
    EXPECT_EQ(to.gradAuxNo, 9);
    EXPECT_EQ(to.totalVapors, 4);
    EXPECT_EQ(to.vaporDewar[1].coilName, "cell one");
}

TEST(MEGSensorCopy, DeepAssignmentIntoANewSensorMakesARecordWithItsOwnIdentity) {
    CMEGSensorqv source;
    CMegSquidqv& from = attachSquid(source);
    from.hardwareName = CString("source unit");
    from.neuromagFactor = 2.5;
    from.squidAuxNo = 11;
    from.totalCoils = 2;
    CMEGSensorqv target;
    target = source;
    EXPECT_EQ(target.hardwareType, 0);
    ASSERT_NE(target.hardware, nullptr);
    EXPECT_EQ(hardwareRecordKind(target.hardware), 0);
    CMegSquidqv& to = *squidOf(target);
    EXPECT_EQ(to.hardwareName, "");
    // A SQUID record made on demand is not reset; its numbers start at 0.
    EXPECT_BITS_EQ(0.0, to.neuromagFactor);
    EXPECT_EQ(to.squidAuxNo, 0);
    EXPECT_EQ(to.totalCoils, 2);
}

TEST(MEGSensorCopy, DeepAssignmentFromASensorWithoutRecordLeavesTheTargetsRecord) {
    CMEGSensorqv source;
    CMEGSensorqv target;
    attachSquid(target).totalCoils = 2;
    CMegGrdBscqv* const before = target.hardware.get();
    target = source;
    EXPECT_EQ(target.hardwareType, -1);
    EXPECT_EQ(target.hardware.get(), before);
    EXPECT_EQ(target.getBscSns(), nullptr);
    EXPECT_EQ(squidOf(target)->totalCoils, 2);

    source.hardwareType = 0;
    target.hardwareType = 0;
    target = source;
    EXPECT_EQ(target.hardware.get(), before);
    EXPECT_EQ(target.getTotalCoils(), 2);
}

TEST(MEGSensorCopy, DeepAssignmentWithFailedAllocationCopiesTheFieldsOnly) {
    CMEGSensorqv source;
    fillOwnFields(source, 400);
    attachSquid(source);
    CMEGSensorqv target;
    {
        FailingAllocation failing;
        target = source;
    }
    expectOwnFieldsEq(source, target);
    EXPECT_EQ(target.hardware, nullptr);
}

TEST(MEGSensorCopy, DeepSelfAssignmentKeepsEverything) {
    CMEGSensorqv s;
    fillOwnFields(s, 500);
    CMegSquidqv& squid = attachSquid(s);
    squid.hardwareName = CString("unit");
    squid.totalCoils = 2;
    CMEGSensorqv& alias = s;
    s = alias;
    EXPECT_EQ(s.hardware.get(), &squid);
    EXPECT_EQ(squid.hardwareName, "unit");
    EXPECT_EQ(squid.totalCoils, 2);
    EXPECT_EQ(s.backupNo, 508);
}

TEST(MEGSensorCopy, SetSensorParametersNullReturnsZeroAndChangesNothing) {
    CMEGSensorqv s;
    fillOwnFields(s, 600);
    attachSquid(s);
    CMegGrdBscqv* const before = s.hardware.get();
    EXPECT_EQ(s.setSensorParameters(nullptr), 0);
    CMEGSensorqv expected;
    fillOwnFields(expected, 600);
    expected.hardwareType = 0;
    expectOwnFieldsEq(expected, s);
    expectBaseFieldsEq(expected, s);
    EXPECT_EQ(s.hardware.get(), before);
}

TEST(MEGSensorCopy, SetSensorParametersGivesTheDeepCopy) {
    CMEGSensorqv source;
    fillOwnFields(source, 800);
    CMegOpmqv& from = attachOpm(source);
    from.totalVapors = 2;
    from.hardwareName = CString("src");
    CMEGSensorqv target;
    fillOwnFields(target, 900);
    EXPECT_EQ(target.setSensorParameters(&source), 1);
    expectOwnFieldsEq(source, target);
    EXPECT_EQ(target.geomTextA, "textA900");
    EXPECT_EQ(target.geomFlag, 804);
    ASSERT_NE(target.hardware, nullptr);
    EXPECT_NE(target.hardware, source.hardware);
    EXPECT_EQ(target.getTotalCoils(), 2);
    EXPECT_EQ(opmOf(target)->hardwareName, "");
    // Its own sensor afterwards.
    EXPECT_EQ(target.setCurrentCoilID(1), 1);
    EXPECT_EQ(source.getCurrentCoilID(), 0);
}

TEST(MEGSensorCopy, SetSensorParametersOnItselfReturnsOneAndKeepsEverything) {
    CMEGSensorqv s;
    fillOwnFields(s, 50);
    attachSquid(s).totalCoils = 2;
    CMegGrdBscqv* const before = s.hardware.get();
    EXPECT_EQ(s.setSensorParameters(&s), 1);
    EXPECT_EQ(s.hardware.get(), before);
    EXPECT_EQ(s.getTotalCoils(), 2);
    EXPECT_EQ(s.sensorType, 61);
}

}  // namespace
