// The SQUID record "MSQUIDQV": what it does unlike the OPM record. What
// both records do alike is tested over both in HardwareRecord_test.cpp.
#include <fluxgrid/sensor/MegSquid.h>

#include "support/ByteBuilder.h"
#include "support/ElementRecords.h"
#include "support/HardwareRecords.h"
#include "support/Harness.h"

#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace {

using fluxgrid::test::appendCoilRecord20211230;
using fluxgrid::test::ByteBuilder;
using fluxgrid::test::expectBlockFiledFieldsEq;
using fluxgrid::test::expectCoilFiledFieldsEq;
using fluxgrid::test::expectSquidFiledFieldsEq;
using fluxgrid::test::fillElement;
using fluxgrid::test::fillSquid;
using fluxgrid::test::loadFromBytes;
using fluxgrid::test::MessageBoxRecorder;
using fluxgrid::test::squidRecord20190201;
using fluxgrid::test::storeToBytes;

constexpr const char* kNotMegFile = "The opened file is not MEG file or corrupted!";

int int32At(const std::vector<BYTE>& bytes, std::size_t offset) {
    std::uint32_t value = 0;
    for (int k = 3; k >= 0; --k) {
        value = (value << 8) | bytes.at(offset + k);
    }
    return static_cast<int>(value);
}

std::vector<BYTE> storeRecord(CMegSquidqv& record) {
    return storeToBytes([&](CArchive& ar) { EXPECT_EQ(record.serialize(ar), 1); });
}

// A coil named "Coil" gives a record of 982 bytes; the SQUID record holds
// 202 bytes before its 24 coils.
constexpr std::size_t kCoilRecordSize = 982;
constexpr std::size_t kSquidRecordSize = 202 + 24 * kCoilRecordSize;

TEST(MegSquid, NewRecordIsNotResetAndHoldsZeroNumbersAndNewCoils) {
    CMegSquidqv record;
    EXPECT_TRUE(record.hardwareName.IsEmpty());
    EXPECT_EQ(record.squidAuxNo, 0);
    EXPECT_EQ(record.totalCoils, 0);
    EXPECT_EQ(record.currentCoilID, 0);
    EXPECT_EQ(record.gradAuxNo, 0);
    // Not reset: the block's defaults are not given.
    EXPECT_BITS_EQ(0.0, record.scaleConstant);
    EXPECT_BITS_EQ(0.0, record.neuromagFactor);
    EXPECT_BITS_EQ(0.0, record.totalGain);
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(record.coilDewar[i].coilName, "Coil");
        EXPECT_EQ(record.coilHead[i].coilName, "Coil");
        EXPECT_EQ(record.coilWork[i].coilName, "Coil");
        EXPECT_BITS_EQ(1.0, record.coilWork[i].unitScale);
    }
}

TEST(MegSquid, ResetAfterConstructionGivesZeroCountsAndLeavesSquidAuxNoUnset) {
    CMegSquid record;
    // squidAuxNo has no value of its own; whatever it holds survives a reset.
    record.squidAuxNo = 6061;
    record.totalCoils = 5;
    record.currentCoilID = 4;

    EXPECT_EQ(record.resetSensors(), 1);

    EXPECT_EQ(record.totalCoils, 0);
    EXPECT_EQ(record.currentCoilID, 0);
    EXPECT_EQ(record.squidAuxNo, 6061);
}

