#include <fluxgrid/frame/FileFrame.h>
#include <fluxgrid/frame/FileKinds.h>
#include <fluxgrid/headloc/HeadLocalization.h>
#include <fluxgrid/platform/Exceptions.h>
#include <fluxgrid/platform/MessageBox.h>
#include <fluxgrid/records/CoordinateProcess.h>

#include "headloc/TrialBlock.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr const fluxgrid::FileKindInfo& kKind = fluxgrid::fileKindInfo(fluxgrid::FileKind::headloc);
constexpr const char* kNotHeadLocalization = "The opened file is not trial head localization!";
constexpr const char* kWrongVersion = "Wrong file format int CHeadLocalization09File!!?";
constexpr const char* kTypeError = "head localization type error";

// The value of pi that the angles have always been formed with: 15
// significant digits, not the closest double.
constexpr double kPi = 3.14159265358979;

// Truncates toward zero to a 32-bit integer and back to a double. A value
// that no int32 holds, NaN included, gives the integer -2147483648, as the
// processor's truncating conversion does.
double truncToInt32(double value) {
    if (!(value > -2147483649.0 && value < 2147483648.0)) {
        return -2147483648.0;
    }
    return static_cast<double>(static_cast<int>(value));
}

// The position of a point: elements 4, 5 and 6 of its values.
constexpr int kX = 4;
constexpr int kY = 5;
constexpr int kZ = 6;

}  // namespace

using namespace fluxgrid;

// ---------------------------------------------------------------------------
// CHeadLocalization

CHeadLocalization::CHeadLocalization()
    : headLocalType(1),
      headLocalParam(3),
      fidWorkMode(2),
      headLocalizeTime(0),
      fiducialAveraged(0),
      headLocalSlot(0.0),
      headLocalValue(10.0) {
    sensorLocation.zeroSphere();
    sensorRotation.zeroSphere();
}

CHeadLocalization::~CHeadLocalization() = default;

int CHeadLocalization::getStdCTFheadCnt(double& x, double& y, double& z) {
    x = 0.0;
    y = 0.0;
    z = -27.0;
    CCoordinateProcess::cvtCtf_D3Dqv(x, y, z);
    return 1;
}

int CHeadLocalization::resetSensorPosDirName() {
    return 1;
}

int CHeadLocalization::initDefaultHeadLocalParams() {
    fiducialFirst.fidPts[0].setFidPtPosition(0.0, -21.0, 8.0);
    fiducialFirst.fidPts[1].setFidPtPosition(8.0, -21.0, 0.0);
    fiducialFirst.fidPts[2].setFidPtPosition(-8.0, -21.0, 0.0);
    fiducialFirst.fidPts[3].setFidPtPosition(0.0, -21.0, -8.0);
    fiducialFirst.fidPts[4].setFidPtPosition(0.0, -13.0, 0.0);
    fiducialFirst.fidPts[5].setFidPtPosition(0.0, 0.0, 0.0);
    return 1;
}

int CHeadLocalization::initSensorFiducial2HeadCenter() {
    return 0;
}

CFiducialqv* CHeadLocalization::getCurntFiducailPts() {
    return &fiducialCurrent;
}

int CHeadLocalization::cleanFiducialPt() {
    headLocalizeTime = -1;
    for (CFiducialPtrArray* list : {&fiducialPtRaw, &fiducialPARaw, &fiducialPt}) {
        const INT_PTR count = list->GetSize();
        for (INT_PTR i = 0; i < count; ++i) {
            list->ReleaseAt(i);
        }
        list->SetSize(0);
    }
    // A fourth pass counts the elements of fiducialPA but walks the emptied
    // fiducialPARaw: it does nothing for an empty fiducialPA and raises the
    // invalid-argument exception at its first step otherwise, so what
    // fiducialPA holds is never released here.
    const INT_PTR count = fiducialPA.GetSize();
    for (INT_PTR i = 0; i < count; ++i) {
        fiducialPARaw.ReleaseAt(i);
    }
    fiducialPARaw.SetSize(0);
    headLocalLabels.SetSize(0);
    return 1;
}

