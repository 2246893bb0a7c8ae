#include <fluxgrid/sensor/MegOpm.h>

#include "GradBlock.h"

#include <string>

using namespace fluxgrid;
using sensor::GradAux;

namespace {

// The dewar cells are named "OPMg0" to "OPMg7" by their slot.
void nameDewarCells(CMegOpm& record) {
    for (int i = 0; i < 8; ++i) {
        std::u16string name = u"OPMg";
        name += static_cast<char16_t>(u'0' + i);
        record.vaporDewar[i].coilName = CString(std::move(name));
    }
}

}  // namespace

// New cells are reset ones already: only the block and the dewar cells'
// names are set.
CMegOpm::CMegOpm() : totalVapors(0), currentVaporID(0) {
    sensor::resetBlock(*this, GradAux::absent);
    nameDewarCells(*this);
}

int CMegOpm::resetSensors() {
    sensor::resetBlock(*this, GradAux::absent);
    totalVapors = 0;
    currentVaporID = 0;
    for (int i = 0; i < 8; ++i) {
        vaporDewar[i].reset();
        vaporHead[i].reset();
        vaporWork[i].reset();
    }
    nameDewarCells(*this);
    return 1;
}

int CMegOpm::initSensorInfo(int hardwareNo, int gradOrderNo, double properGain, double secondGain,
                            double thirdGain, double gainOffset) {
    return sensor::initBlockInfo(*this, hardwareNo, gradOrderNo, properGain, secondGain, thirdGain,
                                 gainOffset);
}

int CMegOpm::checkInitVapors(int count) {
    currentVaporID = 0;
    if (count < 1) {
        count = 1;
    } else if (count > 8) {
        count = 8;
    }
    totalVapors = count;
    return totalVapors;
}

int CMegOpm09File::serialize(CArchive& ar) {
    if (!sensor::serializeRecordFrame(ar, FileKind::opm)) {
        return 0;
    }
    return serialize20190201(ar);
}

int CMegOpm09File::serialize20190201(CArchive& ar) {
    if (ar.IsStoring()) {
        sensor::storeBlock(ar, *this, GradAux::absent);
        ar << totalVapors;
        ar << currentVaporID;
    } else {
        sensor::loadBlock(ar, *this, GradAux::absent);
        ar >> totalVapors;
        ar >> currentVaporID;
    }
    // The nested cell records' results are not looked at: a refused cell
    // costs its own message box, and reading goes on where the stream stands.
    sensor::serializeElementRecords(ar, vaporDewar, vaporHead, vaporWork);
    return 1;
}

CMegOpmqv& CMegOpmqv::operator=(const CMegOpmqv& other) {
    sensor::assignBlockKeepingIdentity(*this, other, GradAux::absent);
    totalVapors = other.totalVapors;
    currentVaporID = other.currentVaporID;
    for (int i = 0; i < 8; ++i) {
        vaporDewar[i] = other.vaporDewar[i];
        vaporHead[i] = other.vaporHead[i];
        vaporWork[i] = other.vaporWork[i];
    }
    return *this;
}
