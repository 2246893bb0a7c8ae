/// \file MegGrdBsc.h
/// The block that every per-channel hardware record shares, whether a SQUID
/// or an OPM reads the channel: the record's name, its gain chain, its
/// gradient order, two mode flags and numbers that the library only carries.
///
/// The block has no reset and no file code of its own as a class: the SQUID
/// and OPM records give it its defaults and file it, both through one code
/// inside the library. As a hardware record files it:
///
///   hardwareNo                int32
///   neuromagFactor            double
///   gainOffset                double
///   scaleConstant             double
///   properGain                double
///   secondGain                double
///   thirdGain                 double
///   totalGain                 double
///   gradOrderNo               int32
///   gradAuxNo                 int32   (SQUID record only)
///   realIdealCoefMode         bool, one byte
///   adaptiveBalance           bool, one byte
///   auxValue1                 double
///   auxValue2                 double
///   4 rows, i from 0 to 3:    double auxVectorA[i], double auxVectorB[i],
///                             int32 auxFlags[i]
///
/// `hardwareName` lives in memory only: no file holds it.
#pragma once

#include <fluxgrid/platform/CString.h>

class CMegGrdBsc {
  public:
    /// An empty name. The numbers are zero until a record's reset,
    /// `initSensorInfo` or a file read gives them their values.
    CMegGrdBsc();
    CMegGrdBsc(const CMegGrdBsc&) = default;
    /// Every field, `hardwareName` and `neuromagFactor` included.
    CMegGrdBsc& operator=(const CMegGrdBsc&) = default;
    ~CMegGrdBsc() = default;

    CString hardwareName;
    int hardwareNo;
    double neuromagFactor;
    double gainOffset;
    double scaleConstant;
    double properGain;
    double secondGain;
    double thirdGain;
    /// properGain x secondGain x thirdGain as last computed; a file read
    /// takes the stored number as it stands.
    double totalGain;
    int gradOrderNo;
    int gradAuxNo;
    bool realIdealCoefMode;
    bool adaptiveBalance;
    double auxValue1;
    double auxValue2;
    double auxVectorA[4];
    double auxVectorB[4];
    int auxFlags[4];
};

/// The final class of the block; adds nothing. Both hardware records derive
/// from it, and a sensor hands either one out through this type.
class CMegGrdBscqv : public CMegGrdBsc {
  public:
    CMegGrdBscqv() = default;
    CMegGrdBscqv(const CMegGrdBscqv&) = default;
    CMegGrdBscqv& operator=(const CMegGrdBscqv&) = default;
    ~CMegGrdBscqv() = default;
};
