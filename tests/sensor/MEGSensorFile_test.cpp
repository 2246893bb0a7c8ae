// The sensor file "MEGSENSORQV": golden bytes of every version built here
// byte by byte from the layout tables, the refused version 20190201, the
// record flag and type rules, migration of the old versions, and a
// truncation sweep.
#include <fluxgrid/sensor/MEGSensor.h>

#include "support/ByteBuilder.h"
#include "support/ElementRecords.h"
#include "support/FieldFill.h"
#include "support/HardwareRecords.h"
#include "support/Harness.h"
#include "support/SensorRecords.h"
#include "support/Truncation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using fluxgrid::sensor::hardwareRecordKind;
using fluxgrid::sensor::makeHardwareRecord;
using fluxgrid::test::appendSensorFrame;
using fluxgrid::test::ByteBuilder;
using fluxgrid::test::loadFromBytes;
using fluxgrid::test::MessageBoxRecorder;
using fluxgrid::test::sensorBody2008;
using fluxgrid::test::sensorBody20140513;
using fluxgrid::test::sensorBody20200210;
using fluxgrid::test::sensorFile;
using fluxgrid::test::sensorFile20190201;
using fluxgrid::test::sensorFile20200210;
using fluxgrid::test::storeToBytes;

constexpr const char* kNotSensorFile = "The opened file is not MEG sensor file or corrupted!";
constexpr const char* kWrongFileFormat = "Wrong file format!!?";
constexpr const char* kNotMegFile = "The opened file is not MEG file or corrupted!";
constexpr std::size_t kFrameSize = 30;

// The sensor's record of a kind; a record of any other kind fails the test
// (the exception is reported by the test runner) instead of being misread.
CMegSquidqv* squidOf(const CMEGSensor& s) {
    if (fluxgrid::sensor::hardwareRecordKind(s.hardware) != 0) {
        throw std::logic_error("the sensor holds no SQUID record");
    }
    return static_cast<CMegSquidqv*>(s.hardware.get());
}

CMegOpmqv* opmOf(const CMEGSensor& s) {
    if (fluxgrid::sensor::hardwareRecordKind(s.hardware) != 1) {
        throw std::logic_error("the sensor holds no OPM record");
    }
    return static_cast<CMegOpmqv*>(s.hardware.get());
}

// ---------------------------------------------------------------------------
// Values.

// Every field of the sensor and its base a distinct value; the type and the
// record stay.
void fillSensor(CMEGSensor& s, int seed) {
    fluxgrid::test::fillSensorFields(s, seed);
}

// Every field of the sensor and its base, the record aside.
void expectSensorFieldsEq(const CMEGSensor& e, const CMEGSensor& a) {
    fluxgrid::test::expectFieldsEq(e, a, fluxgrid::test::FieldScope::all().withoutHardware());
}

// `expected` with the base fields of `loaded` that no file holds (all but
// geomFlag).
void takeUnfiledBase(CMEGSensor& expected, const CMEGSensor& loaded) {
    const int geomFlag = expected.geomFlag;
    static_cast<CGeomqv&>(expected) = loaded;
    expected.geomFlag = geomFlag;
}

// ---------------------------------------------------------------------------
// Golden bytes, field by field from the layout tables (support/SensorRecords).

// The nested coils of the old bodies built here are coil records of the
// newest version; the sample files carry those of their own time.
constexpr int kInlineCoilVersion = 20211230;

std::vector<BYTE> oldFile(int version, const CMEGSensor& s, const CMegSquid& r) {
    if (version == 20140513) {
        return sensorFile(version, sensorBody20140513(s, r, kInlineCoilVersion));
    }
    return sensorFile(version,
                      sensorBody2008(version, s, r, kInlineCoilVersion, s.sensorType + 1, 0));
}

std::int32_t int32At(const std::vector<BYTE>& bytes, std::size_t offset) {
    std::uint32_t v = 0;
    for (int k = 3; k >= 0; --k) {
        v = (v << 8) | bytes.at(offset + k);
    }
    return static_cast<std::int32_t>(v);
}

// Loads `bytes` through the file entry; returns the entry's result and
// records how many bytes it took.
int loadFile(CMEGSensor09File& s, const std::vector<BYTE>& bytes, std::size_t* taken = nullptr) {
    int result = -1;
    const std::size_t used =
        loadFromBytes(bytes, [&](CArchive& ar) { result = s.serializeqv(ar); });
    if (taken != nullptr) {
        *taken = used;
    }
    return result;
}

std::vector<BYTE> storeFile(CMEGSensor09File& s, int* result = nullptr) {
    int r = -1;
    std::vector<BYTE> bytes = storeToBytes([&](CArchive& ar) { r = s.serializeqv(ar); });
    if (result != nullptr) {
        *result = r;
    }
    return bytes;
}

// A sensor with a SQUID record of its own, used as the target of loads, so
// that what a version does not hold shows as what stayed.
void makeUsedSquidSensor(CMEGSensorqv& s) {
    fillSensor(s, 8);
    s.hardwareType = 0;
    s.hardware = makeHardwareRecord(0);
    fluxgrid::test::fillSquid(*squidOf(s), 8);
}

// ---------------------------------------------------------------------------
// The file of a new sensor.