// The block's defaults after a reset: HardwareRecord_test.cpp.
TEST(MegSquid, ResetSensorsResetsEveryCoilKeepingItsName) {
    CMegSquidqv record;
    fillSquid(record, 1);

    EXPECT_EQ(record.resetSensors(), 1);

    CMagCoilqv* const frames[] = {record.coilDewar, record.coilHead, record.coilWork};
    for (CMagCoilqv* coils : frames) {
        for (int i = 0; i < 8; ++i) {
            EXPECT_EQ(coils[i].coilName, "Coil");
            EXPECT_EQ(coils[i].coilTurns, 0);
            EXPECT_BITS_EQ(0.0, coils[i].posP4[0]);
            EXPECT_BITS_EQ(1.0, coils[i].unitScale);
            EXPECT_BITS_EQ(0.0, coils[i].pairTable[3][1][2]);
        }
    }
    // A coil's reset keeps pairs 4 to 11 and the last two auxiliary values.
    CMagCoilqv filled;
    fillElement(filled, 100 + 7 * 3 + 2 + 1, u"x");
    EXPECT_BITS_EQ(filled.pairTable[4][0][0], record.coilWork[7].pairTable[4][0][0]);
    EXPECT_BITS_EQ(filled.coilAuxValue3, record.coilWork[7].coilAuxValue3);
}

TEST(MegSquid, HandBuiltRecordHasTheFieldsAtTheirOffsets) {
    CMegSquidqv record;
    fillSquid(record, 4);
    const auto bytes = squidRecord20190201(record);

    ASSERT_EQ(bytes.size(), 202 + 24 * (970 + (4 + 2 * 3)));
    EXPECT_EQ(bytes[0], 0xFF);
    EXPECT_EQ(bytes[1], 0xFE);
    EXPECT_EQ(bytes[2], 0xFF);
    EXPECT_EQ(bytes[3], 0x08);
    EXPECT_EQ(bytes[4], 'M');
    EXPECT_EQ(bytes[18], 'V');
    EXPECT_EQ(bytes[20], 0xF9);
    EXPECT_EQ(bytes[21], 0x13);
    EXPECT_EQ(bytes[22], 0x34);
    EXPECT_EQ(bytes[23], 0x01);
    EXPECT_EQ(int32At(bytes, 24), record.hardwareNo);
    EXPECT_EQ(int32At(bytes, 84), record.gradOrderNo);
    EXPECT_EQ(int32At(bytes, 88), record.gradAuxNo);
    EXPECT_EQ(bytes[92], 1);  // realIdealCoefMode
    EXPECT_EQ(bytes[93], 0);  // adaptiveBalance
    EXPECT_EQ(int32At(bytes, 110 + 16), record.auxFlags[0]);
    EXPECT_EQ(int32At(bytes, 110 + 60 + 16), record.auxFlags[3]);
    EXPECT_EQ(int32At(bytes, 190), record.squidAuxNo);
    EXPECT_EQ(int32At(bytes, 194), record.totalCoils);
    EXPECT_EQ(int32At(bytes, 198), record.currentCoilID);
    // The first nested record is the dewar coil of index 0, then its head
    // and work coils: "Dw0", "Hd0", "Wk0".
    const std::size_t coil = 970 + 10;
    EXPECT_EQ(int32At(bytes, 202), int32At({0xFF, 0xFE, 0xFF, 0x09}, 0));
    EXPECT_EQ(bytes[202 + 70 + 4], 'D');
    EXPECT_EQ(bytes[202 + coil + 70 + 4], 'H');
    EXPECT_EQ(bytes[202 + 2 * coil + 70 + 4], 'W');
    EXPECT_EQ(bytes[202 + 3 * coil + 70 + 6], 'w');
    EXPECT_EQ(bytes[202 + 3 * coil + 70 + 8], '1');
}

TEST(MegSquid, ANewRecordStoresItsZeroNumbersAndTwentyFourResetCoils) {
    CMegSquidqv record;
    const auto bytes = storeRecord(record);

    ByteBuilder expected;
    expected.wide(u"MSQUIDQV").i32(20190201);
    expected.i32(0);  // hardwareNo
    for (int k = 0; k < 7; ++k)
        expected.f64(0.0);                   // neuromagFactor .. totalGain
    expected.i32(0).i32(0);                  // gradOrderNo, gradAuxNo
    expected.boolean(false).boolean(false);  // the two flags
    expected.f64(0.0).f64(0.0);              // auxValue1, auxValue2
    for (int i = 0; i < 4; ++i)
        expected.f64(0.0).f64(0.0).i32(0);
    expected.i32(0).i32(0).i32(0);  // squidAuxNo, totalCoils, currentCoilID
    for (int k = 0; k < 24; ++k)
        appendCoilRecord20211230(expected, record.coilWork[0]);

    EXPECT_EQ(bytes.size(), kSquidRecordSize);
    EXPECT_BYTES_EQ(expected.bytes(), bytes);
}

