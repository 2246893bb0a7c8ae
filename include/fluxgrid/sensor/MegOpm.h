/// \file MegOpm.h
/// The OPM hardware record of one channel: the gradiometer block, a vapor
/// cell count, the current cell, and eight vapor cells in each of the dewar,
/// head and work frames. Index i in the three arrays is the same physical
/// cell; its display name is the `coilName` in `vaporDewar`.
///
/// Record "MEGOPMQV", version 20190201. Offsets from the record's first byte:
///
///     0   magic, wide string form (FF FE FF 08, 16 bytes of text)
///    20   int32 version 20190201
///    24   the gradiometer block without gradAuxNo (MegGrdBsc.h), 162 bytes
///   186   int32 totalVapors
///   190   int32 currentVaporID
///   194   24 vapor cell records "AMOPMQV": for i from 0 to 7,
///         vaporDewar[i], vaporHead[i], vaporWork[i]
///
/// All eight slots of each frame are written and read, whatever
/// `totalVapors` says. `hardwareName` is in no file; `gradAuxNo` is not
/// carried by this record.
#pragma once

#include <fluxgrid/element/MagVapor.h>
#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/sensor/MegGrdBsc.h>

class CMegOpm : public CMegGrdBscqv {
  public:
    /// An empty name and 24 new cells, then `resetSensors`: unlike the
    /// SQUID record, an OPM record is born reset. `gradAuxNo` is 0.
    CMegOpm();
    /// Every field: the block, the counts and all 24 cells, whole.
    CMegOpm(const CMegOpm&) = default;
    /// The same fields as the copy constructor, each cell through
    /// `CMagVaporqv::operator=`.
    CMegOpm& operator=(const CMegOpm&) = default;
    ~CMegOpm() = default;

    /// The block's defaults (`gradAuxNo` and `hardwareName` keep their
    /// values), no cell in use, cell 0 current, every cell reset and the
    /// dewar cells named "OPMg0" to "OPMg7". Returns 1.
    int resetSensors();
    /// Stores the arguments and computes `totalGain`; no count and no cell
    /// is touched. Returns 1.
    int initSensorInfo(int hardwareNo, int gradOrderNo, double properGain, double secondGain,
                       double thirdGain, double gainOffset);
    /// Makes cell 0 current and stores `count`, kept within 1 to 8, as the
    /// number of cells in use. Returns the number stored.
    int checkInitVapors(int count);

    /// Cells in use. A file read stores what it finds, in range or not.
    int totalVapors;
    /// The cell meant by an index of -1.
    int currentVaporID;
    CMagVaporqv vaporDewar[8];
    CMagVaporqv vaporHead[8];
    CMagVaporqv vaporWork[8];
};

class CMegOpm09File : public CMegOpm {
  public:
    CMegOpm09File() = default;
    CMegOpm09File(const CMegOpm09File&) = default;
    CMegOpm09File& operator=(const CMegOpm09File&) = default;
    ~CMegOpm09File() = default;

    /// Stores version 20190201, or loads it. A wrong magic or another
    /// version is refused with a message box and 0, before any field is
    /// touched.
    int serialize(CArchive& ar);

  private:
    int serialize20190201(CArchive& ar);
};

class CMegOpmqv : public CMegOpm09File {
  public:
    CMegOpmqv() = default;
    CMegOpmqv(const CMegOpmqv&) = default;
    ~CMegOpmqv() = default;
    /// Everything except `hardwareName`, `neuromagFactor` and `gradAuxNo`,
    /// which keep the target's values: a sensor copied by assignment keeps
    /// its own identity in its record.
    CMegOpmqv& operator=(const CMegOpmqv& other);
};