int CHeadLocalization::resetSensorFdcPosDir() {
    sensorLocation.zeroSphere();
    sensorRotation.zeroSphere();
    return 1;
}

namespace {
int releaseAll(CFiducialPtrArray& list) {
    const int count = static_cast<int>(list.GetSize());
    for (int i = 0; i < count; ++i) {
        list.ReleaseAt(i);
    }
    list.SetSize(0);
    return 1;
}
}  // namespace

int CHeadLocalization::cleanFiducialPARaw() {
    return releaseAll(fiducialPARaw);
}

int CHeadLocalization::cleanFiducialPA() {
    return releaseAll(fiducialPA);
}

CFiducialqv* CHeadLocalization::getAverageFiducialPts() {
    switch (headLocalType) {
        case 0:
            fiducialCurrent = fiducialFirst;
            return &fiducialCurrent;
        case 1:
            fiducialCurrent = fiducialThird;
            return &fiducialCurrent;
        case 2: {
            fiducialCurrent.resetAllFiducialPt();
            if (fiducialPA.GetSize() < 2) {
                AfxThrowInvalidArgException();
            }
            const CFiducialqv* first = fiducialPA.GetFiducialAt(0);
            if (first == nullptr) {
                return nullptr;
            }
            const CFiducialqv* second = fiducialPA.GetFiducialAt(1);
            if (second == nullptr) {
                return nullptr;
            }
            // The three fiducials proper, and no entry but the first two.
            for (int p = 0; p < 3; ++p) {
                for (int k : {kX, kY, kZ}) {
                    fiducialCurrent.fidPts[p].ptValues[k] =
                        (second->fidPts[p].ptValues[k] + first->fidPts[p].ptValues[k]) * 0.5;
                }
            }
            fiducialAveraged = 1;
            return &fiducialCurrent;
        }
        default:
            AfxMessageBox(CString(kTypeError), MB_OK, 0);
            return nullptr;
    }
}

int CHeadLocalization::setActiveFiducialqv(CFiducialqv* fiducial) {
    if (fiducial == nullptr) {
        return 0;
    }
    fiducialCurrent = *fiducial;
    return 1;
}

int CHeadLocalization::setHeadLocalizeTime(int time) {
    const INT_PTR count = fiducialPA.GetSize();
    if (count == 0) {
        return 0;
    }
    const int steps = static_cast<int>(count);
    if (time < 0) {
        time = 0;
    }
    // Strictly greater: a time equal to the count stays, is stored, and then
    // fails the bounds test of the list.
    if (time > steps) {
        time = steps - 1;
    }
    headLocalizeTime = time;
    const CFiducialqv* step = fiducialPA.GetFiducialAt(time);
    if (step == nullptr) {
        return 0;
    }
    fiducialCurrent = *step;
    return 1;
}

int CHeadLocalization::getHeadLocalizeTime() const {
    return static_cast<int>(fiducialPA.GetSize());
}

int CHeadLocalization::getSensorLocation(double& x, double& y, double& z) const {
    x = sensorLocation.sphereValues[0];
    y = sensorLocation.sphereValues[1];
    z = sensorLocation.sphereValues[2];
    return 1;
}

int CHeadLocalization::setSensorLocation(double x, double y, double z) {
    sensorLocation.sphereValues[0] = x;
    sensorLocation.sphereValues[1] = y;
    sensorLocation.sphereValues[2] = z;
    return 1;
}

int CHeadLocalization::getSensorRotation(double& x, double& y, double& z) const {
    x = sensorRotation.sphereValues[0];
    y = sensorRotation.sphereValues[1];
    z = sensorRotation.sphereValues[2];
    return 1;
}

int CHeadLocalization::setSensorRotation(double x, double y, double z) {
    sensorRotation.sphereValues[0] = x;
    sensorRotation.sphereValues[1] = y;
    sensorRotation.sphereValues[2] = z;
    return 1;
}

