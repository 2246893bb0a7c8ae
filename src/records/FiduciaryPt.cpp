#include <fluxgrid/records/FiduciaryPt.h>

#include "RecordFrame.h"

namespace {
constexpr const char16_t* kMagic = u"FIDUCIARYPTQV";
}  // namespace

using namespace fluxgrid;

CFiduciaryPt::~CFiduciaryPt() = default;

int CFiduciaryPt::setFidPtPosition(double x, double y, double z) {
    ptValues[4] = x;
    ptValues[5] = y;
    ptValues[6] = z;
    return 1;
}

CFiduciaryPt02Prcs::~CFiduciaryPt02Prcs() = default;

CFiduciaryPt9File::~CFiduciaryPt9File() = default;

int CFiduciaryPt9File::serialize(CArchive& ar) {
    if (!records::serializeRecordFrame(ar, kMagic)) {
        return 0;
    }
    return serialize20261122(ar);
}

int CFiduciaryPt9File::serialize20261122(CArchive& ar) {
    if (ar.IsStoring()) {
        for (double value : ptValues) {
            ar << value;
        }
        ar << ptExtra1;
        ar << ptExtra2;
        for (double value : ptVector) {
            ar << value;
        }
        ar << ptState1;
        ar << ptState2;
        ar << ptState3;
        ar << ptExtra3;
        ar << ptState4;
        ar << ptName;
    } else {
        for (double& value : ptValues) {
            ar >> value;
        }
        ar >> ptExtra1;
        ar >> ptExtra2;
        for (double& value : ptVector) {
            ar >> value;
        }
        ar >> ptState1;
        ar >> ptState2;
        ar >> ptState3;
        ar >> ptExtra3;
        ar >> ptState4;
        ar >> ptName;
    }
    return 1;
}

CFiduciaryPtqv& CFiduciaryPtqv::operator=(const CFiduciaryPtqv& other) {
    CFiduciaryPt::operator=(other);
    return *this;
}

CFiduciaryPtqv::~CFiduciaryPtqv() = default;
