/// \file MagVapor.h
/// The vapor cell: the sensing element of an optically pumped
/// magnetometer, and its file record.
///
/// Record "AMOPMQV", written as version 20211230. After the frame:
///
///   20190121  vaporShape, coilName, vaporAuxNo2, middle groups,
///             pair block of vaporPairTable                     862 + L bytes
///   20211230  vaporShape, coilName, vaporAuxNo2, rotateRad, rotateDeg,
///             wide groups, pair block of vaporPairTable       910 + L bytes
///
/// The groups and the pair block are described in BscMagSns.h. Neither
/// version holds the loop numbers of the coil (turns, area, magApha,
/// unitScale, coilShape, pairTable and the auxiliary values) or vaporAuxNo.
#pragma once

#include <fluxgrid/element/BscMagSns.h>
#include <fluxgrid/platform/Archive.h>

class CMagVapor : public CBscMagSnsqv {
  public:
    /// A reset cell named "OPM".
    CMagVapor();
    CMagVapor(const CMagVapor&) = default;
    CMagVapor& operator=(const CMagVapor&) = default;

    /// Clears the name to "OPM", the geometry, row 0 of `auxRows`,
    /// `vaporShape`, `vaporAuxNo2` and the first four pairs of
    /// `vaporPairTable`. Everything else keeps its value.
    int reset();

    int vaporAuxNo;
    int vaporShape;
    double vaporPairTable[12][2][3];
    int vaporAuxNo2;
};

class CMagVapor09File : public CMagVapor {
  public:
    CMagVapor09File() = default;
    CMagVapor09File(const CMagVapor09File&) = default;
    CMagVapor09File& operator=(const CMagVapor09File&) = default;

    /// Stores the newest version, or loads either accepted one. Returns 1
    /// after an unknown version, as the coil does.
    int serializeqv(CArchive& ar);

  private:
    int serialize20190121(CArchive& ar);
    int serialize20211230(CArchive& ar);
};

class CMagVaporqv : public CMagVapor09File {
  public:
    CMagVaporqv() = default;
    CMagVaporqv(const CMagVaporqv&) = default;
    /// Copies the geometry, the name and the cell's own filed fields only.
    /// The target keeps its angles, its loop numbers, `unitScale`, `pairTable`
    /// and `vaporAuxNo`: the frame switches derive the angles anew at once.
    CMagVaporqv& operator=(const CMagVaporqv& other);
};