int CHeadLocalization::registerMEGFiducial2MRIFiducialPts(CFiducialqv* fiducial, bool withRotation,
                                                          CSphereqv* sphere, int sizeX, int sizeY,
                                                          int sizeZ, double stepX, double stepY,
                                                          double stepZ) {
    (void)sphere;
    sensorLocation.zeroSphere();
    sensorRotation.zeroSphere();
    const CFiducialqv copy(*fiducial);
    const double* p0 = copy.fidPts[0].ptValues;
    const double* p1 = copy.fidPts[1].ptValues;
    const double* p2 = copy.fidPts[2].ptValues;

    const double cx = static_cast<double>(sizeX) * stepX * 0.5;
    const double cy = static_cast<double>(sizeY) * stepY * 0.5;
    const double cz = static_cast<double>(sizeZ) * stepZ * 0.5;

    // The midpoint of the side fiducials, each referred to the centre.
    double* location = sensorLocation.sphereValues;
    location[0] += ((p1[kX] - cx) + (p2[kX] - cx)) * 0.5;
    location[1] += ((p1[kY] - cy) + (p2[kY] - cy)) * 0.5;
    location[2] += ((p1[kZ] - cz) + (p2[kZ] - cz)) * 0.5;
    if (!withRotation) {
        return 1;
    }

    // The angles take the midpoint in whole numbers: the fraction is dropped
    // on purpose.
    const double my = truncToInt32(((p1[kY] + p2[kY]) - (cy + cy)) * 0.5);
    const double mz = truncToInt32(((p1[kZ] + p2[kZ]) - (cz + cz)) * 0.5);
    const double mx = truncToInt32(((p1[kX] + p2[kX]) - (cx + cx)) * 0.5);

    // The tangent of each ratio, as the angles have always been formed; the
    // added 0.0 turns a negative zero into a positive one.
    double* rotation = sensorRotation.sphereValues;
    rotation[0] = std::tan(((p0[kY] - my) - cy) / ((p0[kZ] - mz) - cz)) * 180.0 / kPi + 0.0;
    rotation[1] = std::tan(((p2[kZ] - mz) - cz) / ((p2[kX] - mx) - cx)) * 180.0 / kPi + 0.0;
    rotation[2] = std::tan(((p1[kY] - my) - cy) / ((p1[kX] - mx) - cx)) * 180.0 / kPi + 0.0;
    return 1;
}

// ---------------------------------------------------------------------------
// CHeadLocalization01Epoch

int CHeadLocalization01Epoch::setFidWorkMode(int mode) {
    if (mode < 0 || mode > 2) {
        return 0;
    }
    fidWorkMode = mode;
    return 1;
}

// ---------------------------------------------------------------------------
// CHeadLocalization09File

int CHeadLocalization09File::serializeqv(CArchive& ar) {
    if (ar.IsStoring()) {
        frame::storeHeader(ar, kKind.magic, kKind.written);
        return _01serializeFiducialPts20160320(ar) != 0 ? 1 : 0;
    }
    if (!frame::loadMagic(ar, kKind.magic, kNotHeadLocalization)) {
        return 0;
    }
    switch (frame::loadVersion(ar)) {
        case 20090606:
        case 20110217:
            return _01serializeFiducialPts(ar);
        case 20160320:
            return _01serializeFiducialPts20160320(ar);
        default:
            frame::reportBadVersion(kWrongVersion);
            return 0;
    }
}

int CHeadLocalization09File::_01serializeFiducialPts(CArchive& ar) {
    return serializeBody(ar);
}

int CHeadLocalization09File::_01serializeFiducialPts20160320(CArchive& ar) {
    return serializeBody(ar);
}

int CHeadLocalization09File::serializeBody(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << headLocalType;
        ar << headLocalParam;
        ar << fidWorkMode;
        ar << headLocalizeTime;
        ar << fiducialAveraged;
        ar << headLocalValue;
        ar << headLocalText;
        // Section 1 takes its count from fiducialPtRaw and its entries from
        // fiducialPA: the elements of fiducialPtRaw never reach the file.
        storeSection(ar, fiducialPA, fiducialPtRaw.GetSize());
        storeSection(ar, fiducialPARaw, fiducialPARaw.GetSize());
        storeSection(ar, fiducialPt, fiducialPt.GetSize());
        storeSection(ar, fiducialPA, fiducialPA.GetSize());
        ar << static_cast<LONGLONG>(headLocalLabels.GetSize());
        for (const CString& label : headLocalLabels) {
            ar << label;
        }
    } else {
        cleanFiducialPt();
        ar >> headLocalType;
        ar >> headLocalParam;
        ar >> fidWorkMode;
        ar >> headLocalizeTime;
        ar >> fiducialAveraged;
        ar >> headLocalValue;
        ar >> headLocalText;
        if (!loadSection(ar, fiducialPtRaw) || !loadSection(ar, fiducialPARaw) ||
            !loadSection(ar, fiducialPt) || !loadSection(ar, fiducialPA)) {
            return 0;
        }
        LONGLONG labels = 0;
        ar >> labels;
        for (LONGLONG i = 0; i < labels; ++i) {
            CString label;
            ar >> label;
            headLocalLabels.Add(label);
        }
    }
    return serializeTail(ar);
}

