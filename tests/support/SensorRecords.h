// Sensor files "MEGSENSORQV" built by hand, field by field, from their
// layout tables: the frame, and the bodies of 20080101 and 20091117, of
// 20140513, and of 20190201 and 20200210. Nothing here calls the library's
// encoders: the bytes come from the ByteBuilder alone, and the objects only
// supply the values. Offsets in the comments count from the body's start;
// B stands behind the three names.
#pragma once

#include <fluxgrid/sensor/MEGSensor.h>

#include "support/ByteBuilder.h"

#include <cstdint>
#include <vector>

namespace fluxgrid::test {

/// The frame: the magic "MEGSENSORQV" in the wide form and the version,
/// 30 bytes.
void appendSensorFrame(ByteBuilder& out, int version);

/// `snsRawName`, `snsShowName` and `snsAuxName` in the wide form.
void appendSensorNames(ByteBuilder& out, const CMEGSensor& s);

/// The four rows of the old bodies, six columns each: the sensor's
/// position, orientation and locSph, and the record's auxVectorA,
/// auxVectorB and auxFlags.
void appendSixColumnRows(ByteBuilder& out, const CMEGSensor& s, const CMegGrdBsc& r);

/// The 24 coil records of an old body, for each index 0 to 7 the dewar,
/// head and work coil, each a coil record of version `coilVersion`.
void appendInlineCoils(ByteBuilder& out, const CMegSquid& r, int coilVersion);

/// The body of 20200210 (with geomFlag) or 20190201 (without) through
/// `hardwareType`.
void appendRecordBodyHead(ByteBuilder& out, const CMEGSensor& s, bool withGeomFlag,
                          int hardwareType);

/// The body of 20200210: the head, the record flag and the nested record's
/// bytes as given.
std::vector<BYTE> sensorBody20200210(const CMEGSensor& s, int hardwareType, int flag,
                                     const std::vector<BYTE>& nested);
/// The body of 20190201, which is that of 20200210 without geomFlag.
std::vector<BYTE> sensorBody20190201(const CMEGSensor& s, int hardwareType, int flag,
                                     const std::vector<BYTE>& nested);

/// The body of 20140513, with coil records of version `coilVersion`.
std::vector<BYTE> sensorBody20140513(const CMEGSensor& s, const CMegSquid& r, int coilVersion);

/// The body of 20080101 or 20091117, with coil records of version
/// `coilVersion`. `firstSensorType` goes into the first of the two
/// occurrences of sensorType, the sensor's own value into the second;
/// `reservedBits` are the bits of the reserved double.
std::vector<BYTE> sensorBody2008(int version, const CMEGSensor& s, const CMegSquid& r,
                                 int coilVersion, int firstSensorType, std::uint64_t reservedBits);

/// The frame of `version` followed by `body`.
std::vector<BYTE> sensorFile(int version, const std::vector<BYTE>& body);

/// The whole file of 20200210 or of 20190201.
std::vector<BYTE> sensorFile20200210(const CMEGSensor& s, int hardwareType, int flag,
                                     const std::vector<BYTE>& nested);
std::vector<BYTE> sensorFile20190201(const CMEGSensor& s, int hardwareType, int flag,
                                     const std::vector<BYTE>& nested);

}  // namespace fluxgrid::test
