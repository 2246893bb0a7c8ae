/// \file MagCoil.h
/// The coil: the pick-up element of a SQUID sensor, and its file record.
///
/// Record "MEGCOILQV", written as version 20211230. After the frame (the
/// magic in the wide string form, the int32 version) the body holds:
///
///   20080102, 20091117  coilTurns, coilArea, coilAuxValue, unitScale,
///                       coilAuxNo, coilShape, coilName, narrow groups,
///                       pair block                              798 + L bytes
///   20140513            coilAuxNo, coilAuxValue, coilArea, coilTurns,
///                       magApha, unitScale, coilShape, coilName,
///                       coilAuxNo2, coilAuxValue2, coilAuxValue3,
///                       middle groups, pair block               922 + L bytes
///   20211230            as 20140513 through coilAuxValue3, then
///                       rotateRad, rotateDeg, wide groups,
///                       pair block                              970 + L bytes
///
/// L is the length of the stored name (4 + 2n below 255 units); the groups
/// and the pair block are described in BscMagSns.h. A load takes only
/// what its version holds: every other field keeps its value, and nothing
/// is recomputed or converted.
#pragma once

#include <fluxgrid/element/BscMagSns.h>
#include <fluxgrid/platform/Archive.h>

class CMagCoil : public CBscMagSnsqv {
  public:
    /// A reset coil named "Coil".
    CMagCoil();
    CMagCoil(const CMagCoil&) = default;
    CMagCoil& operator=(const CMagCoil&) = default;

    /// Clears the name to "Coil", the geometry, row 0 of `auxRows`, the
    /// first four pairs of `pairTable`, the counts and the loop numbers;
    /// sets `unitScale` 1.0. Rows 1 to 3, pairs 4 to 11, `coilAuxValue2`
    /// and `coilAuxValue3` keep their values.
    int reset();
    int getCoilTurns() const { return coilTurns; }
    double getCoilArea() const { return coilArea; }
    /// Scales position and area by 10.0, for data of CTF systems.
    int convertCTFm2qvCm();
    /// Scales position and area by 1000.0, for data of Neuromag systems.
    int convertNeuromagM2mm();

  private:
    int convertUnits(double factor);
};

class CMagCoil09File : public CMagCoil {
  public:
    CMagCoil09File() = default;
    CMagCoil09File(const CMagCoil09File&) = default;
    CMagCoil09File& operator=(const CMagCoil09File&) = default;

    /// Stores the newest version (and flushes), or loads any accepted one.
    /// Returns 1 after an unknown version: callers go on reading in place.
    int serializeqv(CArchive& ar);

  private:
    int serialize20080102(CArchive& ar);
    int serialize20091117(CArchive& ar);
    int serialize20140513(CArchive& ar);
    int serialize20211230(CArchive& ar);

    // The body of 20080102 and 20091117; the older one moves position and
    // orientation into the object only after all four groups have arrived.
    int serializeNarrow(CArchive& ar, bool placementAside);

    void storeHead20140513(CArchive& ar);
    void loadHead20140513(CArchive& ar);
};

class CMagCoilqv : public CMagCoil09File {
  public:
    CMagCoilqv() = default;
    CMagCoilqv(const CMagCoilqv&) = default;
    /// Every field.
    CMagCoilqv& operator=(const CMagCoilqv& other);
};
