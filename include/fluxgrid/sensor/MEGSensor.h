/// \file MEGSensor.h
/// One channel as a host sees it: its names, its type code, a position and
/// orientation of its own, numbers that only travel with it, and the
/// hardware record that says what reads the channel, a SQUID
/// (`CMegSquidqv`, `hardwareType` 0) or an OPM (`CMegOpmqv`,
/// `hardwareType` 1). The sensor is the facade in front of both: coils,
/// gains and positions are asked of the sensor.
///
/// A record holds eight elements in each of three frames, dewar, head and
/// work, index i being the same physical element in each. Host reads and
/// writes act on the work frame, which `setCoilsHead2work` and
/// `setCoilsDewar2work` load from the other two.
///
/// Hardware-type argument: a value of -1 keeps the stored `hardwareType`,
/// any other value overwrites it at once and without a test, in getters
/// too. With an effective type of 0 or 1 such an operation makes the record
/// on demand; with any other type it does what it can without a record and
/// returns 1.
///
/// Sensor file "MEGSENSORQV", written as version 20200210; versions
/// 20080101, 20091117 and 20140513 are read too. After the frame (the magic
/// in the wide string form, the int32 version), offsets from the body's
/// first byte, B being the first byte behind the three strings:
///
///   20200210  0 geomFlag, 4 backupNo, 8 snsRawName, snsShowName,
///             snsAuxName, B+0 snsFileNo, B+4 sensorType, B+8 snsAuxNo,
///             B+12 four rows of (snsPos4[i], snsOri4[i], locSph[i]),
///             B+108 w12Evaluate, B+112 w12AuxNo, B+116 coefAuxNo,
///             B+120 twelve w12Values, B+216 hardwareType, B+220 record
///             flag (1 when a record follows), B+224 the nested "MSQUIDQV"
///             or "MEGOPMQV" record when the type is 0 or 1 and the flag
///             is not 0.
///   20190201  as 20200210 without geomFlag. Not accepted by
///             `serializeqv`, which reports it as an unknown version.
///   20140513  backupNo, the three strings, snsFileNo, sensorType, the
///             record's gain chain (hardwareNo to auxValue2, with
///             gradAuxNo), snsAuxNo, four rows of (snsPos4[i], snsOri4[i],
///             locSph[i], auxVectorA[i], auxVectorB[i], auxFlags[i]),
///             w12Evaluate, w12AuxNo, coefAuxNo, w12Values, totalCoils,
///             currentCoilID, 24 coil records.
///   20080101  the three strings, backupNo, sensorType, hardwareNo,
///             properGain, secondGain, thirdGain, gainOffset, totalCoils,
///             currentCoilID, gradOrderNo, gradAuxNo, scaleConstant,
///             totalGain, realIdealCoefMode, adaptiveBalance, sensorType
///             again (the second one counts), a reserved double (0.0,
///             skipped on reading), auxValue1, auxValue2, snsAuxNo, the
///             six-column rows, 24 coil records.
///   20091117  as 20080101, then coefAuxNo and w12Values behind the coils.
///
/// The three old versions hold a SQUID channel inline: loading one sets
/// `hardwareType` 0 and reads the record's fields into a SQUID record. The
/// coil records are interleaved by index: dewar, head, work for index 0,
/// then for index 1, and so on. A load takes only what its version holds;
/// every other field keeps its value and nothing is recomputed.
///
/// Ownership of the record. The sensor holds its record in shared
/// ownership: the member-wise copies (the copy constructors and the
/// `operator=` of `CMEGSensor` and `CMEGSensor09File`) share one record,
/// and a change made through one shows through the other; the record goes
/// when its last holder releases it. `CMEGSensorqv::operator=` and
/// `setSensorParameters` give an independent sensor.
#pragma once

#include <fluxgrid/element/BscMagSns.h>
#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/platform/CString.h>
#include <fluxgrid/records/Geom.h>
#include <fluxgrid/sensor/MegGrdBsc.h>
#include <fluxgrid/sensor/MegOpm.h>
#include <fluxgrid/sensor/MegOpmNamePosType.h>
#include <fluxgrid/sensor/MegSquid.h>

#include <memory>