TEST(MEGSensorFile, NewSensorStoresExactlyThreeHundredBytes) {
    ByteBuilder golden;
    golden.u8(0xFF).u8(0xFE).u8(0xFF).u8(0x0B);  // 0: wide tag, length 11
    for (char16_t c : std::u16string(u"MEGSENSORQV")) {
        golden.u16(c);  // 4
    }
    golden.u8(0x12).u8(0x3B).u8(0x34).u8(0x01);  // 26: 20200210
    golden.i32(1);                               // 30: geomFlag
    golden.i32(0);                               // 34: backupNo
    golden.u8(0xFF).u8(0xFE).u8(0xFF).u8(6);     // 38: "SnsRaw"
    for (char16_t c : std::u16string(u"SnsRaw")) {
        golden.u16(c);
    }
    golden.u8(0xFF).u8(0xFE).u8(0xFF).u8(7);  // 54: "SnsShow"
    for (char16_t c : std::u16string(u"SnsShow")) {
        golden.u16(c);
    }
    golden.u8(0xFF).u8(0xFE).u8(0xFF).u8(0);  // 72: empty snsAuxName
    golden.i32(0);                            // 76: snsFileNo
    golden.i32(0);                            // 80: sensorType
    golden.i32(0);                            // 84: snsAuxNo
    for (int k = 0; k < 12; ++k) {
        golden.u64(0);  // 88: rows
    }
    golden.i32(0);  // 184: w12Evaluate
    golden.i32(0);  // 188: w12AuxNo
    golden.i32(0);  // 192: coefAuxNo
    for (int k = 0; k < 12; ++k) {
        golden.u64(0);  // 196: w12Values
    }
    golden.u8(0xFF).u8(0xFF).u8(0xFF).u8(0xFF);  // 292: hardwareType -1
    golden.u8(0).u8(0).u8(0).u8(0);              // 296: no record
    ASSERT_EQ(golden.size(), 300u);

    CMEGSensorqv s;
    int result = -1;
    const std::vector<BYTE> bytes = storeFile(s, &result);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(bytes.size(), 300u);
    EXPECT_BYTES_EQ(golden.bytes(), bytes);
    const std::vector<BYTE> tail(bytes.end() - 8, bytes.end());
    EXPECT_EQ(tail, (std::vector<BYTE>{0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}));
}

TEST(MEGSensorFile, NewSensorFileLoadedIntoASensorWithARecordLeavesNoRecord) {
    CMEGSensorqv fresh;
    const std::vector<BYTE> bytes = storeFile(fresh);
    CMEGSensorqv s;
    makeUsedSquidSensor(s);
    s.geomFlag = 9;
    const std::weak_ptr<CMegGrdBscqv> oldRecord = s.hardware;
    std::size_t taken = 0;
    EXPECT_EQ(loadFile(s, bytes, &taken), 1);
    EXPECT_EQ(taken, 300u);
    EXPECT_EQ(s.hardware, nullptr);
    EXPECT_EQ(s.hardwareType, -1);
    EXPECT_EQ(s.geomFlag, 1);
    EXPECT_TRUE(oldRecord.expired());
    EXPECT_EQ(s.snsShowName, "SnsShow");
    EXPECT_TRUE(s.snsAuxName.IsEmpty());
}

// ---------------------------------------------------------------------------
// Version 20200210.

TEST(MEGSensorFile, Golden20200210WithoutRecordLoadsAndStoresByteForByte) {
    CMEGSensorqv source;
    fillSensor(source, 1);
    const std::vector<BYTE> golden = sensorFile20200210(source, -1, 0, {});
    CMEGSensorqv s;
    makeUsedSquidSensor(s);
    std::size_t taken = 0;
    EXPECT_EQ(loadFile(s, golden, &taken), 1);
    EXPECT_EQ(taken, golden.size());
    CMEGSensorqv expected;
    fillSensor(expected, 1);
    takeUnfiledBase(expected, s);  // base words other than geomFlag are not filed
    expected.hardwareType = -1;
    expectSensorFieldsEq(expected, s);
    EXPECT_EQ(s.hardware, nullptr);
    int result = -1;
    EXPECT_BYTES_EQ(golden, storeFile(s, &result));
    EXPECT_EQ(result, 1);
}

TEST(MEGSensorFile, Golden20200210WithSquidRecordLoadsAndStoresByteForByte) {
    CMEGSensorqv source;
    fillSensor(source, 2);
    CMegSquidqv record;
    fluxgrid::test::fillSquid(record, 2);
    const std::vector<BYTE> golden =
        sensorFile20200210(source, 0, 1, fluxgrid::test::squidRecord20190201(record));

    MessageBoxRecorder boxes;
    CMEGSensorqv s;
    std::size_t taken = 0;
    EXPECT_EQ(loadFile(s, golden, &taken), 1);
    EXPECT_EQ(taken, golden.size());
    EXPECT_TRUE(boxes.texts().empty());
    EXPECT_EQ(s.hardwareType, 0);
    ASSERT_NE(s.getBscSns(), nullptr);
    EXPECT_EQ(hardwareRecordKind(s.hardware), 0);
    fluxgrid::test::expectSquidFiledFieldsEq(record, *squidOf(s));
    EXPECT_TRUE(squidOf(s)->hardwareName.IsEmpty());
    EXPECT_EQ(s.getTotalCoils(), 3);
    EXPECT_EQ(s.getCurrentCoilID(), 2);
    EXPECT_EQ(s.geomFlag, source.geomFlag);
    EXPECT_EQ(s.snsFileNo, source.snsFileNo);
    EXPECT_BITS_EQ(source.w12Values[11], s.w12Values[11]);

    int result = -1;
    EXPECT_BYTES_EQ(golden, storeFile(s, &result));
    EXPECT_EQ(result, 1);
}

