// The OPM record "MEGOPMQV": what it does unlike the SQUID record. What
// both records do alike is tested over both in HardwareRecord_test.cpp.
#include <fluxgrid/sensor/MegOpm.h>

#include "support/ByteBuilder.h"
#include "support/ElementRecords.h"
#include "support/HardwareRecords.h"
#include "support/Harness.h"

#include <cstdint>
#include <string>
#include <vector>

namespace {

using fluxgrid::test::appendVaporRecord20211230;
using fluxgrid::test::ByteBuilder;
using fluxgrid::test::expectBlockFiledFieldsEq;
using fluxgrid::test::expectOpmFiledFieldsEq;
using fluxgrid::test::expectVaporFiledFieldsEq;
using fluxgrid::test::fillOpm;
using fluxgrid::test::fillVapor;
using fluxgrid::test::loadFromBytes;
using fluxgrid::test::MessageBoxRecorder;
using fluxgrid::test::opmRecord20190201;
using fluxgrid::test::storeToBytes;

int int32At(const std::vector<BYTE>& bytes, std::size_t offset) {
    std::uint32_t value = 0;
    for (int k = 3; k >= 0; --k) {
        value = (value << 8) | bytes.at(offset + k);
    }
    return static_cast<int>(value);
}

std::vector<BYTE> storeRecord(CMegOpmqv& record) {
    return storeToBytes([&](CArchive& ar) { EXPECT_EQ(record.serialize(ar), 1); });
}

// What an assignment of OPM records gives each cell: the filed fields of
// the source's cell except the two angles, which the target's cell keeps
// along with its loop numbers and vaporAuxNo.
void expectCellAssigned(const CMagVapor& source, const CMagVapor& targetBefore,
                        const CMagVapor& actual) {
    CMagVapor expected(source);
    expected.rotateRad = targetBefore.rotateRad;
    expected.rotateDeg = targetBefore.rotateDeg;
    expectVaporFiledFieldsEq(expected, actual);
    EXPECT_EQ(actual.coilTurns, targetBefore.coilTurns);
    EXPECT_BITS_EQ(targetBefore.coilArea, actual.coilArea);
    EXPECT_BITS_EQ(targetBefore.magApha, actual.magApha);
    EXPECT_EQ(actual.vaporAuxNo, targetBefore.vaporAuxNo);
}

void expectRecordAssigned(const CMegOpm& source, const CMegOpm& targetBefore,
                          const CMegOpm& actual) {
    expectBlockFiledFieldsEq(source, actual, false);
    EXPECT_EQ(actual.totalVapors, source.totalVapors);
    EXPECT_EQ(actual.currentVaporID, source.currentVaporID);
    for (int i = 0; i < 8; ++i) {
        SCOPED_TRACE("cell slot " + std::to_string(i));
        expectCellAssigned(source.vaporDewar[i], targetBefore.vaporDewar[i], actual.vaporDewar[i]);
        expectCellAssigned(source.vaporHead[i], targetBefore.vaporHead[i], actual.vaporHead[i]);
        expectCellAssigned(source.vaporWork[i], targetBefore.vaporWork[i], actual.vaporWork[i]);
    }
}

// A cell named as `fillOpm` names it ("Dw0" and so on) gives a record of
// 920 bytes; the OPM record holds 194 bytes before its 24 cells.
constexpr std::size_t kCellRecordSize = 910 + 10;

TEST(MegOpm, NewRecordIsResetWithCountsZeroAndTheDewarCellsNamed) {
    CMegOpm record;
    EXPECT_EQ(record.totalVapors, 0);
    EXPECT_EQ(record.currentVaporID, 0);
    EXPECT_EQ(record.vaporDewar[3].coilName, "OPMg3");
    EXPECT_EQ(record.vaporHead[3].coilName, "OPM");
    EXPECT_EQ(record.vaporWork[3].coilName, "OPM");
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(record.vaporDewar[i].coilName, "OPMg" + std::to_string(i));
        EXPECT_EQ(record.vaporHead[i].coilName, "OPM");
        EXPECT_EQ(record.vaporWork[i].coilName, "OPM");
    }
    EXPECT_TRUE(record.hardwareName.IsEmpty());
    EXPECT_EQ(record.gradAuxNo, 0);
    EXPECT_BITS_EQ(1e17, record.scaleConstant);
    EXPECT_BITS_EQ(1.0, record.neuromagFactor);
    EXPECT_BITS_EQ(1.0, record.totalGain);

    const CMegOpmqv finalRecord;
    EXPECT_EQ(finalRecord.vaporDewar[7].coilName, "OPMg7");
    EXPECT_EQ(finalRecord.totalVapors, 0);
}