TEST(MegSquid, StoringAndReloadingReproducesEveryFieldWithoutRecomputingTotalGain) {
    CMegSquidqv written;
    fillSquid(written, 7);
    written.squidAuxNo = -77;
    written.gradAuxNo = 88;
    written.properGain = 2.0;
    written.secondGain = 2.0;
    written.thirdGain = 2.0;
    written.totalGain = 3.0;  // not the product, and so it stays
    const auto bytes = storeRecord(written);

    CMegSquidqv record;
    loadFromBytes(bytes, [&](CArchive& ar) { EXPECT_EQ(record.serialize(ar), 1); });

    expectSquidFiledFieldsEq(written, record);
    EXPECT_EQ(record.squidAuxNo, -77);
    EXPECT_EQ(record.gradAuxNo, 88);
    EXPECT_BITS_EQ(3.0, record.totalGain);
    EXPECT_BYTES_EQ(bytes, storeRecord(record));
}

TEST(MegSquid, NaNAndInfinityInTheBlockComeBackBitForBit) {
    CMegSquidqv written;
    fillSquid(written, 8);
    written.neuromagFactor = std::bit_cast<double>(0x7FF8DEADBEEF0001ull);
    written.auxVectorB[2] = -std::numeric_limits<double>::infinity();
    written.gainOffset = -0.0;
    const auto bytes = storeRecord(written);

    CMegSquidqv record;
    loadFromBytes(bytes, [&](CArchive& ar) { record.serialize(ar); });

    EXPECT_EQ(fluxgrid::test::bitsOf(record.neuromagFactor), 0x7FF8DEADBEEF0001ull);
    EXPECT_BITS_EQ(-std::numeric_limits<double>::infinity(), record.auxVectorB[2]);
    EXPECT_BITS_EQ(-0.0, record.gainOffset);
}

TEST(MegSquid, TotalCoilsNineAndCurrentCoilIdHundredLoadAsTheyStand) {
    CMegSquidqv written;
    fillSquid(written, 9);
    written.totalCoils = 9;
    written.currentCoilID = 100;
    const auto bytes = squidRecord20190201(written);

    CMegSquidqv record;
    MessageBoxRecorder boxes;
    const std::size_t taken =
        loadFromBytes(bytes, [&](CArchive& ar) { EXPECT_EQ(record.serialize(ar), 1); });

    EXPECT_EQ(taken, bytes.size());
    EXPECT_TRUE(boxes.boxes().empty());
    EXPECT_EQ(record.totalCoils, 9);
    EXPECT_EQ(record.currentCoilID, 100);
    expectSquidFiledFieldsEq(written, record);
    // Still eight slots on the way out, whatever the count says.
    EXPECT_EQ(storeRecord(record).size(), bytes.size());
}

TEST(MegSquid, AllEightSlotsAreFiledWhateverTotalCoilsSays) {
    CMegSquidqv record;
    fillSquid(record, 10);
    record.totalCoils = 0;
    EXPECT_BYTES_EQ(squidRecord20190201(record), storeRecord(record));
    record.totalCoils = -3;
    EXPECT_BYTES_EQ(squidRecord20190201(record), storeRecord(record));
}