TEST(MEGSensorFile, Golden20200210WithOpmRecordLoadsAndStoresByteForByte) {
    CMEGSensorqv source;
    fillSensor(source, 3);
    CMegOpmqv record;
    fluxgrid::test::fillOpm(record, 3);
    const std::vector<BYTE> golden =
        sensorFile20200210(source, 1, 1, fluxgrid::test::opmRecord20190201(record));

    MessageBoxRecorder boxes;
    CMEGSensorqv s;
    makeUsedSquidSensor(s);
    EXPECT_EQ(loadFile(s, golden), 1);
    EXPECT_TRUE(boxes.texts().empty());
    EXPECT_EQ(s.hardwareType, 1);
    ASSERT_NE(s.getBscSns(), nullptr);
    EXPECT_EQ(hardwareRecordKind(s.hardware), 1);
    fluxgrid::test::expectOpmFiledFieldsEq(record, *opmOf(s));
    EXPECT_EQ(s.getTotalCoils(), 5);
    EXPECT_EQ(s.snsShowName, source.snsShowName);

    int result = -1;
    EXPECT_BYTES_EQ(golden, storeFile(s, &result));
    EXPECT_EQ(result, 1);
}

TEST(MEGSensorFile, BareBody20200210IsThePublicBodyWithoutTheFrame) {
    CMEGSensorqv source;
    fillSensor(source, 4);
    CMegSquidqv record;
    fluxgrid::test::fillSquid(record, 4);
    const std::vector<BYTE> body =
        sensorBody20200210(source, 0, 1, fluxgrid::test::squidRecord20190201(record));
    CMEGSensorqv s;
    int result = -1;
    const std::size_t taken =
        loadFromBytes(body, [&](CArchive& ar) { result = s.serialize20200210(ar); });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(taken, body.size());
    fluxgrid::test::expectSquidFiledFieldsEq(record, *squidOf(s));
    result = -1;
    EXPECT_BYTES_EQ(body, storeToBytes([&](CArchive& ar) { result = s.serialize20200210(ar); }));
    EXPECT_EQ(result, 1);
}

TEST(MEGSensorFile, TypeSevenWithFlagOneLoadsWithoutReadingBehindTheFlag) {
    CMEGSensorqv source;
    fillSensor(source, 5);
    std::vector<BYTE> bytes = sensorFile20200210(source, 7, 1, {});
    const std::size_t fileEnd = bytes.size();
    bytes.push_back(0xAB);  // what follows the flag is not read
    bytes.push_back(0xCD);
    MessageBoxRecorder boxes;
    CMEGSensorqv s;
    std::size_t taken = 0;
    EXPECT_EQ(loadFile(s, bytes, &taken), 1);
    EXPECT_EQ(taken, fileEnd);
    EXPECT_EQ(s.hardwareType, 7);
    EXPECT_EQ(s.hardware, nullptr);
    EXPECT_TRUE(boxes.texts().empty());
}

TEST(MEGSensorFile, TypeOneWithFlagZeroGivesAnOpmSensorWithoutRecord) {
    CMEGSensorqv source;
    fillSensor(source, 6);
    CMEGSensorqv s;
    makeUsedSquidSensor(s);
    EXPECT_EQ(loadFile(s, sensorFile20200210(source, 1, 0, {})), 1);
    EXPECT_EQ(s.hardwareType, 1);
    EXPECT_EQ(s.hardware, nullptr);
    EXPECT_EQ(s.getTotalCoils(), -1);
    EXPECT_EQ(s.getBscSns(), nullptr);
}

TEST(MEGSensorFile, TypeZeroWithFlagTwoReadsANestedSquidRecord) {
    CMEGSensorqv source;
    fillSensor(source, 7);
    CMegSquidqv record;
    fluxgrid::test::fillSquid(record, 7);
    const std::vector<BYTE> bytes =
        sensorFile20200210(source, 0, 2, fluxgrid::test::squidRecord20190201(record));
    CMEGSensorqv s;
    std::size_t taken = 0;
    EXPECT_EQ(loadFile(s, bytes, &taken), 1);
    EXPECT_EQ(taken, bytes.size());
    ASSERT_NE(s.getBscSns(), nullptr);
    fluxgrid::test::expectSquidFiledFieldsEq(record, *squidOf(s));
    // Stored again, the flag is written as 1.
    const std::vector<BYTE> stored = storeFile(s);
    EXPECT_BYTES_EQ(sensorFile20200210(source, 0, 1, fluxgrid::test::squidRecord20190201(record)),
                    stored);
}

