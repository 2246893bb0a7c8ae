/// \file MegSquid.h
/// The SQUID hardware record of one channel: the gradiometer block, a coil
/// count, the current coil, and eight coils in each of the dewar, head and
/// work frames. Index i in the three arrays is the same physical coil.
///
/// Record "MSQUIDQV", version 20190201. Offsets from the record's first byte:
///
///     0   magic, wide string form (FF FE FF 08, 16 bytes of text)
///    20   int32 version 20190201
///    24   the gradiometer block with gradAuxNo (MegGrdBsc.h), 166 bytes
///   190   int32 squidAuxNo
///   194   int32 totalCoils
///   198   int32 currentCoilID
///   202   24 coil records "MEGCOILQV": for i from 0 to 7, coilDewar[i],
///         coilHead[i], coilWork[i]
///
/// All eight slots of each frame are written and read, whatever
/// `totalCoils` says. `hardwareName` is in no file.
#pragma once

#include <fluxgrid/element/MagCoil.h>
#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/sensor/MegGrdBsc.h>

class CMegSquid : public CMegGrdBscqv {
  public:
    /// An empty name and 24 new coils. The record is not reset: its numbers
    /// are zero until `resetSensors`, `initSensorInfo` or a file read.
    CMegSquid();
    /// Every field: the block, `squidAuxNo`, the counts and all 24 coils.
    CMegSquid(const CMegSquid&) = default;
    /// The same fields as the copy constructor, each coil through
    /// `CMagCoilqv::operator=`.
    CMegSquid& operator=(const CMegSquid&) = default;
    ~CMegSquid() = default;

    /// The block's defaults with `gradAuxNo` 0, no coil in use, coil 0
    /// current, and every coil reset. `hardwareName` and `squidAuxNo` keep
    /// their values. Returns 1.
    int resetSensors();
    /// Stores the arguments and computes `totalGain`; no count and no coil
    /// is touched. Returns 1.
    int initSensorInfo(int hardwareNo, int gradOrderNo, double properGain, double secondGain,
                       double thirdGain, double gainOffset);

    /// Carried and filed; nothing but a file read sets it.
    int squidAuxNo;
    /// Coils in use, not checked against the eight slots.
    int totalCoils;
    /// The coil meant by a coil index of -1.
    int currentCoilID;
    CMagCoilqv coilDewar[8];
    CMagCoilqv coilHead[8];
    CMagCoilqv coilWork[8];
};

class CMegSquid09File : public CMegSquid {
  public:
    CMegSquid09File() = default;
    CMegSquid09File(const CMegSquid09File&) = default;
    CMegSquid09File& operator=(const CMegSquid09File&) = default;
    ~CMegSquid09File() = default;

    /// Stores version 20190201, or loads it. A wrong magic or another
    /// version is refused with a message box and 0, before any field is
    /// touched.
    int serialize(CArchive& ar);

  private:
    int serialize20190201(CArchive& ar);
};

class CMegSquidqv : public CMegSquid09File {
  public:
    CMegSquidqv() = default;
    CMegSquidqv(const CMegSquidqv&) = default;
    ~CMegSquidqv() = default;
    /// Everything except `hardwareName`, `neuromagFactor` and `squidAuxNo`,
    /// which keep the target's values: a sensor copied by assignment keeps
    /// its own identity in its record.
    CMegSquidqv& operator=(const CMegSquidqv& other);
};