namespace fluxgrid::sensor {

/// Frees a hardware record as the kind it was made as, and remembers that
/// kind, so that a record is never taken for the other kind.
struct HardwareRecordDeleter {
    /// 0 for a `CMegSquidqv`, 1 for a `CMegOpmqv`.
    int hardwareType;
    void operator()(CMegGrdBscqv* record) const;
};

/// A hardware record in shared ownership.
using HardwareRecord = std::shared_ptr<CMegGrdBscqv>;

/// A new record for a hardware type: a `CMegSquidqv` for 0, as constructed
/// and not reset; a `CMegOpmqv` for 1, which is born reset. Null for any
/// other type, or when the memory cannot be had.
HardwareRecord makeHardwareRecord(int hardwareType);

/// The kind a record was made as (0 or 1), or -1 for a null record or one
/// that a host made by other means, which is taken for what the sensor's
/// `hardwareType` says.
int hardwareRecordKind(const HardwareRecord& record);

/// How sensors obtain new records. Returns null when no record can be made.
using HardwareRecordAllocator = HardwareRecord (*)(int hardwareType);

/// Replaces the process-wide way in which sensors obtain new records and
/// returns the previous one; null restores `makeHardwareRecord`. This is the
/// seam through which a host or a test meets a failed allocation.
HardwareRecordAllocator setHardwareRecordAllocator(HardwareRecordAllocator allocator);

/// A new record for a hardware type through the current allocator; null
/// when none can be made.
HardwareRecord allocateHardwareRecord(int hardwareType);

}  // namespace fluxgrid::sensor

class CMEGSensor : public CGeomqv {
  public:
    /// `geomFlag` 1, `hardwareType` -1, no record, `snsAuxName` empty,
    /// `snsFileNo` 0, then `resetSensors`.
    CMEGSensor();
    /// Member-wise: every field, the record shared.
    CMEGSensor(const CMEGSensor&) = default;
    /// Member-wise: every field, the record shared.
    CMEGSensor& operator=(const CMEGSensor&) = default;
    /// `cleanHardwareType`, then the rest.
    ~CMEGSensor();

    // Core.

    /// `backupNo` 0, the names "SnsRaw" and "SnsShow", `sensorType` and
    /// `snsAuxNo` 0, all positions, orientations, `locSph`, the W12 numbers
    /// and values 0; then the record's own reset if there is one.
    /// `snsAuxName`, `snsFileNo`, `hardwareType`, the record and the base
    /// keep their values. Returns 1.
    int resetSensors();
    /// Releases the record (with a type of 0 or 1) and leaves no record and
    /// `hardwareType` -1. Returns 1.
    int cleanHardwareType();
    /// Stores `type` in `sensorType`; with an effective hardware type of 0
    /// or 1, makes the record on demand and sets its gain chain, computing
    /// `totalGain` = proper x second x third. 0 when no record can be made.
    int initSensorInfo(int hwType, int type, int hwNo, int gradOrder, double proper, double second,
                       double third, double gainOffset);
    /// Returns the counter and adds 1 to it.
    int setBackup();
    /// The record when `hardwareType` is 0 or 1 (null if there is none),
    /// else null. A host may cast it to `CMegSquidqv*` or `CMegOpmqv*` by
    /// `hardwareType`.
    CMegGrdBscqv* getBscSns() const;
    /// The work-frame element at `coil`; -1 means the current element. Null
    /// without a record or for an index outside 0 to 7.
    CBscMagSnsqv* getCoil(int coil) const;
    /// As `getCoil` in a frame: 0 work, 1 head, 2 dewar; any other frame
    /// gives null.
    CBscMagSnsqv* getCoilWkHdDw(int frame, int coil) const;
    /// The number of elements in use; -1 without a record.
    int getTotalCoils() const;
    /// The current element; -1 without a record.
    int getCurrentCoilID() const;
    /// Stores `id`, or 0 for a value outside 0 to 7, as the current element
    /// and returns it; -1 without a record.
    int setCurrentCoilID(int id);
    /// The gradient order; 0 without a record.
    int getGradOrderNo() const;
    /// Stores the gradient order and returns the previous one; 0 without a
    /// record.
    int setGradOrderNo(int order);
    /// True without a record.
    bool getRealIdealCoefMode() const;
    /// Stores the mode and returns the previous one as 0 or 1; 1 without a
    /// record.
    int setRealIdealCoefMode(bool mode);
    /// True without a record.
    bool getAdaptiveBalance() const;
    /// Stores the flag and returns the previous one as 0 or 1; 1 without a
    /// record.
    int setAdaptiveBalance(bool on);
    /// A copy of `snsShowName`.
    CString getSensorName() const;
    /// The four values of `locSph`, for the host to read and write.
    double* getLocSphP() { return locSph; }
    const double* getLocSphP() const { return locSph; }
    /// Copies all eight head elements to the work frame and derives their
    /// directions anew; `magApha` is left alone. `coil` only guards: a
    /// value outside 0 to 7 returns 0 and changes nothing.
    int setHeadLocalizationCoil2work(int coil);
    /// Copies all eight head elements to the work frame, derives their
    /// directions and `magApha` anew. Any hardware type other than SQUID
    /// then shows "Sensor hardware type is unknown: SQUID or OPM?", an OPM
    /// sensor after a complete copy. Returns 1.
    int setCoilsHead2work();
    /// As `setCoilsHead2work` from the dewar frame, never with a message.
    int setCoilsDewar2work();