TEST(MEGSensorFile, CountsOutOfRangeFromAFileNeverReachPastTheEightSlots) {
    CMEGSensorqv source;
    fillSensor(source, 4);
    CMegOpmqv opm;
    fluxgrid::test::fillOpm(opm, 4);
    opm.totalVapors = 12;
    opm.currentVaporID = 100;
    CMegSquidqv squid;
    fluxgrid::test::fillSquid(squid, 4);
    squid.totalCoils = 9;
    squid.currentCoilID = 100;

    CMEGSensorqv o;
    ASSERT_EQ(loadFile(o, sensorFile20200210(source, 1, 1, fluxgrid::test::opmRecord20190201(opm))),
              1);
    EXPECT_EQ(o.getTotalCoils(), 12);
    EXPECT_EQ(o.getCurrentCoilID(), 100);
    EXPECT_EQ(o.getCoil(-1), nullptr);
    double x = 0, y = 0, z = 0;
    EXPECT_EQ(o.getSnsPos(-1, -1, x, y, z), 1);
    EXPECT_BITS_EQ(opm.vaporWork[0].posP4[0], x);
    EXPECT_EQ(o.setSnsOrn(-1, -1, 0.0, 0.0, 1.0), 1);
    EXPECT_EQ(o.getCurrentCoilID(), 0);
    EXPECT_EQ(o.setCoilsDewar2work(), 1);

    CMEGSensorqv q;
    ASSERT_EQ(
        loadFile(q, sensorFile20200210(source, 0, 1, fluxgrid::test::squidRecord20190201(squid))),
        1);
    EXPECT_EQ(q.getTotalCoils(), 9);
    EXPECT_EQ(q.getCoilWkHdDw(2, -1), nullptr);
    EXPECT_EQ(q.isAxialGrad(), 0);
    EXPECT_BITS_EQ(0.0, q.getCoilBaseLine());
    EXPECT_EQ(q.setHeadLocalizationCoil2work(7), 1);
    EXPECT_EQ(q.setCurrentCoilID(100), 0);
}

TEST(MEGSensorFile, StoreOfSquidTypeWithoutRecordWritesFlagZeroAndReturnsOne) {
    for (int type : {0, 1, 5}) {
        SCOPED_TRACE("type " + std::to_string(type));
        CMEGSensorqv s;
        fillSensor(s, 1);
        s.hardwareType = type;
        int result = -1;
        const std::vector<BYTE> bytes = storeFile(s, &result);
        EXPECT_EQ(result, 1);
        EXPECT_BYTES_EQ(sensorFile20200210(s, type, 0, {}), bytes);
    }
}

TEST(MEGSensorFile, StoreOfAnUnknownTypeWithARecordLeftBehindWritesFlagZero) {
    CMEGSensorqv s;
    makeUsedSquidSensor(s);
    s.hardwareType = 5;
    int result = -1;
    const std::vector<BYTE> bytes = storeFile(s, &result);
    EXPECT_EQ(result, 1);
    EXPECT_BYTES_EQ(sensorFile20200210(s, 5, 0, {}), bytes);
    EXPECT_NE(s.hardware, nullptr);
}

TEST(MEGSensorFile, NestedRecordOfTheWrongMagicIsRefusedAndTheRecordStays) {
    CMEGSensorqv source;
    fillSensor(source, 2);
    CMegOpmqv opm;
    fluxgrid::test::fillOpm(opm, 2);
    // Type 0 announces a SQUID record, and an OPM record follows.
    const std::vector<BYTE> bytes =
        sensorFile20200210(source, 0, 1, fluxgrid::test::opmRecord20190201(opm));
    MessageBoxRecorder boxes;
    CMEGSensorqv s;
    EXPECT_EQ(loadFile(s, bytes), 0);
    EXPECT_EQ(boxes.texts(), std::vector<std::string>{kNotMegFile});
    EXPECT_EQ(s.hardwareType, 0);
    ASSERT_NE(s.getBscSns(), nullptr);
    EXPECT_EQ(hardwareRecordKind(s.hardware), 0);
    EXPECT_EQ(s.snsShowName, source.snsShowName);
}

TEST(MEGSensorFile, NestedRecordOfAnotherVersionIsRefusedWithTheRecordsOwnWords) {
    CMEGSensorqv source;
    fillSensor(source, 2);
    ByteBuilder nested;
    nested.wide(u"MEGOPMQV").i32(20190202);
    MessageBoxRecorder boxes;
    CMEGSensorqv s;
    EXPECT_EQ(loadFile(s, sensorFile20200210(source, 1, 1, nested.bytes())), 0);
    EXPECT_EQ(boxes.texts(), std::vector<std::string>{"Wrong MSQUID file format!!?"});
    EXPECT_EQ(s.hardwareType, 1);
    EXPECT_NE(s.getBscSns(), nullptr);
}

TEST(MEGSensorFile, FailedAllocationOfTheNestedRecordReturnsZeroWithTheTypeAsRead) {
    CMEGSensorqv source;
    fillSensor(source, 3);
    CMegOpmqv opm;
    fluxgrid::test::fillOpm(opm, 3);
    const std::vector<BYTE> bytes =
        sensorFile20200210(source, 1, 1, fluxgrid::test::opmRecord20190201(opm));
    CMEGSensorqv s;
    makeUsedSquidSensor(s);
    const auto previous = fluxgrid::sensor::setHardwareRecordAllocator(
        [](int) { return fluxgrid::sensor::HardwareRecord(); });
    const int result = loadFile(s, bytes);
    fluxgrid::sensor::setHardwareRecordAllocator(previous);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(s.hardwareType, 1);
    EXPECT_EQ(s.hardware, nullptr);
}

TEST(MEGSensorFile, LoadReleasesTheOldRecordBeforeTheFirstByteOfTheBody) {
    ByteBuilder bytes;
    appendSensorFrame(bytes, 20200210);
    bytes.i32(3);  // geomFlag, then the file ends
    CMEGSensorqv s;
    makeUsedSquidSensor(s);
    s.geomFlag = 44;
    EXPECT_THROW(loadFile(s, bytes.bytes()), CArchiveException);
    EXPECT_EQ(s.hardware, nullptr);
    EXPECT_EQ(s.hardwareType, -1);
    EXPECT_EQ(s.geomFlag, 3);
}

// ---------------------------------------------------------------------------
// Wrong files.

