#include <fluxgrid/platform/MessageBox.h>
#include <fluxgrid/sensor/MEGSensor.h>

#include "GradBlock.h"

#include <algorithm>
#include <atomic>
#include <new>

namespace fluxgrid::sensor {

void HardwareRecordDeleter::operator()(CMegGrdBscqv* record) const {
    if (hardwareType == 0) {
        delete static_cast<CMegSquidqv*>(record);
    } else {
        delete static_cast<CMegOpmqv*>(record);
    }
}

HardwareRecord makeHardwareRecord(int hardwareType) {
    // Default-initialised: the constructors give every field its value, and
    // a record of some 25 KB is not cleared as a whole before they run.
    CMegGrdBscqv* record = nullptr;
    if (hardwareType == 0) {
        record = new (std::nothrow) CMegSquidqv;
    } else if (hardwareType == 1) {
        record = new (std::nothrow) CMegOpmqv;
    }
    if (record == nullptr) {
        return {};
    }
    return HardwareRecord(record, HardwareRecordDeleter{hardwareType});
}

int hardwareRecordKind(const HardwareRecord& record) {
    const auto* deleter = std::get_deleter<HardwareRecordDeleter>(record);
    return record && deleter != nullptr ? deleter->hardwareType : -1;
}

namespace {
std::atomic<HardwareRecordAllocator> recordAllocator{&makeHardwareRecord};
}  // namespace

HardwareRecordAllocator setHardwareRecordAllocator(HardwareRecordAllocator allocator) {
    return recordAllocator.exchange(allocator != nullptr ? allocator : &makeHardwareRecord,
                                    std::memory_order_relaxed);
}

HardwareRecord allocateHardwareRecord(int hardwareType) {
    return recordAllocator.load(std::memory_order_relaxed)(hardwareType);
}

}  // namespace fluxgrid::sensor

namespace {
constexpr int kSlots = 8;
constexpr const char* kUnknownHardware = "Sensor hardware type is unknown: SQUID or OPM?";

bool isSlot(int index) {
    return index >= 0 && index < kSlots;
}
}  // namespace

using fluxgrid::sensor::hardwareRecordKind;

CMEGSensor::CMEGSensor()
    : backupNo(0),
      snsAuxNo(0),
      snsFileNo(0),
      sensorType(0),
      hardwareType(-1),
      snsPos4{},
      snsOri4{},
      locSph{},
      w12Evaluate(0),
      w12AuxNo(0),
      coefAuxNo(0),
      w12Values{} {
    geomFlag = 1;
    resetSensors();
}

CMEGSensor::~CMEGSensor() {
    cleanHardwareType();
}

// ---------------------------------------------------------------------------
// The record behind the sensor.

CMegSquidqv* CMEGSensor::squidRecord() const {
    if (hardwareType != 0 || !hardware || hardwareRecordKind(hardware) == 1) {
        return nullptr;
    }
    return static_cast<CMegSquidqv*>(hardware.get());
}

CMegOpmqv* CMEGSensor::opmRecord() const {
    if (hardwareType != 1 || !hardware || hardwareRecordKind(hardware) == 0) {
        return nullptr;
    }
    return static_cast<CMegOpmqv*>(hardware.get());
}

CMegGrdBscqv* CMEGSensor::matchingRecord() const {
    if (CMegSquidqv* squid = squidRecord()) {
        return squid;
    }
    return opmRecord();
}

int CMEGSensor::applyHardwareType(int hwType) {
    if (hwType != -1) {
        hardwareType = hwType;
    }
    return hardwareType;
}

CMegGrdBscqv* CMEGSensor::recordOnDemand() {
    if (hardwareType != 0 && hardwareType != 1) {
        return nullptr;
    }
    if (!hardware) {
        hardware = fluxgrid::sensor::allocateHardwareRecord(hardwareType);
    }
    // A record of the other kind is never taken for this one: the caller
    // then meets the same refusal as when no record could be made.
    return matchingRecord();
}

CBscMagSnsqv* CMEGSensor::elementAt(int frame, int slot) const {
    if (CMegSquidqv* squid = squidRecord()) {
        switch (frame) {
            case 0:
                return &squid->coilWork[slot];
            case 1:
                return &squid->coilHead[slot];
            case 2:
                return &squid->coilDewar[slot];
            default:
                return nullptr;
        }
    }
    if (CMegOpmqv* opm = opmRecord()) {
        switch (frame) {
            case 0:
                return &opm->vaporWork[slot];
            case 1:
                return &opm->vaporHead[slot];
            case 2:
                return &opm->vaporDewar[slot];
            default:
                return nullptr;
        }
    }
    return nullptr;
}

