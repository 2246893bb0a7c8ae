/// \file HeadLocalization.h
/// The head localization of one recording: three stored fiducial sets, four
/// lists of fiducial entries, the active set, and the sensor location and
/// rotation that registration against an MRI volume yields. It selects and
/// averages what it holds and files it; it touches no sensor.
///
/// File "HEADLOCATIONTRIAL", written as version 20160320; 20090606 and
/// 20110217 load by the same layout. After the frame (42 bytes):
///
///   offset 42    headLocalType          int32
///          46    headLocalParam         int32
///          50    fidWorkMode            int32
///          54    headLocalizeTime       int32
///          58    fiducialAveraged       int32
///          62    headLocalValue         double
///          70    headLocalText          string
///   then, one behind the other:
///                section 1              int64 count, entries (into fiducialPtRaw)
///                section 2              int64 count, entries (fiducialPARaw)
///                section 3              int64 count, entries (fiducialPt)
///                section 4              int64 count, entries (fiducialPA)
///                headLocalLabels        int64 count, strings
///                sensorLocation         sphere record
///                sensorRotation         sphere record
///                fiducialFirst          fiducial set record
///                fiducialSecond         fiducial set record
///                fiducialThird          fiducial set record
///                fiducialCurrent        fiducial set record
///
/// An entry is an int32 presence tag (1 written for an element, 0 for a
/// null element; any value but 0 reads as present) and, when present,
/// trialValue1 to trialValue3 (doubles), trialTag (int32) and trialFiducial
/// (fiducial set record). A count of 0 or below reads as no entries.
///
/// Section 1 is written from the first elements of `fiducialPA`, as many as
/// `fiducialPtRaw` holds: the elements of `fiducialPtRaw` never reach the
/// file, and a load puts copies of those `fiducialPA` entries into it. Null
/// elements are not read back, so the later entries move up.
#pragma once

#include <fluxgrid/headloc/FiducialPtrArray.h>
#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/platform/Arrays.h>
#include <fluxgrid/platform/CString.h>
#include <fluxgrid/records/Fiducial.h>
#include <fluxgrid/records/Sphere.h>

class CHeadLocalization {
  public:
    /// Type 1, parameter 3, work mode 2, value 10.0, time step 0, empty
    /// lists, location and rotation zeroed. The stored sets stay at their
    /// own defaults: `initDefaultHeadLocalParams` is not called.
    CHeadLocalization();
    /// The lists own their elements, so an object is not copied whole.
    CHeadLocalization(const CHeadLocalization&) = delete;
    CHeadLocalization& operator=(const CHeadLocalization&) = delete;
    /// Releases whatever elements the lists still hold.
    ~CHeadLocalization();

    /// The standard CTF head centre (0, 0, -27) in the in-house frame.
    /// Always 1.
    static int getStdCTFheadCnt(double& x, double& y, double& z);

    /// Does nothing. Always 1.
    int resetSensorPosDirName();
    /// Writes the six default positions into `fiducialFirst`. Always 1.
    int initDefaultHeadLocalParams();
    /// Does nothing, and answers 0 where its neighbour answers 1.
    int initSensorFiducial2HeadCenter();
    /// The address of `fiducialCurrent`.
    CFiducialqv* getCurntFiducailPts();
    /// Sets `headLocalizeTime` to -1 and releases the elements of
    /// `fiducialPtRaw`, `fiducialPARaw` and `fiducialPt`; then empties
    /// `headLocalLabels`. It never releases what `fiducialPA` holds: with a
    /// non-empty `fiducialPA` it raises `CInvalidArgException` after the three
    /// lists are emptied, leaving `fiducialPA` and `headLocalLabels` as they
    /// were. Result 1.
    int cleanFiducialPt();
    /// Zeroes `sensorLocation`, then `sensorRotation`. Always 1.
    int resetSensorFdcPosDir();
    /// Releases the elements of `fiducialPARaw` and empties it. Always 1.
    int cleanFiducialPARaw();
    /// Releases the elements of `fiducialPA` and empties it. Always 1.
    int cleanFiducialPA();