    // Type codes and gain.

    /// The name of `sensorType`, "Unknown" for a code not in the table.
    CString getSensorTypeName() const;
    /// "Circle", "Square" or "Unknown" from the shape code of work element
    /// 0; "None" without a record.
    CString getSensorCoilTypeName() const;
    /// Computes secondGain x properGain x thirdGain into `totalGain` and
    /// returns it; 1.0 without a record.
    double sensorGain();
    /// The stored `totalGain`; 1.0 without a record.
    double getSensorGain() const;
    /// totalGain x neuromagFactor x secondGain x thirdGain, times 0.04 when
    /// `scaled` is not 0; 1.0 without a record.
    double sensorNeuromag2Ctf(int scaled) const;
    /// The sign of a SQUID record's `properGain` as +1.0 or -1.0; 1.0
    /// otherwise, an OPM sensor included.
    double getSnsGainCtf() const;
    /// 1 for an OPM sensor; for a SQUID sensor with two coils, 1 when the
    /// dewar baseline runs along the first coil's orientation (either way),
    /// else 0.
    int isAxialGrad() const;
    /// The dewar baseline of a two-coil SQUID sensor; 0.0 for another count,
    /// 1.0 without a SQUID record.
    double getCoilBaseLine() const;
    int isW12Evaluate() const { return w12Evaluate; }

    // Position and orientation of a work-frame element. -1 as the coil means
    // the current element (except for the normal direction); any index
    // outside 0 to 7 means element 0. The setters make the index they used
    // the current element and derive nothing.

    int setSnsPos(int hwType, int coil, double x, double y, double z);
    int setSnsOrn(int hwType, int coil, double x, double y, double z);
    int getSnsPos(int hwType, int coil, double& x, double& y, double& z);
    int getSnsOrn(int hwType, int coil, double& x, double& y, double& z);
    /// -1 means element 0 here: the current element is not consulted.
    int getSnsNmlDir(int hwType, int coil, double& x, double& y, double& z);

    // Acquisition setup.

    /// Stores both names; with a hardware type of 0 or 1 also the count and
    /// the positions of work elements 0 and 1 (for a SQUID their turns and
    /// areas too). `spare` is not read.
    int initSensorBasic(int hwType, CString rawName, CString showName, int totalCoils,
                        int* const turns, double* const areas, double* const pos0,
                        double* const pos1, double* const spare);
    /// Both names become `param->name`. With a hardware type of 0 or 1 the
    /// position and orientation go to the element at `coil` (0 for an index
    /// outside 0 to 7) of each selected frame; with `toSensor` to the
    /// sensor's own `snsPos4` and `snsOri4`, whatever the hardware type.
    int setAcqSnsParam(int hwType, int coil, MEG_OPM_NAME_POS_TYPE* param, int toDewar, int toHead,
                       int toWork, int toSensor);