TEST(MEGSensorFile, WrongMagicIsRefusedWithTheSensorUnchanged) {
    ByteBuilder bytes;
    bytes.wide(u"MEGSENSORQv").i32(20200210);
    CMEGSensorqv s;
    makeUsedSquidSensor(s);
    CMegGrdBscqv* const before = s.hardware.get();
    MessageBoxRecorder boxes;
    std::size_t taken = 0;
    EXPECT_EQ(loadFile(s, bytes.bytes(), &taken), 0);
    EXPECT_EQ(taken, 26u);
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text, kNotSensorFile);
    EXPECT_EQ(boxes.boxes()[0].type, MB_OK);
    EXPECT_EQ(s.hardware.get(), before);
    CMEGSensorqv expected;
    makeUsedSquidSensor(expected);
    expectSensorFieldsEq(expected, s);
}

TEST(MEGSensorFile, UnknownVersionIsRefusedWithZeroAndTheSensorUnchanged) {
    for (int version : {20211231, 20080102, 0, -1}) {
        SCOPED_TRACE("version " + std::to_string(version));
        ByteBuilder bytes;
        appendSensorFrame(bytes, version);
        bytes.i32(1).i32(2).i32(3);
        CMEGSensorqv s;
        makeUsedSquidSensor(s);
        CMegGrdBscqv* const before = s.hardware.get();
        MessageBoxRecorder boxes;
        std::size_t taken = 0;
        EXPECT_EQ(loadFile(s, bytes.bytes(), &taken), 0);
        EXPECT_EQ(taken, kFrameSize);
        EXPECT_EQ(boxes.texts(), std::vector<std::string>{kWrongFileFormat});
        EXPECT_EQ(s.hardware.get(), before);
        CMEGSensorqv expected;
        makeUsedSquidSensor(expected);
        expectSensorFieldsEq(expected, s);
    }
}

TEST(MEGSensorFile, Version20190201IsRefusedAndTheSensorKeepsItsRecord) {
    CMEGSensorqv source;
    fillSensor(source, 4);
    CMegOpmqv opm;
    fluxgrid::test::fillOpm(opm, 4);
    const std::vector<BYTE> bytes =
        sensorFile20190201(source, 1, 1, fluxgrid::test::opmRecord20190201(opm));
    CMEGSensorqv s;
    makeUsedSquidSensor(s);
    CMegGrdBscqv* const before = s.hardware.get();
    MessageBoxRecorder boxes;
    std::size_t taken = 0;
    EXPECT_EQ(loadFile(s, bytes, &taken), 0);
    EXPECT_EQ(taken, kFrameSize);
    EXPECT_EQ(boxes.texts(), std::vector<std::string>{kWrongFileFormat});
    EXPECT_EQ(s.hardware.get(), before);
    EXPECT_EQ(s.hardwareType, 0);
    CMEGSensorqv expected;
    makeUsedSquidSensor(expected);
    expectSensorFieldsEq(expected, s);
    fluxgrid::test::expectSquidFiledFieldsEq(*squidOf(expected), *squidOf(s));
}

// ---------------------------------------------------------------------------
// The old versions.

// What a sensor holds after a load of an old version over `before`: the
// fields of the version from `file`, all others as they were.
void expectOldVersionLoaded(int version, const CMEGSensor& file, const CMegSquid& fileRecord,
                            const CMEGSensor& before, const CMegSquid& recordBefore,
                            const CMEGSensor& loaded) {
    CMEGSensorqv expected;
    static_cast<CMEGSensor&>(expected) = before;
    expected.backupNo = file.backupNo;
    expected.snsRawName = file.snsRawName;
    expected.snsShowName = file.snsShowName;
    expected.snsAuxName = file.snsAuxName;
    expected.sensorType = file.sensorType;
    expected.snsAuxNo = file.snsAuxNo;
    for (int i = 0; i < 4; ++i) {
        expected.snsPos4[i] = file.snsPos4[i];
        expected.snsOri4[i] = file.snsOri4[i];
        expected.locSph[i] = file.locSph[i];
    }
    if (version == 20140513) {
        expected.snsFileNo = file.snsFileNo;
        expected.w12Evaluate = file.w12Evaluate;
        expected.w12AuxNo = file.w12AuxNo;
    }
    if (version != 20080101) {
        expected.coefAuxNo = file.coefAuxNo;
        std::copy(std::begin(file.w12Values), std::end(file.w12Values), expected.w12Values);
    }
    expected.hardwareType = 0;
    expectSensorFieldsEq(expected, loaded);

    const CMegSquidqv& r = *squidOf(loaded);
    CMegSquidqv expectedRecord;
    static_cast<CMegSquid&>(expectedRecord) = fileRecord;
    // Never in an inline record: squidAuxNo and hardwareName; neuromagFactor
    // only from 20140513 on.
    expectedRecord.squidAuxNo = recordBefore.squidAuxNo;
    expectedRecord.hardwareName = recordBefore.hardwareName;
    if (version != 20140513) {
        expectedRecord.neuromagFactor = recordBefore.neuromagFactor;
    }
    fluxgrid::test::expectSquidFiledFieldsEq(expectedRecord, r);
    EXPECT_EQ(r.hardwareName, recordBefore.hardwareName);
}

class OldVersion : public ::testing::TestWithParam<int> {};

