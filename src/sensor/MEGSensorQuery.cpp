// What a host asks of a sensor and how it sets one up: the names of the type
// codes and coil shapes, the gain chain, the baseline of a gradiometer, the
// position and orientation of a work-frame element, and the acquisition
// setup from plain arrays or from one layout row.
#include <fluxgrid/sensor/MEGSensor.h>

#include "SensorTypeTable.h"

#include <cmath>

namespace {

constexpr int kSlots = 8;

const char* coilShapeName(int shape) {
    switch (shape) {
        case 1:
            return "Circle";
        case 2:
            return "Square";
        default:
            return "Unknown";
    }
}

// The rule of the position and orientation accessors: -1 may stand for the
// current element, and whatever lies outside 0 to 7 then is element 0.
int elementIndex(int coil, int current, bool minusOneIsCurrent) {
    const int index = (coil == -1 && minusOneIsCurrent) ? current : coil;
    return (index >= 0 && index < kSlots) ? index : 0;
}

// The baseline between the first two dewar coils of a SQUID record: the
// unit vector from coil 0 to coil 1 (zero for coincident coils) and its
// length.
struct Baseline {
    double dx;
    double dy;
    double dz;
    double length;
};

Baseline dewarBaseline(const CMegSquidqv& squid) {
    const double* p0 = squid.coilDewar[0].posP4;
    const double* p1 = squid.coilDewar[1].posP4;
    Baseline b{p1[0] - p0[0], p1[1] - p0[1], p1[2] - p0[2], 0.0};
    b.length = std::sqrt((b.dy * b.dy + b.dx * b.dx) + b.dz * b.dz);
    if (std::fabs(b.length) > 0.0) {
        b.dx /= b.length;
        b.dy /= b.length;
        b.dz /= b.length;
    }
    return b;
}

}  // namespace

// ---------------------------------------------------------------------------
// Type codes and gain.

CString CMEGSensor::getSensorTypeName() const {
    return CString(fluxgrid::sensor::sensorTypeName(sensorType));
}

CString CMEGSensor::getSensorCoilTypeName() const {
    // Element 0 of the work frame, not the current element.
    if (const CMegSquidqv* squid = squidRecord()) {
        return CString(coilShapeName(squid->coilWork[0].coilShape));
    }
    if (const CMegOpmqv* opm = opmRecord()) {
        return CString(coilShapeName(opm->vaporWork[0].vaporShape));
    }
    return CString("None");
}

double CMEGSensor::sensorGain() {
    CMegGrdBscqv* record = matchingRecord();
    if (record == nullptr) {
        return 1.0;
    }
    record->totalGain = record->secondGain * record->properGain * record->thirdGain;
    return record->totalGain;
}

double CMEGSensor::getSensorGain() const {
    const CMegGrdBscqv* record = matchingRecord();
    return record != nullptr ? record->totalGain : 1.0;
}

double CMEGSensor::sensorNeuromag2Ctf(int scaled) const {
    const CMegGrdBscqv* record = matchingRecord();
    if (record == nullptr) {
        return 1.0;
    }
    // The stored totalGain already holds the second and third factor; they
    // enter once more here, and that is the conversion.
    const double factor =
        record->totalGain * record->neuromagFactor * record->secondGain * record->thirdGain;
    return scaled != 0 ? factor * 0.04 : factor;
}

double CMEGSensor::getSnsGainCtf() const {
    const CMegSquidqv* squid = squidRecord();
    if (squid == nullptr) {
        return 1.0;
    }
    return std::fabs(squid->properGain) / squid->properGain;
}

int CMEGSensor::isAxialGrad() const {
    if (opmRecord() != nullptr) {
        return 1;
    }
    const CMegSquidqv* squid = squidRecord();
    if (squid == nullptr || squid->totalCoils != 2) {
        return 0;
    }
    const Baseline b = dewarBaseline(*squid);
    // The orientation is taken as stored, not normalised.
    const double* o = squid->coilDewar[0].oriP4;
    const double s = std::fabs((b.dy * o[1] + b.dx * o[0]) + b.dz * o[2]);
    return 1e-5 > std::fabs(1.0 - s) ? 1 : 0;
}

double CMEGSensor::getCoilBaseLine() const {
    const CMegSquidqv* squid = squidRecord();
    if (squid == nullptr) {
        return 1.0;
    }
    if (squid->totalCoils != 2) {
        return 0.0;
    }
    return dewarBaseline(*squid).length;
}

// ---------------------------------------------------------------------------
// Position and orientation of a work-frame element.

int CMEGSensor::setSnsPos(int hwType, int coil, double x, double y, double z) {
    const int effective = applyHardwareType(hwType);
    if (effective != 0 && effective != 1) {
        return 1;
    }
    if (recordOnDemand() == nullptr) {
        return 0;
    }
    const int index = elementIndex(coil, getCurrentCoilID(), true);
    double* pos = getCoil(index)->posP4;
    pos[0] = x;
    pos[1] = y;
    pos[2] = z;
    setCurrentCoilID(index);
    return 1;
}