TEST(MegOpm, CheckInitVaporsKeepsTheCountWithinOneToEightAndMakesCellZeroCurrent) {
    CMegOpmqv record;
    const struct {
        int count;
        int stored;
    } cases[] = {{0, 1}, {-5, 1}, {8, 8}, {9, 8}, {1, 1}, {5, 5}};
    for (const auto& c : cases) {
        SCOPED_TRACE("count " + std::to_string(c.count));
        record.currentVaporID = 6;
        record.totalVapors = 77;
        EXPECT_EQ(record.checkInitVapors(c.count), c.stored);
        EXPECT_EQ(record.totalVapors, c.stored);
        EXPECT_EQ(record.currentVaporID, 0);
    }
}

// The block's defaults after a reset, and gradAuxNo and the name left:
// HardwareRecord_test.cpp.
TEST(MegOpm, ResetSensorsNamesTheDewarCellsAndResetsEveryCell) {
    CMegOpmqv record;
    fillOpm(record, 1);

    EXPECT_EQ(record.resetSensors(), 1);

    for (int i = 0; i < 8; ++i) {
        SCOPED_TRACE("cell " + std::to_string(i));
        EXPECT_EQ(record.vaporDewar[i].coilName, "OPMg" + std::to_string(i));
        EXPECT_EQ(record.vaporHead[i].coilName, "OPM");
        EXPECT_EQ(record.vaporWork[i].coilName, "OPM");
        EXPECT_EQ(record.vaporWork[i].vaporShape, 0);
        EXPECT_EQ(record.vaporHead[i].vaporAuxNo2, 0);
        EXPECT_BITS_EQ(0.0, record.vaporDewar[i].posP4[1]);
        EXPECT_BITS_EQ(0.0, record.vaporDewar[i].vaporPairTable[3][0][2]);
    }
    // A cell's reset keeps what it does not clear: pairs 4 to 11 and the
    // loop numbers.
    CMagVaporqv filled;
    fillVapor(filled, 100 + 2 * 3 + 1 + 1, u"x");
    EXPECT_BITS_EQ(filled.vaporPairTable[11][1][2], record.vaporHead[2].vaporPairTable[11][1][2]);
    EXPECT_EQ(filled.coilTurns, record.vaporHead[2].coilTurns);
}

TEST(MegOpm, HandBuiltRecordHasTheFieldsAtTheirOffsets) {
    CMegOpmqv record;
    fillOpm(record, 4);
    const auto bytes = opmRecord20190201(record);

    ASSERT_EQ(bytes.size(), 194 + 24 * kCellRecordSize);
    EXPECT_EQ(bytes[3], 0x08);
    EXPECT_EQ(bytes[4], 'M');
    EXPECT_EQ(bytes[10], 'O');
    EXPECT_EQ(int32At(bytes, 20), 20190201);
    EXPECT_EQ(int32At(bytes, 24), record.hardwareNo);
    EXPECT_EQ(int32At(bytes, 84), record.gradOrderNo);
    EXPECT_EQ(bytes[88], 1);  // realIdealCoefMode: no gradAuxNo before it
    EXPECT_EQ(bytes[89], 0);  // adaptiveBalance
    EXPECT_EQ(int32At(bytes, 106 + 16), record.auxFlags[0]);
    EXPECT_EQ(int32At(bytes, 106 + 60 + 16), record.auxFlags[3]);
    EXPECT_EQ(int32At(bytes, 186), record.totalVapors);
    EXPECT_EQ(int32At(bytes, 190), record.currentVaporID);
    // The first nested records: "Dw0", "Hd0", "Wk0", "Dw1".
    EXPECT_EQ(bytes[194 + 3], 0x07);
    EXPECT_EQ(bytes[194 + 4], 'A');
    EXPECT_EQ(int32At(bytes, 194 + 18), 20211230);
    EXPECT_EQ(bytes[194 + 26 + 4], 'D');
    EXPECT_EQ(bytes[194 + kCellRecordSize + 26 + 4], 'H');
    EXPECT_EQ(bytes[194 + 2 * kCellRecordSize + 26 + 4], 'W');
    EXPECT_EQ(bytes[194 + 3 * kCellRecordSize + 26 + 8], '1');
}

TEST(MegOpm, ALoadLeavesTheCellsUnfiledFields) {
    CMegOpmqv expected;
    fillOpm(expected, 6);
    const auto bytes = opmRecord20190201(expected);

    CMegOpmqv record;
    record.vaporWork[4].coilTurns = 12;
    record.vaporWork[4].coilArea = 0.5;
    record.vaporWork[4].vaporAuxNo = 31;
    loadFromBytes(bytes, [&](CArchive& ar) { EXPECT_EQ(record.serialize(ar), 1); });

    EXPECT_EQ(record.vaporWork[4].coilTurns, 12);
    EXPECT_BITS_EQ(0.5, record.vaporWork[4].coilArea);
    EXPECT_EQ(record.vaporWork[4].vaporAuxNo, 31);
}