TEST_P(OldVersion, GoldenLoadsEveryFieldWhereTheTableSaysOverAUsedSensor) {
    const int version = GetParam();
    CMEGSensorqv file;
    fillSensor(file, 1);
    CMegSquidqv fileRecord;
    fluxgrid::test::fillSquid(fileRecord, 1);
    const std::vector<BYTE> bytes = oldFile(version, file, fileRecord);

    CMEGSensorqv s;
    makeUsedSquidSensor(s);
    CMEGSensorqv before;
    makeUsedSquidSensor(before);
    CMegGrdBscqv* const record = s.hardware.get();
    MessageBoxRecorder boxes;
    std::size_t taken = 0;
    EXPECT_EQ(loadFile(s, bytes, &taken), 1);
    EXPECT_EQ(taken, bytes.size());
    EXPECT_TRUE(boxes.texts().empty());
    // The record held is read over, not replaced.
    EXPECT_EQ(s.hardware.get(), record);
    expectOldVersionLoaded(version, file, fileRecord, before, *squidOf(before), s);
}

TEST_P(OldVersion, AlwaysGivesASquidSensor) {
    CMEGSensorqv file;
    fillSensor(file, 2);
    CMegSquidqv fileRecord;
    fluxgrid::test::fillSquid(fileRecord, 2);
    CMEGSensorqv s;
    s.hardwareType = 7;
    EXPECT_EQ(loadFile(s, oldFile(GetParam(), file, fileRecord)), 1);
    EXPECT_EQ(s.hardwareType, 0);
    ASSERT_NE(s.getBscSns(), nullptr);
    EXPECT_EQ(hardwareRecordKind(s.hardware), 0);
}

TEST_P(OldVersion, MigratesToTheNewestVersionOnTheNextStore) {
    const int version = GetParam();
    CMEGSensorqv file;
    fillSensor(file, 3);
    CMegSquidqv fileRecord;
    fluxgrid::test::fillSquid(fileRecord, 3);
    CMEGSensorqv s;
    ASSERT_EQ(loadFile(s, oldFile(version, file, fileRecord)), 1);
    int result = -1;
    const std::vector<BYTE> stored = storeFile(s, &result);
    EXPECT_EQ(result, 1);

    // What the new sensor should now hold: the version's fields, and the
    // defaults of a new sensor and a new, not reset, SQUID record for the
    // rest.
    CMEGSensorqv expected;
    expected.backupNo = file.backupNo;
    expected.snsRawName = file.snsRawName;
    expected.snsShowName = file.snsShowName;
    expected.snsAuxName = file.snsAuxName;
    expected.sensorType = file.sensorType;
    expected.snsAuxNo = file.snsAuxNo;
    for (int i = 0; i < 4; ++i) {
        expected.snsPos4[i] = file.snsPos4[i];
        expected.snsOri4[i] = file.snsOri4[i];
        expected.locSph[i] = file.locSph[i];
    }
    expected.geomFlag = 1;
    expected.snsFileNo = version == 20140513 ? file.snsFileNo : 0;
    expected.w12Evaluate = version == 20140513 ? file.w12Evaluate : 0;
    expected.w12AuxNo = version == 20140513 ? file.w12AuxNo : 0;
    expected.coefAuxNo = version == 20080101 ? 0 : file.coefAuxNo;
    for (int i = 0; i < 12; ++i) {
        expected.w12Values[i] = version == 20080101 ? 0.0 : file.w12Values[i];
    }
    CMegSquidqv expectedRecord;
    static_cast<CMegSquid&>(expectedRecord) = fileRecord;
    expectedRecord.squidAuxNo = 0;
    if (version != 20140513) {
        expectedRecord.neuromagFactor = 0.0;
    }
    const std::vector<BYTE> golden =
        sensorFile20200210(expected, 0, 1, fluxgrid::test::squidRecord20190201(expectedRecord));
    EXPECT_BYTES_EQ(golden, stored);

    // The points of the migration, read straight from the bytes.
    const std::size_t b = kFrameSize + 8 + (4 + 2 * file.snsRawName.GetLength()) +
                          (4 + 2 * file.snsShowName.GetLength()) +
                          (4 + 2 * file.snsAuxName.GetLength());
    EXPECT_EQ(int32At(stored, 26), 20200210);
    EXPECT_EQ(int32At(stored, kFrameSize), 1);           // geomFlag
    EXPECT_EQ(int32At(stored, b + 216), 0);              // hardwareType
    EXPECT_EQ(int32At(stored, b + 220), 1);              // record flag
    EXPECT_EQ(int32At(stored, b + 224 + 20), 20190201);  // nested version
    EXPECT_EQ(int32At(stored, b + 224 + 194), 3);        // totalCoils
    EXPECT_EQ(int32At(stored, b + 224 + 198), 2);        // currentCoilID

    // And read back: the same counts and the 24 coils.
    CMEGSensorqv reread;
    ASSERT_EQ(loadFile(reread, stored), 1);
    EXPECT_EQ(reread.getTotalCoils(), 3);
    EXPECT_EQ(reread.getCurrentCoilID(), 2);
    for (int i = 0; i < 8; ++i) {
        SCOPED_TRACE("slot " + std::to_string(i));
        fluxgrid::test::expectCoilFiledFieldsEq(fileRecord.coilDewar[i],
                                                squidOf(reread)->coilDewar[i]);
        fluxgrid::test::expectCoilFiledFieldsEq(fileRecord.coilHead[i],
                                                squidOf(reread)->coilHead[i]);
        fluxgrid::test::expectCoilFiledFieldsEq(fileRecord.coilWork[i],
                                                squidOf(reread)->coilWork[i]);
    }
}