    int backupNo;
    CString snsRawName;
    CString snsShowName;
    CString snsAuxName;
    int snsAuxNo;
    int snsFileNo;
    int sensorType;
    /// 0 SQUID, 1 OPM, -1 none; any other value counts as none.
    int hardwareType;
    /// A `CMegSquidqv` when `hardwareType` is 0, a `CMegOpmqv` when it is 1.
    fluxgrid::sensor::HardwareRecord hardware;
    double snsPos4[4];
    double snsOri4[4];
    double locSph[4];
    int w12Evaluate;
    int w12AuxNo;
    int coefAuxNo;
    double w12Values[12];

  protected:
    /// The record as a SQUID record when `hardwareType` is 0 and the record
    /// is one; else null.
    CMegSquidqv* squidRecord() const;
    /// The record as an OPM record when `hardwareType` is 1 and the record
    /// is one; else null.
    CMegOpmqv* opmRecord() const;
    /// The record of either kind when it matches `hardwareType`; else null.
    CMegGrdBscqv* matchingRecord() const;
    /// Applies a hardware-type argument and returns the effective type.
    int applyHardwareType(int hwType);
    /// The record of the effective type (0 or 1), made if there is none.
    /// Null when none can be made, or when the record held is of the other
    /// kind.
    CMegGrdBscqv* recordOnDemand();

  private:
    // The element of a frame (0 work, 1 head, 2 dewar) at a slot already
    // known to lie within 0 to 7.
    CBscMagSnsqv* elementAt(int frame, int slot) const;
    // The current element of the record; -1 without a record.
    int currentElement() const;
    int copyFrameToWork(int frame, bool deriveMagApha);
    // The steps the three vector getters share: the hardware-type argument,
    // the record on demand, the element's index, then x, y and z of `field`.
    // With `minusOneIsCurrent` an index of -1 stands for the current element.
    int getElementVector(int hwType, int coil, bool minusOneIsCurrent,
                         double (CBscMagSns::*field)[4], double& x, double& y, double& z);
};

class CMEGSensor09File : public CMEGSensor {
  public:
    CMEGSensor09File() = default;
    CMEGSensor09File(const CMEGSensor09File&) = default;
    CMEGSensor09File& operator=(const CMEGSensor09File&) = default;

    /// The file entry. Storing writes version 20200210 and returns 1 if the
    /// body succeeded, else 0. Loading accepts 20080101, 20091117, 20140513
    /// and 20200210 and returns the body's result; another magic or version
    /// shows a message box and returns 0 with the sensor unchanged.
    int serializeqv(CArchive& ar);
    /// The body of version 20200210 without the frame, for a host that
    /// embeds a bare sensor body. Loading releases the old record first.
    int serialize20200210(CArchive& ar);

  private:
    int serialize20190201(CArchive& ar);
    int serialize20140513(CArchive& ar);
    int serialize20091117(CArchive& ar);
    int serialize20080101(CArchive& ar);

    // The bodies of 20190201 and 20200210, which differ by geomFlag only.
    int serializeWithRecord(CArchive& ar, bool withGeomFlag);
    // The body that 20080101 and 20091117 share, up to the coil records.
    void serializeInline2008(CArchive& ar, CMegSquidqv& record);
    // The 24 coil records of an old body, results dropped.
    static void serializeInlineCoils(CArchive& ar, CMegSquidqv& record);
    // The old bodies' first step: type 0 and a SQUID record.
    CMegSquidqv* inlineRecord();
};

class CMEGSensorqv : public CMEGSensor09File {
  public:
    CMEGSensorqv() = default;
    /// Member-wise: the record is shared.
    CMEGSensorqv(const CMEGSensorqv&) = default;
    /// The deep copy: `geomFlag` but no other base field, the sensor's own
    /// fields, `hardwareType`, and the source's record assigned into a
    /// record of this sensor (made on demand) through the record's narrow
    /// assignment, so that this sensor's record keeps its own
    /// `hardwareName` and `neuromagFactor`. Without a source record, or
    /// with a type other than 0 or 1, this sensor's record stays as it is.
    CMEGSensorqv& operator=(const CMEGSensorqv& source);
    /// The deep copy from `source`, then the record copy once more. 0 for a
    /// null source, else 1.
    int setSensorParameters(CMEGSensorqv* source);
    /// Runs the OPM setup dialog on this sensor; 1 when it ended with OK.
    int setupSensorOpm();

  private:
    // Copies the source's record into this sensor's, by `hardwareType`.
    void assignRecordFrom(const CMEGSensorqv& source);
};