TEST(MegSquid, FinalAssignmentKeepsNameNeuromagFactorAndSquidAuxNoWhileBaseAssignmentReplacesThem) {
    CMegSquidqv source;
    fillSquid(source, 11);
    source.hardwareName = CString("Source");
    source.neuromagFactor = 2.75;
    source.squidAuxNo = 111;

    CMegSquidqv target;
    fillSquid(target, 12);
    target.hardwareName = CString("Target");
    target.neuromagFactor = -9.5;
    target.squidAuxNo = 222;
    CMegSquidqv base(target);

    CMegSquidqv& result = (target = source);
    EXPECT_EQ(&result, &target);
    EXPECT_EQ(target.hardwareName, "Target");
    EXPECT_BITS_EQ(-9.5, target.neuromagFactor);
    EXPECT_EQ(target.squidAuxNo, 222);
    // Everything else follows the source, gradAuxNo and the coils included.
    CMegSquidqv expected(source);
    expected.neuromagFactor = -9.5;
    expected.squidAuxNo = 222;
    expectSquidFiledFieldsEq(expected, target);

    static_cast<CMegSquid&>(base) = source;
    EXPECT_EQ(base.hardwareName, "Source");
    EXPECT_BITS_EQ(2.75, base.neuromagFactor);
    EXPECT_EQ(base.squidAuxNo, 111);
    expectSquidFiledFieldsEq(source, base);

    CMegSquid09File fileLayer;
    static_cast<CMegSquid09File&>(fileLayer) = source;
    EXPECT_EQ(fileLayer.hardwareName, "Source");
    EXPECT_EQ(fileLayer.squidAuxNo, 111);
}

TEST(MegSquid, CopyConstructionCopiesEveryField) {
    CMegSquidqv source;
    fillSquid(source, 13);
    source.hardwareName = CString("Copied");

    const CMegSquidqv copy(source);

    EXPECT_EQ(copy.hardwareName, "Copied");
    expectSquidFiledFieldsEq(source, copy);
}

TEST(MegSquid, AWrongMagicIsRefusedWithTheStreamJustBehindTheString) {
    ByteBuilder bytes;
    bytes.wide(u"MSQUIDQv").i32(20190201).i32(5);

    CMegSquidqv record;
    fillSquid(record, 16);
    const CMegSquidqv before(record);
    MessageBoxRecorder boxes;
    int result = -1;
    const std::size_t taken =
        loadFromBytes(bytes.bytes(), [&](CArchive& ar) { result = record.serialize(ar); });

    EXPECT_EQ(result, 0);
    EXPECT_EQ(taken, 20u);
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text, kNotMegFile);
    EXPECT_EQ(boxes.boxes()[0].type, MB_OK);
    expectSquidFiledFieldsEq(before, record);
}

TEST(MegSquid, ANarrowMagicWithTheSameLettersIsAccepted) {
    CMegSquidqv expected;
    fillSquid(expected, 17);
    const auto wide = squidRecord20190201(expected);
    ByteBuilder bytes;
    bytes.narrow("MSQUIDQV");
    bytes.raw(std::vector<BYTE>(wide.begin() + 20, wide.end()));

    CMegSquidqv record;
    MessageBoxRecorder boxes;
    loadFromBytes(bytes.bytes(), [&](CArchive& ar) { EXPECT_EQ(record.serialize(ar), 1); });

    EXPECT_TRUE(boxes.boxes().empty());
    expectSquidFiledFieldsEq(expected, record);
}

TEST(MegSquid, ACoilOfUnknownVersionCostsItsMessageAndReadingGoesOnInPlace) {
    // The dewar coil of index 0 carries version 20211231 and no body: its
    // own layer shows its message and returns, and the next coil record
    // follows at once in the stream, so every later slot reads its own.
    CMegSquidqv written;
    fillSquid(written, 18);
    ByteBuilder bytes;
    bytes.wide(u"MSQUIDQV").i32(20190201);
    fluxgrid::test::appendBlock(bytes, written, true);
    bytes.i32(written.squidAuxNo).i32(written.totalCoils).i32(written.currentCoilID);
    bytes.wide(u"MEGCOILQV").i32(20211231);
    appendCoilRecord20211230(bytes, written.coilHead[0]);
    appendCoilRecord20211230(bytes, written.coilWork[0]);
    for (int i = 1; i < 8; ++i) {
        appendCoilRecord20211230(bytes, written.coilDewar[i]);
        appendCoilRecord20211230(bytes, written.coilHead[i]);
        appendCoilRecord20211230(bytes, written.coilWork[i]);
    }

    CMegSquidqv record;
    MessageBoxRecorder boxes;
    int result = -1;
    const std::size_t taken =
        loadFromBytes(bytes.bytes(), [&](CArchive& ar) { result = record.serialize(ar); });

    EXPECT_EQ(result, 1);
    EXPECT_EQ(taken, bytes.size());
    EXPECT_EQ(boxes.texts(), std::vector<std::string>{"Wrong file format!!?"});
    EXPECT_EQ(record.coilDewar[0].coilName, "Coil");
    expectCoilFiledFieldsEq(written.coilHead[0], record.coilHead[0]);
    expectCoilFiledFieldsEq(written.coilWork[0], record.coilWork[0]);
    expectCoilFiledFieldsEq(written.coilDewar[1], record.coilDewar[1]);
    expectCoilFiledFieldsEq(written.coilWork[7], record.coilWork[7]);
}