TEST(MegOpm, ANewRecordStoresItsDefaultsAndTwentyFourResetCells) {
    CMegOpmqv record;
    const auto bytes = storeRecord(record);

    ByteBuilder expected;
    expected.wide(u"MEGOPMQV").i32(20190201);
    expected.i32(0);                      // hardwareNo
    expected.f64(1.0);                    // neuromagFactor
    expected.f64(0.0);                    // gainOffset
    expected.u64(0x4376345785D8A000ull);  // scaleConstant, 1e17
    expected.f64(1.0).f64(1.0).f64(1.0);  // the three gains
    expected.f64(1.0);                    // totalGain
    expected.i32(0);                      // gradOrderNo
    expected.boolean(false).boolean(false);
    expected.f64(0.0).f64(0.0);
    for (int i = 0; i < 4; ++i)
        expected.f64(0.0).f64(0.0).i32(0);
    expected.i32(0).i32(0);  // totalVapors, currentVaporID
    for (int i = 0; i < 8; ++i) {
        appendVaporRecord20211230(expected, record.vaporDewar[i]);
        appendVaporRecord20211230(expected, record.vaporHead[i]);
        appendVaporRecord20211230(expected, record.vaporWork[i]);
    }

    // Each cell: "OPMg<i>" is L = 14, "OPM" is L = 10.
    EXPECT_EQ(bytes.size(), 194u + 8 * (924 + 920 + 920));
    EXPECT_BYTES_EQ(expected.bytes(), bytes);
}

TEST(MegOpm, StoredTotalVaporsOfAnySizeReloadsUnchanged) {
    for (int count : {0, 12, -4, 8}) {
        SCOPED_TRACE("totalVapors " + std::to_string(count));
        CMegOpmqv written;
        fillOpm(written, 8);
        written.totalVapors = count;
        written.currentVaporID = 100;
        const auto bytes = storeRecord(written);
        EXPECT_EQ(int32At(bytes, 186), count);

        CMegOpmqv record;
        loadFromBytes(bytes, [&](CArchive& ar) { EXPECT_EQ(record.serialize(ar), 1); });

        EXPECT_EQ(record.totalVapors, count);
        EXPECT_EQ(record.currentVaporID, 100);
        expectOpmFiledFieldsEq(written, record);
        // Eight slots of each frame on the way out, whatever the count says.
        EXPECT_EQ(storeRecord(record).size(), bytes.size());
    }
}

TEST(MegOpm, StoringAndReloadingReproducesTheBytes) {
    CMegOpmqv written;
    fillOpm(written, 9);
    written.totalGain = 123.0;  // not the product of the gains
    const auto bytes = storeRecord(written);

    CMegOpmqv record;
    loadFromBytes(bytes, [&](CArchive& ar) { record.serialize(ar); });

    EXPECT_BITS_EQ(123.0, record.totalGain);
    EXPECT_BYTES_EQ(bytes, storeRecord(record));
}

TEST(MegOpm, FinalAssignmentKeepsNameNeuromagFactorAndGradAuxNoWhileBaseAssignmentReplacesThem) {
    CMegOpmqv source;
    fillOpm(source, 10);
    source.hardwareName = CString("Source");
    source.neuromagFactor = 2.75;
    source.gradAuxNo = 111;

    CMegOpmqv target;
    fillOpm(target, 11);
    target.hardwareName = CString("Target");
    target.neuromagFactor = -9.5;
    target.gradAuxNo = 222;
    const CMegOpmqv before(target);
    CMegOpmqv base(target);

    CMegOpmqv& result = (target = source);
    EXPECT_EQ(&result, &target);
    EXPECT_EQ(target.hardwareName, "Target");
    EXPECT_BITS_EQ(-9.5, target.neuromagFactor);
    EXPECT_EQ(target.gradAuxNo, 222);
    CMegOpmqv expected(source);
    expected.neuromagFactor = -9.5;
    expectRecordAssigned(expected, before, target);

    static_cast<CMegOpm&>(base) = source;
    EXPECT_EQ(base.hardwareName, "Source");
    EXPECT_BITS_EQ(2.75, base.neuromagFactor);
    EXPECT_EQ(base.gradAuxNo, 111);
    expectRecordAssigned(source, before, base);

    CMegOpm09File fileLayer;
    static_cast<CMegOpm09File&>(fileLayer) = source;
    EXPECT_EQ(fileLayer.hardwareName, "Source");
    EXPECT_EQ(fileLayer.gradAuxNo, 111);
}

