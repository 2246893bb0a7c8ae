#include <fluxgrid/sensor/MegSquid.h>

#include "GradBlock.h"

using namespace fluxgrid;
using sensor::GradAux;

CMegSquid::CMegSquid() : squidAuxNo(0), totalCoils(0), currentCoilID(0) {}

int CMegSquid::resetSensors() {
    sensor::resetBlock(*this, GradAux::carried);
    totalCoils = 0;
    currentCoilID = 0;
    for (int i = 0; i < 8; ++i) {
        coilDewar[i].reset();
        coilHead[i].reset();
        coilWork[i].reset();
    }
    return 1;
}

int CMegSquid::initSensorInfo(int hardwareNo, int gradOrderNo, double properGain, double secondGain,
                              double thirdGain, double gainOffset) {
    return sensor::initBlockInfo(*this, hardwareNo, gradOrderNo, properGain, secondGain, thirdGain,
                                 gainOffset);
}

int CMegSquid09File::serialize(CArchive& ar) {
    if (!sensor::serializeRecordFrame(ar, FileKind::squid)) {
        return 0;
    }
    return serialize20190201(ar);
}

int CMegSquid09File::serialize20190201(CArchive& ar) {
    if (ar.IsStoring()) {
        sensor::storeBlock(ar, *this, GradAux::carried);
        ar << squidAuxNo;
        ar << totalCoils;
        ar << currentCoilID;
    } else {
        sensor::loadBlock(ar, *this, GradAux::carried);
        ar >> squidAuxNo;
        ar >> totalCoils;
        ar >> currentCoilID;
    }
    // The nested coil records' results are not looked at: a refused coil
    // costs its own message box, and reading goes on where the stream stands.
    sensor::serializeElementRecords(ar, coilDewar, coilHead, coilWork);
    return 1;
}

CMegSquidqv& CMegSquidqv::operator=(const CMegSquidqv& other) {
    sensor::assignBlockKeepingIdentity(*this, other, GradAux::carried);
    totalCoils = other.totalCoils;
    currentCoilID = other.currentCoilID;
    for (int i = 0; i < 8; ++i) {
        coilDewar[i] = other.coilDewar[i];
        coilHead[i] = other.coilHead[i];
        coilWork[i] = other.coilWork[i];
    }
    return *this;
}