    /// By `headLocalType`: 0 copies `fiducialFirst` into `fiducialCurrent`,
    /// 1 copies `fiducialThird`, 2 resets the points of `fiducialCurrent` and
    /// puts the mean of the first two entries of `fiducialPA` into points 0,
    /// 1 and 2, setting `fiducialAveraged` to 1. Returns `fiducialCurrent`.
    /// Type 2 raises `CInvalidArgException` with fewer than two entries and
    /// gives null for a null entry; any other type shows "head localization
    /// type error" and gives null.
    CFiducialqv* getAverageFiducialPts();
    /// Copies `*fiducial` into `fiducialCurrent`. Null gives 0.
    int setActiveFiducialqv(CFiducialqv* fiducial);
    /// Steps to entry `time` of `fiducialPA`, clamped: below 0 becomes 0,
    /// above the count becomes the last index, and the count itself stays,
    /// is stored and raises `CInvalidArgException`. 0 for an empty list or a
    /// null entry (the step is stored all the same).
    int setHeadLocalizeTime(int time);
    /// How many time steps exist: the count of `fiducialPA`, not the current
    /// step.
    int getHeadLocalizeTime() const;

    int getSensorLocation(double& x, double& y, double& z) const;
    int setSensorLocation(double x, double y, double z);
    /// The three rotation angles, in degrees.
    int getSensorRotation(double& x, double& y, double& z) const;
    int setSensorRotation(double x, double y, double z);

    /// Registers `fiducial`, given in the coordinates of an MRI volume of
    /// `sizeX` by `sizeY` by `sizeZ` grid points with spacings `stepX`,
    /// `stepY` and `stepZ`, against the volume's centre. The location
    /// becomes the midpoint of points 1 and 2; with `withRotation` three
    /// angles are formed from the fiducials, else the rotation stays zeroed.
    /// `fiducial` must not be null; `sphere` is never looked at. Always 1.
    int registerMEGFiducial2MRIFiducialPts(CFiducialqv* fiducial, bool withRotation,
                                           CSphereqv* sphere, int sizeX, int sizeY, int sizeZ,
                                           double stepX, double stepY, double stepZ);

    int headLocalType;
    int headLocalParam;
    int fidWorkMode;
    CFiducialqv fiducialFirst;
    CFiducialqv fiducialSecond;
    CFiducialqv fiducialThird;
    CFiducialPtrArray fiducialPtRaw;
    CFiducialPtrArray fiducialPARaw;
    CFiducialPtrArray fiducialPt;
    CFiducialPtrArray fiducialPA;
    int headLocalizeTime;
    int fiducialAveraged;
    CFiducialqv fiducialCurrent;
    CSphereqv sensorLocation;
    CSphereqv sensorRotation;
    double headLocalSlot;
    CSphereqv sphereA;
    CSphereqv spheresA[3];
    CSphereqv sphereB;
    CSphereqv spheresB[3];
    double headLocalValue;
    CString headLocalText;
    CStringArray headLocalLabels;
};

class CHeadLocalization01Epoch : public CHeadLocalization {
  public:
    CHeadLocalization01Epoch() = default;

    /// Stores 0, 1 or 2 in `fidWorkMode` and gives 1; any other value
    /// changes nothing and gives 0.
    int setFidWorkMode(int mode);
};

class CHeadLocalization02Continue : public CHeadLocalization01Epoch {
  public:
    CHeadLocalization02Continue() = default;
};

class CHeadLocalization09File : public CHeadLocalization02Continue {
  public:
    CHeadLocalization09File() = default;

    /// Stores version 20160320, or loads any accepted version. 1 when done.
    /// A wrong magic shows "The opened file is not trial head localization!"
    /// and an unknown version "Wrong file format int
    /// CHeadLocalization09File!!?", both with result 0 and the object
    /// untouched. A load starts with `cleanFiducialPt`, so `fiducialPA` must
    /// be emptied with `cleanFiducialPA` first.
    int serializeqv(CArchive& ar);

  private:
    /// The body of versions 20090606 and 20110217.
    int _01serializeFiducialPts(CArchive& ar);
    /// The body of version 20160320; the same layout as the older two.
    int _01serializeFiducialPts20160320(CArchive& ar);

    int serializeBody(CArchive& ar);
    int serializeTail(CArchive& ar);
    void storeSection(CArchive& ar, const CFiducialPtrArray& list, INT_PTR count);
    bool loadSection(CArchive& ar, CFiducialPtrArray& list);
};

class CHeadLocalizationqv : public CHeadLocalization09File {
  public:
    CHeadLocalizationqv() = default;
    CHeadLocalizationqv(const CHeadLocalizationqv&) = delete;
    /// Copies `headLocalType`, `headLocalParam`, `fidWorkMode`, the four
    /// fiducial sets and the location and rotation. The lists, the time
    /// step, `fiducialAveraged`, `headLocalValue`, `headLocalText`,
    /// `headLocalLabels` and the spare spheres stay as they were, so no list
    /// element is ever shared between two objects.
    CHeadLocalizationqv& operator=(const CHeadLocalizationqv& other);
};