TEST(MegOpm, AssignmentCopiesCellsThroughTheirNarrowAssignment) {
    CMegOpmqv source;
    fillOpm(source, 12);
    CMegOpmqv target;
    fillOpm(target, 13);
    const CMegOpmqv before(target);

    target = source;
    CMegOpmqv base(before);
    static_cast<CMegOpm&>(base) = source;

    for (CMegOpmqv* assigned : {&target, &base}) {
        // The cells take the source's filed fields and keep their own loop
        // numbers, angles and vaporAuxNo.
        EXPECT_EQ(assigned->vaporHead[5].coilName, source.vaporHead[5].coilName);
        EXPECT_BITS_EQ(source.vaporHead[5].posP4[2], assigned->vaporHead[5].posP4[2]);
        EXPECT_EQ(assigned->vaporHead[5].coilTurns, before.vaporHead[5].coilTurns);
        EXPECT_BITS_EQ(before.vaporHead[5].rotateRad, assigned->vaporHead[5].rotateRad);
        EXPECT_EQ(assigned->vaporHead[5].vaporAuxNo, before.vaporHead[5].vaporAuxNo);
    }
}

TEST(MegOpm, CopyConstructionCopiesEveryFieldOfEveryCell) {
    CMegOpmqv source;
    fillOpm(source, 14);
    source.hardwareName = CString("Copied");
    source.gradAuxNo = 5;

    const CMegOpmqv copy(source);

    EXPECT_EQ(copy.hardwareName, "Copied");
    EXPECT_EQ(copy.gradAuxNo, 5);
    expectOpmFiledFieldsEq(source, copy);
    EXPECT_EQ(copy.vaporWork[6].vaporAuxNo, source.vaporWork[6].vaporAuxNo);
    EXPECT_EQ(copy.vaporWork[6].coilTurns, source.vaporWork[6].coilTurns);
    EXPECT_BITS_EQ(source.vaporWork[6].rotateDeg, copy.vaporWork[6].rotateDeg);
}

TEST(MegOpm, ACellOfUnknownVersionCostsItsMessageAndReadingGoesOnInPlace) {
    CMegOpmqv written;
    fillOpm(written, 17);
    ByteBuilder bytes;
    bytes.wide(u"MEGOPMQV").i32(20190201);
    fluxgrid::test::appendBlock(bytes, written, false);
    bytes.i32(written.totalVapors).i32(written.currentVaporID);
    for (int i = 0; i < 8; ++i) {
        appendVaporRecord20211230(bytes, written.vaporDewar[i]);
        if (i == 2) {
            bytes.wide(u"AMOPMQV").i32(20211231);  // the head cell of index 2
        } else {
            appendVaporRecord20211230(bytes, written.vaporHead[i]);
        }
        appendVaporRecord20211230(bytes, written.vaporWork[i]);
    }

    CMegOpmqv record;
    MessageBoxRecorder boxes;
    int result = -1;
    const std::size_t taken =
        loadFromBytes(bytes.bytes(), [&](CArchive& ar) { result = record.serialize(ar); });

    EXPECT_EQ(result, 1);
    EXPECT_EQ(taken, bytes.size());
    EXPECT_EQ(boxes.texts(), std::vector<std::string>{"Wrong AMOPM file format!!?"});
    EXPECT_EQ(record.vaporHead[2].coilName, "OPM");
    expectVaporFiledFieldsEq(written.vaporWork[2], record.vaporWork[2]);
    expectVaporFiledFieldsEq(written.vaporDewar[3], record.vaporDewar[3]);
}

TEST(MegOpm, ARecordCutInsideTheBlockKeepsWhatWasReadAndTheRestAsItWas) {
    CMegOpmqv written;
    fillOpm(written, 20);
    const auto bytes = opmRecord20190201(written);
    // Cut inside secondGain (offset 60): hardwareNo to properGain are in.
    const std::vector<BYTE> cut(bytes.begin(), bytes.begin() + 64);

    CMegOpmqv record;
    EXPECT_THROW(loadFromBytes(cut, [&](CArchive& ar) { record.serialize(ar); }),
                 CArchiveException);

    EXPECT_EQ(record.hardwareNo, written.hardwareNo);
    EXPECT_BITS_EQ(written.properGain, record.properGain);
    EXPECT_BITS_EQ(1.0, record.secondGain);
    EXPECT_EQ(record.vaporDewar[0].coilName, "OPMg0");
}

}  // namespace