TEST_P(OldVersion, FailedAllocationReturnsZeroBeforeReadingWithTypeZero) {
    CMEGSensorqv file;
    fillSensor(file, 2);
    CMegSquidqv fileRecord;
    fluxgrid::test::fillSquid(fileRecord, 2);
    const std::vector<BYTE> bytes = oldFile(GetParam(), file, fileRecord);
    CMEGSensorqv s;
    const auto previous = fluxgrid::sensor::setHardwareRecordAllocator(
        [](int) { return fluxgrid::sensor::HardwareRecord(); });
    std::size_t taken = 0;
    const int result = loadFile(s, bytes, &taken);
    fluxgrid::sensor::setHardwareRecordAllocator(previous);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(taken, kFrameSize);
    EXPECT_EQ(s.hardwareType, 0);
    EXPECT_EQ(s.hardware, nullptr);
    EXPECT_EQ(s.snsShowName, "SnsShow");
}

INSTANTIATE_TEST_SUITE_P(AcceptedOldVersions, OldVersion,
                         ::testing::Values(20080101, 20091117, 20140513),
                         [](const ::testing::TestParamInfo<int>& info) {
                             return "V" + std::to_string(info.param);
                         });

TEST(MEGSensorFile, Version20080101TheSecondSensorTypeWins) {
    CMEGSensorqv file;
    fillSensor(file, 5);
    file.sensorType = 100;
    CMegSquidqv fileRecord;
    fluxgrid::test::fillSquid(fileRecord, 5);
    const std::vector<BYTE> bytes = sensorFile(
        20080101, sensorBody2008(20080101, file, fileRecord, kInlineCoilVersion, 302, 0));
    CMEGSensorqv s;
    EXPECT_EQ(loadFile(s, bytes), 1);
    EXPECT_EQ(s.sensorType, 100);
    EXPECT_EQ(s.getSensorTypeName(), "MEG_SNSR");
    EXPECT_EQ(s.hardwareType, 0);
}

TEST(MEGSensorFile, Version20080101ReservedDoubleOfAnyBitsHasNoEffect) {
    CMEGSensorqv file;
    fillSensor(file, 6);
    CMegSquidqv fileRecord;
    fluxgrid::test::fillSquid(fileRecord, 6);
    CMEGSensorqv reference;
    ASSERT_EQ(loadFile(reference, sensorFile(20080101, sensorBody2008(20080101, file, fileRecord,
                                                                      kInlineCoilVersion, 1, 0))),
              1);
    const std::vector<BYTE> referenceStore = storeFile(reference);
    for (std::uint64_t bits : {0x7FF8000000000123ull, 0x7FF0000000000000ull, 0xFFFFFFFFFFFFFFFFull,
                               0x3FF0000000000000ull, 0x8000000000000000ull}) {
        SCOPED_TRACE("reserved bits " + std::to_string(bits));
        CMEGSensorqv s;
        std::size_t taken = 0;
        const std::vector<BYTE> bytes = sensorFile(
            20080101, sensorBody2008(20080101, file, fileRecord, kInlineCoilVersion, 1, bits));
        EXPECT_EQ(loadFile(s, bytes, &taken), 1);
        EXPECT_EQ(taken, bytes.size());
        EXPECT_BYTES_EQ(referenceStore, storeFile(s));
    }
}

TEST(MEGSensorFile, Version20091117IntoANewSensorLeavesW12EvaluateAndTakesTheTailFields) {
    CMEGSensorqv file;
    fillSensor(file, 7);
    CMegSquidqv fileRecord;
    fluxgrid::test::fillSquid(fileRecord, 7);
    CMEGSensorqv s;
    EXPECT_EQ(loadFile(s, oldFile(20091117, file, fileRecord)), 1);
    EXPECT_EQ(s.w12Evaluate, 0);
    EXPECT_EQ(s.w12AuxNo, 0);
    EXPECT_EQ(s.snsFileNo, 0);
    EXPECT_EQ(s.geomFlag, 1);
    EXPECT_EQ(s.coefAuxNo, file.coefAuxNo);
    for (int i = 0; i < 12; ++i) {
        EXPECT_BITS_EQ(file.w12Values[i], s.w12Values[i]);
    }
}

TEST(MEGSensorFile, Version20140513IntoANewSensorStoresTheSameRecordWithGeomFlagOne) {
    CMEGSensorqv file;
    fillSensor(file, 8);
    CMegSquidqv fileRecord;
    fluxgrid::test::fillSquid(fileRecord, 8);
    fileRecord.totalCoils = 2;
    fileRecord.currentCoilID = 1;
    CMEGSensorqv s;
    ASSERT_EQ(loadFile(s, oldFile(20140513, file, fileRecord)), 1);
    const std::vector<BYTE> stored = storeFile(s);
    CMEGSensorqv reread;
    ASSERT_EQ(loadFile(reread, stored), 1);
    EXPECT_EQ(reread.geomFlag, 1);
    EXPECT_EQ(reread.hardwareType, 0);
    EXPECT_EQ(reread.getTotalCoils(), 2);
    EXPECT_EQ(reread.getCurrentCoilID(), 1);
    CMegSquidqv expectedRecord;
    static_cast<CMegSquid&>(expectedRecord) = fileRecord;
    expectedRecord.squidAuxNo = 0;
    fluxgrid::test::expectSquidFiledFieldsEq(expectedRecord, *squidOf(reread));
}

