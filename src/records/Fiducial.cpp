#include <fluxgrid/records/Fiducial.h>

#include "RecordFrame.h"

namespace {
constexpr const char16_t* kMagic = u"FIDUCIALQV";
}  // namespace

using namespace fluxgrid;

CFiducial::~CFiducial() = default;

int CFiducial::resetAllFiducialPt() {
    for (CFiduciaryPtqv& point : fidPts) {
        point = CFiduciaryPtqv();
    }
    return 1;
}

CFiducial02Prcs::~CFiducial02Prcs() = default;

CFiducial03Operator::~CFiducial03Operator() = default;

CFiducial9File::~CFiducial9File() = default;

int CFiducial9File::serialize(CArchive& ar) {
    if (!records::serializeRecordFrame(ar, kMagic)) {
        return 0;
    }
    return serialize20261122(ar);
}

int CFiducial9File::serialize20261122(CArchive& ar) {
    // Each point is a complete record of its own, frame included.
    for (CFiduciaryPtqv& point : fidPts) {
        if (point.serialize(ar) == 0) {
            return 0;
        }
    }
    if (ar.IsStoring()) {
        for (int state : fidState) {
            ar << state;
        }
        ar << fidExtra1;
        ar << fidState5;
        ar << fidExtra2;
    } else {
        for (int& state : fidState) {
            ar >> state;
        }
        ar >> fidExtra1;
        ar >> fidState5;
        ar >> fidExtra2;
    }
    return 1;
}

CFiducialqv& CFiducialqv::operator=(const CFiducialqv& other) {
    CFiducial::operator=(other);
    return *this;
}

CFiducialqv::~CFiducialqv() = default;