int CMEGSensor::setSnsOrn(int hwType, int coil, double x, double y, double z) {
    const int effective = applyHardwareType(hwType);
    if (effective != 0 && effective != 1) {
        return 1;
    }
    if (recordOnDemand() == nullptr) {
        return 0;
    }
    const int index = elementIndex(coil, getCurrentCoilID(), true);
    double* ori = getCoil(index)->oriP4;
    ori[0] = x;
    ori[1] = y;
    ori[2] = z;
    setCurrentCoilID(index);
    return 1;
}

int CMEGSensor::getElementVector(int hwType, int coil, bool minusOneIsCurrent,
                                 double (CBscMagSns::*field)[4], double& x, double& y, double& z) {
    const int effective = applyHardwareType(hwType);
    if (effective != 0 && effective != 1) {
        return 1;
    }
    if (recordOnDemand() == nullptr) {
        return 0;
    }
    const int current = minusOneIsCurrent ? getCurrentCoilID() : -1;
    const double* vector = getCoil(elementIndex(coil, current, minusOneIsCurrent))->*field;
    x = vector[0];
    y = vector[1];
    z = vector[2];
    return 1;
}

int CMEGSensor::getSnsPos(int hwType, int coil, double& x, double& y, double& z) {
    return getElementVector(hwType, coil, true, &CBscMagSns::posP4, x, y, z);
}

int CMEGSensor::getSnsOrn(int hwType, int coil, double& x, double& y, double& z) {
    return getElementVector(hwType, coil, true, &CBscMagSns::oriP4, x, y, z);
}

int CMEGSensor::getSnsNmlDir(int hwType, int coil, double& x, double& y, double& z) {
    return getElementVector(hwType, coil, false, &CBscMagSns::nmlDirXYZW, x, y, z);
}

// ---------------------------------------------------------------------------
// Acquisition setup.

int CMEGSensor::initSensorBasic(int hwType, CString rawName, CString showName, int totalCoils,
                                int* const turns, double* const areas, double* const pos0,
                                double* const pos1, double* const spare) {
    (void)spare;  // Part of the signature the hosts call; never read.
    const int effective = applyHardwareType(hwType);
    snsRawName = rawName;
    snsShowName = showName;
    if (effective != 0 && effective != 1) {
        return 1;
    }
    if (recordOnDemand() == nullptr) {
        return 0;
    }
    // The work copy of elements 0 and 1 only: no other frame, no
    // orientation, no derived value.
    if (CMegSquidqv* squid = squidRecord()) {
        squid->totalCoils = totalCoils;
        for (int k = 0; k < 3; ++k) {
            squid->coilWork[0].posP4[k] = pos0[k];
            squid->coilWork[1].posP4[k] = pos1[k];
        }
        squid->coilWork[0].coilTurns = turns[0];
        squid->coilWork[0].coilArea = areas[0];
        squid->coilWork[1].coilTurns = turns[1];
        squid->coilWork[1].coilArea = areas[1];
    } else if (CMegOpmqv* opm = opmRecord()) {
        opm->totalVapors = totalCoils;
        for (int k = 0; k < 3; ++k) {
            opm->vaporWork[0].posP4[k] = pos0[k];
            opm->vaporWork[1].posP4[k] = pos1[k];
        }
    }
    return 1;
}

int CMEGSensor::setAcqSnsParam(int hwType, int coil, MEG_OPM_NAME_POS_TYPE* param, int toDewar,
                               int toHead, int toWork, int toSensor) {
    const int effective = applyHardwareType(hwType);
    const int index = (coil >= 0 && coil < kSlots) ? coil : 0;
    snsShowName = param->name;
    snsRawName = snsShowName;
    if (effective == 0 || effective == 1) {
        if (recordOnDemand() == nullptr) {
            return 0;
        }
        const int selectors[3] = {toDewar, toHead, toWork};
        const int frames[3] = {2, 1, 0};
        for (int s = 0; s < 3; ++s) {
            if (selectors[s] == 0) {
                continue;
            }
            CBscMagSnsqv* element = getCoilWkHdDw(frames[s], index);
            element->posP4[0] = param->posX;
            element->posP4[1] = param->posY;
            element->posP4[2] = param->posZ;
            element->oriP4[0] = param->ornX;
            element->oriP4[1] = param->ornY;
            element->oriP4[2] = param->ornZ;
        }
    }
    if (toSensor != 0) {
        snsPos4[0] = param->posX;
        snsPos4[1] = param->posY;
        snsPos4[2] = param->posZ;
        snsOri4[0] = param->ornX;
        snsOri4[1] = param->ornY;
        snsOri4[2] = param->ornZ;
    }
    return 1;
}
