#include <fluxgrid/element/MagVapor.h>
#include <fluxgrid/frame/FileFrame.h>
#include <fluxgrid/frame/FileKinds.h>

#include "ElementBlocks.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr const fluxgrid::FileKindInfo& kKind = fluxgrid::fileKindInfo(fluxgrid::FileKind::vapor);
constexpr const char* kWrongVaporFormat = "Wrong AMOPM file format!!?";
}  // namespace

using namespace fluxgrid;

// The base's defaults are a reset cell's: nothing is cleared twice.
CMagVapor::CMagVapor() : CBscMagSnsqv(u"OPM"), vaporAuxNo(0), vaporShape(0), vaporAuxNo2(0) {
    element::clearDoubles(&vaporPairTable[0][0][0], sizeof vaporPairTable / sizeof(double));
}

int CMagVapor::reset() {
    coilName = CString(u"OPM");
    element::resetGeometry(*this);
    vaporShape = 0;
    element::clearFirstPairs(vaporPairTable);
    vaporAuxNo2 = 0;
    return 1;
}

int CMagVapor09File::serializeqv(CArchive& ar) {
    if (ar.IsStoring()) {
        frame::storeHeader(ar, kKind.magic, kKind.written);
        return serialize20211230(ar);
    }
    if (!frame::loadMagic(ar, kKind.magic, frame::kNotMegFile)) {
        return 0;
    }
    switch (frame::loadVersion(ar)) {
        case 20190121:
            return serialize20190121(ar);
        case 20211230:
            return serialize20211230(ar);
        default:
            frame::reportBadVersion(kWrongVaporFormat);
            return 1;
    }
}

int CMagVapor09File::serialize20190121(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << vaporShape;
        ar << coilName;
        ar << vaporAuxNo2;
        element::storeGroups(ar, element::middleColumns(*this));
        element::storePairs(ar, vaporPairTable);
    } else {
        ar >> vaporShape;
        ar >> coilName;
        ar >> vaporAuxNo2;
        element::loadGroups(ar, element::middleColumns(*this));
        element::loadPairs(ar, vaporPairTable);
    }
    return 1;
}

int CMagVapor09File::serialize20211230(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << vaporShape;
        ar << coilName;
        ar << vaporAuxNo2;
        ar << rotateRad;
        ar << rotateDeg;
        element::storeGroups(ar, element::wideColumns(*this));
        element::storePairs(ar, vaporPairTable);
    } else {
        ar >> vaporShape;
        ar >> coilName;
        ar >> vaporAuxNo2;
        ar >> rotateRad;
        ar >> rotateDeg;
        element::loadGroups(ar, element::wideColumns(*this));
        element::loadPairs(ar, vaporPairTable);
    }
    return 1;
}

CMagVaporqv& CMagVaporqv::operator=(const CMagVaporqv& other) {
    std::copy(std::begin(other.vctXYRD), std::end(other.vctXYRD), vctXYRD);
    coilName = other.coilName;
    std::copy(std::begin(other.posP4), std::end(other.posP4), posP4);
    std::copy(std::begin(other.oriP4), std::end(other.oriP4), oriP4);
    std::copy(std::begin(other.nmlDirXYZW), std::end(other.nmlDirXYZW), nmlDirXYZW);
    std::copy(std::begin(other.axisRotate), std::end(other.axisRotate), axisRotate);
    std::memcpy(auxRows, other.auxRows, sizeof auxRows);
    vaporShape = other.vaporShape;
    std::memcpy(vaporPairTable, other.vaporPairTable, sizeof vaporPairTable);
    vaporAuxNo2 = other.vaporAuxNo2;
    return *this;
}