TEST(MegSquid, ACoilOfUnknownVersionDoesNotChangeTheRecordResult) {
    CMegSquidqv written;
    fillSquid(written, 19);
    std::vector<BYTE> bytes = squidRecord20190201(written);
    // The version word of the work coil of index 7, the last record.
    const std::size_t lastCoil = bytes.size() - (970 + 10);
    bytes[lastCoil + 22] = 0x1F;  // 20211231
    bytes.resize(lastCoil + 26);

    CMegSquidqv record;
    MessageBoxRecorder boxes;
    int result = -1;
    loadFromBytes(bytes, [&](CArchive& ar) { result = record.serialize(ar); });

    EXPECT_EQ(result, 1);
    EXPECT_EQ(boxes.texts(), std::vector<std::string>{"Wrong file format!!?"});
    EXPECT_EQ(record.coilWork[7].coilName, "Coil");
    expectCoilFiledFieldsEq(written.coilHead[7], record.coilHead[7]);
}

TEST(MegSquid, ACoilWithAWrongMagicCostsItsMessageAndTheRecordStillReturnsOne) {
    CMegSquidqv written;
    fillSquid(written, 20);
    std::vector<BYTE> bytes = squidRecord20190201(written);
    const std::size_t lastCoil = bytes.size() - (970 + 10);
    // "MEGCOILQV" becomes "MEGCOILQW"; the record's remaining bytes are then
    // left in the stream.
    bytes[lastCoil + 4 + 2 * 8] = 'W';

    CMegSquidqv record;
    MessageBoxRecorder boxes;
    int result = -1;
    const std::size_t taken =
        loadFromBytes(bytes, [&](CArchive& ar) { result = record.serialize(ar); });

    EXPECT_EQ(result, 1);
    EXPECT_EQ(taken, lastCoil + 22);
    EXPECT_EQ(boxes.texts(), std::vector<std::string>{kNotMegFile});
    EXPECT_EQ(record.coilWork[7].coilName, "Coil");
}

TEST(MegSquid, ARecordCutInsideTheCoilsKeepsWhatWasReadAndTheRestAsItWas) {
    CMegSquidqv written;
    fillSquid(written, 23);
    const auto bytes = squidRecord20190201(written);
    const std::size_t coil = 970 + 10;
    // Cut inside the head coil of index 1: the dewar coil of index 1 is in.
    const std::vector<BYTE> cut(bytes.begin(), bytes.begin() + 202 + 4 * coil + 100);

    CMegSquidqv record;
    EXPECT_THROW(loadFromBytes(cut, [&](CArchive& ar) { record.serialize(ar); }),
                 CArchiveException);

    expectBlockFiledFieldsEq(written, record, true);
    EXPECT_EQ(record.totalCoils, written.totalCoils);
    expectCoilFiledFieldsEq(written.coilDewar[1], record.coilDewar[1]);
    EXPECT_EQ(record.coilWork[1].coilName, "Coil");
    EXPECT_EQ(record.coilDewar[2].coilName, "Coil");
}

}  // namespace
