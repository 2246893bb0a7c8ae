#include <fluxgrid/records/Sphere.h>

#include "RecordFrame.h"

namespace {
constexpr const char16_t* kMagic = u"SPHEREQV";
}  // namespace

using namespace fluxgrid;

CSphere::~CSphere() = default;

int CSphere::zeroSphere() {
    for (double& value : sphereValues) {
        value = 0.0;
    }
    return 1;
}

CSphere9File::~CSphere9File() = default;

int CSphere9File::serialize(CArchive& ar) {
    if (!records::serializeRecordFrame(ar, kMagic)) {
        return 0;
    }
    return serialize20261122(ar);
}

int CSphere9File::serialize20261122(CArchive& ar) {
    if (ar.IsStoring()) {
        for (double value : sphereValues) {
            ar << value;
        }
        ar << sphereState1;
        ar << sphereState2;
        ar << sphereName;
    } else {
        for (double& value : sphereValues) {
            ar >> value;
        }
        ar >> sphereState1;
        ar >> sphereState2;
        ar >> sphereName;
    }
    return 1;
}

CSphereqv& CSphereqv::operator=(const CSphereqv& other) {
    CSphere::operator=(other);
    return *this;
}

CSphereqv::~CSphereqv() = default;