int CHeadLocalization09File::serializeTail(CArchive& ar) {
    // The same sequence in both directions; the first record refused ends it.
    if (sensorLocation.serialize(ar) == 0 || sensorRotation.serialize(ar) == 0 ||
        fiducialFirst.serialize(ar) == 0 || fiducialSecond.serialize(ar) == 0 ||
        fiducialThird.serialize(ar) == 0 || fiducialCurrent.serialize(ar) == 0) {
        return 0;
    }
    return 1;
}

void CHeadLocalization09File::storeSection(CArchive& ar, const CFiducialPtrArray& list,
                                           INT_PTR count) {
    ar << static_cast<LONGLONG>(count);
    for (INT_PTR i = 0; i < count; ++i) {
        if (HEAD_LOCATION_TRIAL* record = list.GetRecordAt(i)) {
            ar << 1;
            ar << record->trialValue1;
            ar << record->trialValue2;
            ar << record->trialValue3;
            ar << record->trialTag;
            record->trialFiducial.serialize(ar);
        } else if (CFiducialqv* object = list.GetFiducialAt(i)) {
            // A set added on its own goes out as a record around it.
            ar << 1;
            ar << 0.0;
            ar << 0.0;
            ar << 0.0;
            ar << 0;
            object->serialize(ar);
        } else {
            ar << 0;
        }
    }
}

bool CHeadLocalization09File::loadSection(CArchive& ar, CFiducialPtrArray& list) {
    LONGLONG count = 0;
    ar >> count;
    // Room from the count, but never for more entries than the bytes at
    // hand can hold: a present entry takes its tag and three doubles at
    // least, and a count may be anything.
    constexpr std::size_t kPresentEntryBytes = 4 + 3 * 8;
    const auto likely = [&ar](LONGLONG left) {
        const auto possible = static_cast<LONGLONG>(ar.WindowBytes() / kPresentEntryBytes) + 1;
        return static_cast<std::size_t>(std::min(left, possible));
    };
    if (count > 0) {
        list.Reserve(static_cast<INT_PTR>(list.GetSize() + likely(count)));
    }
    headloc::TrialSource records;
    for (LONGLONG i = 0; i < count; ++i) {
        int tag = 0;
        ar >> tag;
        if (tag == 0) {
            continue;
        }
        CTrialPtr record = records.next(static_cast<std::size_t>(count - i), likely(count - i));
        if (!record) {
            return false;
        }
        ar >> record->trialValue1;
        ar >> record->trialValue2;
        ar >> record->trialValue3;
        ar >> record->trialTag;
        // A refused nested set keeps its entry; reading goes on in place.
        record->trialFiducial.serialize(ar);
        list.Add(std::move(record));
    }
    return true;
}

// ---------------------------------------------------------------------------
// CHeadLocalizationqv

CHeadLocalizationqv& CHeadLocalizationqv::operator=(const CHeadLocalizationqv& other) {
    headLocalType = other.headLocalType;
    headLocalParam = other.headLocalParam;
    fidWorkMode = other.fidWorkMode;
    fiducialFirst = other.fiducialFirst;
    fiducialSecond = other.fiducialSecond;
    fiducialThird = other.fiducialThird;
    fiducialCurrent = other.fiducialCurrent;
    sensorLocation = other.sensorLocation;
    sensorRotation = other.sensorRotation;
    return *this;
}