int CMEGSensor::currentElement() const {
    if (const CMegSquidqv* squid = squidRecord()) {
        return squid->currentCoilID;
    }
    if (const CMegOpmqv* opm = opmRecord()) {
        return opm->currentVaporID;
    }
    return -1;
}

// ---------------------------------------------------------------------------
// Core.

int CMEGSensor::resetSensors() {
    backupNo = 0;
    snsRawName = CString("SnsRaw");
    snsShowName = CString("SnsShow");
    sensorType = 0;
    snsAuxNo = 0;
    std::fill(std::begin(snsPos4), std::end(snsPos4), 0.0);
    std::fill(std::begin(snsOri4), std::end(snsOri4), 0.0);
    std::fill(std::begin(locSph), std::end(locSph), 0.0);
    w12Evaluate = 0;
    w12AuxNo = 0;
    coefAuxNo = 0;
    std::fill(std::begin(w12Values), std::end(w12Values), 0.0);
    if (CMegSquidqv* squid = squidRecord()) {
        squid->resetSensors();
    } else if (CMegOpmqv* opm = opmRecord()) {
        opm->resetSensors();
    }
    return 1;
}

int CMEGSensor::cleanHardwareType() {
    // The record goes with this sensor's hold on it, whatever the type says;
    // a member-wise copy that shares it keeps it alive.
    hardware.reset();
    hardwareType = -1;
    return 1;
}

int CMEGSensor::initSensorInfo(int hwType, int type, int hwNo, int gradOrder, double proper,
                               double second, double third, double gainOffset) {
    const int effective = applyHardwareType(hwType);
    sensorType = type;
    if (effective != 0 && effective != 1) {
        return 1;
    }
    CMegGrdBscqv* record = recordOnDemand();
    if (record == nullptr) {
        return 0;
    }
    // The records' own initSensorInfo, which both share.
    return fluxgrid::sensor::initBlockInfo(*record, hwNo, gradOrder, proper, second, third,
                                           gainOffset);
}

int CMEGSensor::setBackup() {
    return backupNo++;
}

CMegGrdBscqv* CMEGSensor::getBscSns() const {
    if (hardwareType != 0 && hardwareType != 1) {
        return nullptr;
    }
    return hardware.get();
}

CBscMagSnsqv* CMEGSensor::getCoil(int coil) const {
    return getCoilWkHdDw(0, coil);
}

CBscMagSnsqv* CMEGSensor::getCoilWkHdDw(int frame, int coil) const {
    if (matchingRecord() == nullptr) {
        return nullptr;
    }
    const int index = coil == -1 ? currentElement() : coil;
    if (!isSlot(index)) {
        return nullptr;
    }
    return elementAt(frame, index);
}

int CMEGSensor::getTotalCoils() const {
    if (const CMegSquidqv* squid = squidRecord()) {
        return squid->totalCoils;
    }
    if (const CMegOpmqv* opm = opmRecord()) {
        return opm->totalVapors;
    }
    return -1;
}

int CMEGSensor::getCurrentCoilID() const {
    return currentElement();
}

int CMEGSensor::setCurrentCoilID(int id) {
    const int stored = isSlot(id) ? id : 0;
    if (CMegSquidqv* squid = squidRecord()) {
        squid->currentCoilID = stored;
        return stored;
    }
    if (CMegOpmqv* opm = opmRecord()) {
        opm->currentVaporID = stored;
        return stored;
    }
    return -1;
}

int CMEGSensor::getGradOrderNo() const {
    const CMegGrdBscqv* record = matchingRecord();
    return record != nullptr ? record->gradOrderNo : 0;
}

int CMEGSensor::setGradOrderNo(int order) {
    CMegGrdBscqv* record = matchingRecord();
    if (record == nullptr) {
        return 0;
    }
    const int previous = record->gradOrderNo;
    record->gradOrderNo = order;
    return previous;
}

bool CMEGSensor::getRealIdealCoefMode() const {
    const CMegGrdBscqv* record = matchingRecord();
    return record != nullptr ? record->realIdealCoefMode : true;
}

int CMEGSensor::setRealIdealCoefMode(bool mode) {
    CMegGrdBscqv* record = matchingRecord();
    if (record == nullptr) {
        return 1;
    }
    const int previous = record->realIdealCoefMode ? 1 : 0;
    record->realIdealCoefMode = mode;
    return previous;
}

