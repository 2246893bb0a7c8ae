#include <fluxgrid/element/MagCoil.h>
#include <fluxgrid/frame/FileFrame.h>
#include <fluxgrid/frame/FileKinds.h>

#include "ElementBlocks.h"

#include <algorithm>

namespace {
constexpr const fluxgrid::FileKindInfo& kKind = fluxgrid::fileKindInfo(fluxgrid::FileKind::coil);
}  // namespace

using namespace fluxgrid;

// The base's defaults are a reset coil's: nothing is cleared twice.
CMagCoil::CMagCoil() : CBscMagSnsqv(u"Coil") {}

int CMagCoil::reset() {
    coilName = CString(u"Coil");
    element::resetGeometry(*this);
    coilAuxNo = 0;
    coilAuxNo2 = 0;
    coilTurns = 0;
    coilShape = 0;
    element::clearFirstPairs(pairTable);
    coilAuxValue = 0.0;
    coilArea = 0.0;
    magApha = 0.0;
    unitScale = 1.0;
    return 1;
}

int CMagCoil::convertCTFm2qvCm() {
    return convertUnits(10.0);
}

int CMagCoil::convertNeuromagM2mm() {
    return convertUnits(1000.0);
}

int CMagCoil::convertUnits(double factor) {
    // An area takes the same single factor as a length, and unitScale tells
    // the last conversion only: both as the systems' data have always been read.
    posP4[0] *= factor;
    posP4[1] *= factor;
    posP4[2] *= factor;
    coilArea *= factor;
    unitScale = factor;
    return 1;
}

int CMagCoil09File::serializeqv(CArchive& ar) {
    if (ar.IsStoring()) {
        frame::storeHeader(ar, kKind.magic, kKind.written);
        serialize20211230(ar);
        ar.Flush();
        return 1;
    }
    if (!frame::loadMagic(ar, kKind.magic, frame::kNotMegFile)) {
        return 0;
    }
    switch (frame::loadVersion(ar)) {
        case 20080102:
            serialize20080102(ar);
            return 1;
        case 20091117:
            serialize20091117(ar);
            return 1;
        case 20140513:
            serialize20140513(ar);
            return 1;
        case 20211230:
            return serialize20211230(ar);
        default:
            frame::reportBadVersion(frame::kWrongFileFormat);
            return 1;
    }
}

int CMagCoil09File::serialize20080102(CArchive& ar) {
    // This version's reader gathered position and orientation aside and
    // moved them in once all four groups had arrived.
    return serializeNarrow(ar, true);
}

int CMagCoil09File::serialize20091117(CArchive& ar) {
    return serializeNarrow(ar, false);
}

int CMagCoil09File::serializeNarrow(CArchive& ar, bool placementAside) {
    if (ar.IsStoring()) {
        ar << coilTurns;
        ar << coilArea;
        ar << coilAuxValue;
        ar << unitScale;
        ar << coilAuxNo;
        ar << coilShape;
        ar << coilName;
        element::storeGroups(ar, element::narrowColumns(*this, posP4, oriP4));
        element::storePairs(ar, pairTable);
    } else {
        ar >> coilTurns;
        ar >> coilArea;
        ar >> coilAuxValue;
        ar >> unitScale;
        ar >> coilAuxNo;
        ar >> coilShape;
        ar >> coilName;
        double position[4];
        double orientation[4];
        double* const pos = placementAside ? position : posP4;
        double* const ori = placementAside ? orientation : oriP4;
        element::loadGroups(ar, element::narrowColumns(*this, pos, ori));
        if (placementAside) {
            std::copy(std::begin(position), std::end(position), posP4);
            std::copy(std::begin(orientation), std::end(orientation), oriP4);
        }
        element::loadPairs(ar, pairTable);
    }
    return 1;
}

void CMagCoil09File::storeHead20140513(CArchive& ar) {
    ar << coilAuxNo;
    ar << coilAuxValue;
    ar << coilArea;
    ar << coilTurns;
    ar << magApha;
    ar << unitScale;
    ar << coilShape;
    ar << coilName;
    ar << coilAuxNo2;
    ar << coilAuxValue2;
    ar << coilAuxValue3;
}

void CMagCoil09File::loadHead20140513(CArchive& ar) {
    ar >> coilAuxNo;
    ar >> coilAuxValue;
    ar >> coilArea;
    ar >> coilTurns;
    ar >> magApha;
    ar >> unitScale;
    ar >> coilShape;
    ar >> coilName;
    ar >> coilAuxNo2;
    ar >> coilAuxValue2;
    ar >> coilAuxValue3;
}

int CMagCoil09File::serialize20140513(CArchive& ar) {
    if (ar.IsStoring()) {
        storeHead20140513(ar);
        element::storeGroups(ar, element::middleColumns(*this));
        element::storePairs(ar, pairTable);
    } else {
        loadHead20140513(ar);
        element::loadGroups(ar, element::middleColumns(*this));
        element::loadPairs(ar, pairTable);
    }
    return 1;
}

int CMagCoil09File::serialize20211230(CArchive& ar) {
    if (ar.IsStoring()) {
        storeHead20140513(ar);
        ar << rotateRad;
        ar << rotateDeg;
        element::storeGroups(ar, element::wideColumns(*this));
        element::storePairs(ar, pairTable);
    } else {
        loadHead20140513(ar);
        ar >> rotateRad;
        ar >> rotateDeg;
        element::loadGroups(ar, element::wideColumns(*this));
        element::loadPairs(ar, pairTable);
    }
    return 1;
}

CMagCoilqv& CMagCoilqv::operator=(const CMagCoilqv& other) {
    CBscMagSns::operator=(other);
    return *this;
}