TEST(MEGSensorFile, CoilRecordRefusedInsideAnOldBodyShowsItsBoxAndReadingGoesOn) {
    CMEGSensorqv file;
    fillSensor(file, 1);
    CMegSquidqv fileRecord;
    fluxgrid::test::fillSquid(fileRecord, 1);
    // A 20091117 body whose last coil record carries an unknown version: the
    // coil entry shows its box, and the body reads its two tail fields from
    // where the stream stands, inside that coil's body.
    std::vector<BYTE> bytes = oldFile(20091117, file, fileRecord);
    const CMagCoilqv& last = fileRecord.coilWork[7];
    const std::size_t lastCoilSize = 970 + 4 + 2 * last.coilName.GetLength();
    const std::size_t lastCoil = bytes.size() - 100 - lastCoilSize;
    ASSERT_EQ(int32At(bytes, lastCoil + 22), 20211230);
    bytes[lastCoil + 22] = 0x1F;  // 20211231
    MessageBoxRecorder boxes;
    CMEGSensorqv s;
    std::size_t taken = 0;
    EXPECT_EQ(loadFile(s, bytes, &taken), 1);
    EXPECT_EQ(boxes.texts(), std::vector<std::string>{kWrongFileFormat});
    EXPECT_EQ(taken, lastCoil + 26 + 100);
    // coefAuxNo and the first two w12Values land on the coil's first fields.
    EXPECT_EQ(s.coefAuxNo, last.coilAuxNo);
    EXPECT_BITS_EQ(last.coilAuxValue, s.w12Values[0]);
    EXPECT_BITS_EQ(last.coilArea, s.w12Values[1]);
    EXPECT_EQ(s.getTotalCoils(), 3);
}

// ---------------------------------------------------------------------------
// Streams that end early or deliver bytes in pieces.

TEST(MEGSensorFile, EveryShorterPrefixOfAFileWithANestedRecordRaisesEndOfFile) {
    CMEGSensorqv source;
    fillSensor(source, 9);
    CMegSquidqv record;
    fluxgrid::test::fillSquid(record, 9);
    const std::vector<BYTE> bytes =
        sensorFile20200210(source, 0, 1, fluxgrid::test::squidRecord20190201(record));
    const std::size_t recordStart =
        bytes.size() - fluxgrid::test::squidRecord20190201(record).size();

    MessageBoxRecorder boxes;
    // The sensor outlives each load, so that what it holds after the
    // exception can be looked at.
    std::unique_ptr<CMEGSensorqv> s;
    const CMegGrdBscqv* old = nullptr;
    const auto load = [&](CArchive& ar) {
        s = std::make_unique<CMEGSensorqv>();
        s->hardwareType = 1;
        s->hardware = makeHardwareRecord(1);
        old = s->hardware.get();
        s->serializeqv(ar);
    };
    // Before the body the sensor is untouched; inside it the old record is
    // gone, and a new one stands once the flag has been read.
    const auto afterEach = [&](std::size_t n) {
        if (n < kFrameSize) {
            EXPECT_EQ(s->hardware.get(), old) << n;
        } else if (n < recordStart) {
            EXPECT_EQ(s->hardware, nullptr) << n;
        } else {
            EXPECT_EQ(hardwareRecordKind(s->hardware), 0) << n;
        }
    };
    fluxgrid::test::expectEveryTruncationRaisesEndOfFile(bytes, load, {.afterEach = afterEach});
    EXPECT_TRUE(boxes.texts().empty());
}

TEST(MEGSensorFile, FileDeliveredInSmallPiecesLoadsTheSame) {
    CMEGSensorqv source;
    fillSensor(source, 3);
    CMegOpmqv record;
    fluxgrid::test::fillOpm(record, 3);
    const std::vector<BYTE> golden =
        sensorFile20200210(source, 1, 1, fluxgrid::test::opmRecord20190201(record));
    for (UINT piece : {1u, 3u, 7u, 4096u}) {
        SCOPED_TRACE("piece " + std::to_string(piece));
        fluxgrid::test::TrickleFile file(golden, piece);
        CMEGSensorqv s;
        int result = -1;
        {
            CArchive ar(&file, CArchive::load);
            result = s.serializeqv(ar);
        }
        EXPECT_EQ(result, 1);
        EXPECT_EQ(file.GetPosition(), golden.size());
        fluxgrid::test::expectOpmFiledFieldsEq(record, *opmOf(s));
        EXPECT_BYTES_EQ(golden, storeFile(s));
    }
}

TEST(MEGSensorFile, NarrowNamesAreReadAndStoredWide) {
    CMEGSensorqv source;
    fillSensor(source, 1);
    source.snsRawName = CString("R1");
    source.snsShowName = CString("S1");
    source.snsAuxName = CString("");
    ByteBuilder narrow;
    appendSensorFrame(narrow, 20200210);
    narrow.i32(source.geomFlag).i32(source.backupNo);
    narrow.narrow("R1").narrow("S1").narrow("");
    const std::vector<BYTE> wide = sensorFile20200210(source, -1, 0, {});
    // The rest of the body as in the wide file.
    const std::size_t wideRest = kFrameSize + 8 + 8 + 8 + 4;
    narrow.raw(std::vector<BYTE>(wide.begin() + wideRest, wide.end()));
    CMEGSensorqv s;
    EXPECT_EQ(loadFile(s, narrow.bytes()), 1);
    EXPECT_EQ(s.snsRawName, "R1");
    EXPECT_EQ(s.snsShowName, "S1");
    EXPECT_BYTES_EQ(wide, storeFile(s));
}

}  // namespace