bool CMEGSensor::getAdaptiveBalance() const {
    const CMegGrdBscqv* record = matchingRecord();
    return record != nullptr ? record->adaptiveBalance : true;
}

int CMEGSensor::setAdaptiveBalance(bool on) {
    CMegGrdBscqv* record = matchingRecord();
    if (record == nullptr) {
        return 1;
    }
    const int previous = record->adaptiveBalance ? 1 : 0;
    record->adaptiveBalance = on;
    return previous;
}

CString CMEGSensor::getSensorName() const {
    return snsShowName;
}

// ---------------------------------------------------------------------------
// Frame copies. All three run over the eight slots, whatever the count in use.

int CMEGSensor::copyFrameToWork(int frame, bool deriveMagApha) {
    if (CMegSquidqv* squid = squidRecord()) {
        CMagCoilqv* from = frame == 1 ? squid->coilHead : squid->coilDewar;
        for (int i = 0; i < kSlots; ++i) {
            CMagCoilqv& work = squid->coilWork[i];
            work = from[i];
            work.orient2DirXYZW_VctXYRD();
            if (deriveMagApha) {
                work.getMagApha();
            }
        }
    } else if (CMegOpmqv* opm = opmRecord()) {
        CMagVaporqv* from = frame == 1 ? opm->vaporHead : opm->vaporDewar;
        for (int i = 0; i < kSlots; ++i) {
            // The cell's assignment leaves the target's turns and area, so
            // magApha comes from the work cell's own numbers.
            CMagVaporqv& work = opm->vaporWork[i];
            work = from[i];
            work.orient2DirXYZW_VctXYRD();
            if (deriveMagApha) {
                work.getMagApha();
            }
        }
    }
    return 1;
}

int CMEGSensor::setCoilsHead2work() {
    copyFrameToWork(1, true);
    // Only a SQUID sensor passes in silence: an OPM sensor is told after its
    // copy, a sensor without hardware without one.
    if (hardwareType != 0) {
        AfxMessageBox(CString(kUnknownHardware), MB_OK, 0);
    }
    return 1;
}

int CMEGSensor::setCoilsDewar2work() {
    return copyFrameToWork(2, true);
}

int CMEGSensor::setHeadLocalizationCoil2work(int coil) {
    if (!isSlot(coil)) {
        return 0;
    }
    copyFrameToWork(1, false);
    return 1;
}

// ---------------------------------------------------------------------------
// The independent copy.

void CMEGSensorqv::assignRecordFrom(const CMEGSensorqv& source) {
    if (hardwareType == 0) {
        const CMegSquidqv* from = source.squidRecord();
        if (from == nullptr) {
            return;
        }
        if (recordOnDemand() == nullptr) {
            return;
        }
        *squidRecord() = *from;
    } else if (hardwareType == 1) {
        const CMegOpmqv* from = source.opmRecord();
        if (from == nullptr) {
            return;
        }
        if (recordOnDemand() == nullptr) {
            return;
        }
        *opmRecord() = *from;
    }
}

CMEGSensorqv& CMEGSensorqv::operator=(const CMEGSensorqv& source) {
    geomFlag = source.geomFlag;
    backupNo = source.backupNo;
    snsRawName = source.snsRawName;
    snsShowName = source.snsShowName;
    snsAuxName = source.snsAuxName;
    snsFileNo = source.snsFileNo;
    sensorType = source.sensorType;
    snsAuxNo = source.snsAuxNo;
    std::copy(std::begin(source.snsPos4), std::end(source.snsPos4), snsPos4);
    std::copy(std::begin(source.snsOri4), std::end(source.snsOri4), snsOri4);
    std::copy(std::begin(source.locSph), std::end(source.locSph), locSph);
    w12Evaluate = source.w12Evaluate;
    coefAuxNo = source.coefAuxNo;
    w12AuxNo = source.w12AuxNo;
    std::copy(std::begin(source.w12Values), std::end(source.w12Values), w12Values);
    hardwareType = source.hardwareType;
    // Without a source record, or with a type of neither kind, this sensor's
    // own record stays as it is, even when the type has just become -1.
    assignRecordFrom(source);
    return *this;
}

int CMEGSensorqv::setSensorParameters(CMEGSensorqv* source) {
    if (source == nullptr) {
        return 0;
    }
    *this = *source;
    hardwareType = source->hardwareType;
    assignRecordFrom(*source);
    return 1;
}
