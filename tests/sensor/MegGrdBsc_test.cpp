#include <fluxgrid/sensor/MegGrdBsc.h>
#include <fluxgrid/sensor/MegOpm.h>
#include <fluxgrid/sensor/MegSquid.h>

#include "sensor/GradBlock.h"
#include "support/ByteBuilder.h"
#include "support/HardwareRecords.h"
#include "support/Harness.h"

#include <cstdint>
#include <memory>

namespace {

using fluxgrid::sensor::GradAux;
using fluxgrid::test::ByteBuilder;
using fluxgrid::test::expectBlockDefaults;
using fluxgrid::test::expectBlockFiledFieldsEq;
using fluxgrid::test::fillBlock;
using fluxgrid::test::loadFromBytes;
using fluxgrid::test::storeToBytes;

constexpr std::uint64_t k1e17Bits = 0x4376345785D8A000ull;

TEST(MegGrdBsc, ConstructionGivesEmptyNameAndZeroNumbers) {
    CMegGrdBscqv block;
    EXPECT_TRUE(block.hardwareName.IsEmpty());
    EXPECT_EQ(block.hardwareNo, 0);
    EXPECT_BITS_EQ(0.0, block.neuromagFactor);
    EXPECT_BITS_EQ(0.0, block.gainOffset);
    EXPECT_BITS_EQ(0.0, block.scaleConstant);
    EXPECT_BITS_EQ(0.0, block.properGain);
    EXPECT_BITS_EQ(0.0, block.secondGain);
    EXPECT_BITS_EQ(0.0, block.thirdGain);
    EXPECT_BITS_EQ(0.0, block.totalGain);
    EXPECT_EQ(block.gradOrderNo, 0);
    EXPECT_EQ(block.gradAuxNo, 0);
    EXPECT_FALSE(block.realIdealCoefMode);
    EXPECT_FALSE(block.adaptiveBalance);
    EXPECT_BITS_EQ(0.0, block.auxValue1);
    EXPECT_BITS_EQ(0.0, block.auxValue2);
    for (int i = 0; i < 4; ++i) {
        EXPECT_BITS_EQ(0.0, block.auxVectorA[i]);
        EXPECT_BITS_EQ(0.0, block.auxVectorB[i]);
        EXPECT_EQ(block.auxFlags[i], 0);
    }
}

TEST(MegGrdBsc, AssignmentCopiesAllEighteenFieldsNameNeuromagFactorAndGradAuxNoAmongThem) {
    CMegGrdBsc source;
    fillBlock(source, 3);
    source.realIdealCoefMode = false;
    source.adaptiveBalance = true;
    CMegGrdBsc target;
    fillBlock(target, 4);
    target.realIdealCoefMode = true;
    target.adaptiveBalance = false;

    CMegGrdBsc& result = (target = source);

    EXPECT_EQ(&result, &target);
    EXPECT_EQ(target.hardwareName, source.hardwareName);
    EXPECT_BITS_EQ(source.neuromagFactor, target.neuromagFactor);
    EXPECT_EQ(target.gradAuxNo, source.gradAuxNo);
    expectBlockFiledFieldsEq(source, target, true);
}

TEST(MegGrdBsc, FinalClassAssignmentAndCopyAreComplete) {
    CMegGrdBscqv source;
    fillBlock(source, 5);
    CMegGrdBscqv target;
    fillBlock(target, 6);

    target = source;
    const CMegGrdBscqv copy(source);

    EXPECT_EQ(target.hardwareName, source.hardwareName);
    expectBlockFiledFieldsEq(source, target, true);
    EXPECT_EQ(copy.hardwareName, source.hardwareName);
    expectBlockFiledFieldsEq(source, copy, true);
}

TEST(MegGrdBsc, TotalGainKeepsTheStoredProductWhenAFileReadChangedTheGains) {
    // A record whose file holds gains 2, 3, 5 beside a stored product of 7.
    CMegSquidqv written;
    written.resetSensors();
    written.initSensorInfo(1, 2, 1.5, 2.5, 4.0, 0.5);
    EXPECT_BITS_EQ(15.0, written.totalGain);
    written.properGain = 2.0;
    written.secondGain = 3.0;
    written.thirdGain = 5.0;
    written.totalGain = 7.0;
    const auto bytes = storeToBytes([&](CArchive& ar) { written.serialize(ar); });

    CMegSquidqv record;
    record.initSensorInfo(1, 2, 1.5, 2.5, 4.0, 0.5);
    loadFromBytes(bytes, [&](CArchive& ar) { EXPECT_EQ(record.serialize(ar), 1); });

    EXPECT_BITS_EQ(2.0, record.properGain);
    EXPECT_BITS_EQ(3.0, record.secondGain);
    EXPECT_BITS_EQ(5.0, record.thirdGain);
    EXPECT_BITS_EQ(7.0, record.totalGain);
    // The product follows the gains only when it is computed again.
    record.initSensorInfo(1, 2, record.properGain, record.secondGain, record.thirdGain, 0.5);
    EXPECT_BITS_EQ(30.0, record.totalGain);
}

TEST(MegGrdBsc, ResetSensorsOnASquidRecordGivesTotalGainOneAndScaleConstantExactly1e17) {
    CMegSquidqv record;
    fillBlock(record, 7);
    EXPECT_EQ(record.resetSensors(), 1);
    EXPECT_BITS_EQ(1.0, record.totalGain);
    EXPECT_EQ(fluxgrid::test::bitsOf(record.scaleConstant), k1e17Bits);
    EXPECT_BITS_EQ(1e17, record.scaleConstant);
    expectBlockDefaults(record);
}

TEST(MegGrdBsc, ResetSensorsOnAnOpmRecordGivesTotalGainOneAndScaleConstantExactly1e17) {
    CMegOpmqv record;
    fillBlock(record, 8);
    EXPECT_EQ(record.resetSensors(), 1);
    EXPECT_BITS_EQ(1.0, record.totalGain);
    EXPECT_EQ(fluxgrid::test::bitsOf(record.scaleConstant), k1e17Bits);
    expectBlockDefaults(record);
}

TEST(MegGrdBsc, SquidRecordReadBackIntoANewRecordHasAnEmptyHardwareName) {
    CMegSquidqv written;
    fillBlock(written, 9);
    written.hardwareName = CString("Left temporal 12");
    const auto bytes = storeToBytes([&](CArchive& ar) { written.serialize(ar); });

    CMegSquidqv record;
    loadFromBytes(bytes, [&](CArchive& ar) { EXPECT_EQ(record.serialize(ar), 1); });

    EXPECT_TRUE(record.hardwareName.IsEmpty());
    expectBlockFiledFieldsEq(written, record, true);
}

TEST(MegGrdBsc, OpmRecordReadBackIntoANewRecordHasAnEmptyHardwareName) {
    CMegOpmqv written;
    fillBlock(written, 10);
    written.hardwareName = CString("OPM helmet 3");
    const auto bytes = storeToBytes([&](CArchive& ar) { written.serialize(ar); });

    CMegOpmqv record;
    loadFromBytes(bytes, [&](CArchive& ar) { EXPECT_EQ(record.serialize(ar), 1); });

    EXPECT_TRUE(record.hardwareName.IsEmpty());
    expectBlockFiledFieldsEq(written, record, false);
}

TEST(MegGrdBsc, ALoadLeavesAnExistingHardwareNameAsItStands) {
    CMegSquidqv written;
    fillBlock(written, 11);
    const auto bytes = storeToBytes([&](CArchive& ar) { written.serialize(ar); });

    CMegSquidqv record;
    record.hardwareName = CString("Kept");
    loadFromBytes(bytes, [&](CArchive& ar) { EXPECT_EQ(record.serialize(ar), 1); });

    EXPECT_EQ(record.hardwareName, "Kept");
}

TEST(MegGrdBsc, BlockWithGradAuxNoIsFiledIn166BytesInTheLayoutOrder) {
    CMegGrdBsc block;
    fillBlock(block, 12);
    ByteBuilder expected;
    fluxgrid::test::appendBlock(expected, block, true);
    ASSERT_EQ(expected.size(), 166u);

    const auto bytes = storeToBytes(
        [&](CArchive& ar) { fluxgrid::sensor::storeBlock(ar, block, GradAux::carried); });
    EXPECT_BYTES_EQ(expected.bytes(), bytes);

    CMegGrdBsc loaded;
    const std::size_t taken = loadFromBytes(expected.bytes(), [&](CArchive& ar) {
        fluxgrid::sensor::loadBlock(ar, loaded, GradAux::carried);
    });
    EXPECT_EQ(taken, 166u);
    expectBlockFiledFieldsEq(block, loaded, true);
}

TEST(MegGrdBsc, BlockWithoutGradAuxNoIsFiledIn162BytesAndLeavesGradAuxNo) {
    CMegGrdBsc block;
    fillBlock(block, 13);
    ByteBuilder expected;
    fluxgrid::test::appendBlock(expected, block, false);
    ASSERT_EQ(expected.size(), 162u);

    const auto bytes = storeToBytes(
        [&](CArchive& ar) { fluxgrid::sensor::storeBlock(ar, block, GradAux::absent); });
    EXPECT_BYTES_EQ(expected.bytes(), bytes);

    CMegGrdBsc loaded;
    loaded.gradAuxNo = 4242;
    const std::size_t taken = loadFromBytes(expected.bytes(), [&](CArchive& ar) {
        fluxgrid::sensor::loadBlock(ar, loaded, GradAux::absent);
    });
    EXPECT_EQ(taken, 162u);
    expectBlockFiledFieldsEq(block, loaded, false);
    EXPECT_EQ(loaded.gradAuxNo, 4242);
}

TEST(MegGrdBsc, BoolFlagsReadAnyNonZeroByteAsTrue) {
    CMegGrdBsc block;
    fillBlock(block, 14);
    ByteBuilder bytes;
    fluxgrid::test::appendBlock(bytes, block, true);
    std::vector<BYTE> raw = bytes.bytes();
    raw[68] = 0x80;  // realIdealCoefMode, offset 92 of the record
    raw[69] = 0x02;  // adaptiveBalance, offset 93 of the record

    CMegGrdBsc loaded;
    loadFromBytes(raw,
                  [&](CArchive& ar) { fluxgrid::sensor::loadBlock(ar, loaded, GradAux::carried); });

    EXPECT_TRUE(loaded.realIdealCoefMode);
    EXPECT_TRUE(loaded.adaptiveBalance);
}

TEST(MegGrdBsc, ResetBlockKeepsTheNameAndTouchesGradAuxNoOnlyWhenCarried) {
    CMegGrdBsc squidBlock;
    fillBlock(squidBlock, 15);
    const CString name = squidBlock.hardwareName;
    fluxgrid::sensor::resetBlock(squidBlock, GradAux::carried);
    expectBlockDefaults(squidBlock);
    EXPECT_EQ(squidBlock.gradAuxNo, 0);
    EXPECT_EQ(squidBlock.hardwareName, name);

    CMegGrdBsc opmBlock;
    fillBlock(opmBlock, 16);
    const int gradAuxNo = opmBlock.gradAuxNo;
    fluxgrid::sensor::resetBlock(opmBlock, GradAux::absent);
    expectBlockDefaults(opmBlock);
    EXPECT_EQ(opmBlock.gradAuxNo, gradAuxNo);
}

TEST(MegGrdBsc, InitBlockInfoStoresArgumentsAndMultipliesTheGainsInOrder) {
    CMegGrdBsc block;
    fillBlock(block, 17);
    const CMegGrdBsc before = block;
    // (a x b) x c and a x (b x c) differ for these values; the first is meant.
    const double a = 0.1, b = 0.2, c = 0.3;
    ASSERT_NE(fluxgrid::test::bitsOf((a * b) * c), fluxgrid::test::bitsOf(a * (b * c)));

    EXPECT_EQ(fluxgrid::sensor::initBlockInfo(block, 31, 3, a, b, c, -2.5), 1);

    EXPECT_EQ(block.hardwareNo, 31);
    EXPECT_EQ(block.gradOrderNo, 3);
    EXPECT_BITS_EQ(a, block.properGain);
    EXPECT_BITS_EQ(b, block.secondGain);
    EXPECT_BITS_EQ(c, block.thirdGain);
    EXPECT_BITS_EQ(-2.5, block.gainOffset);
    EXPECT_BITS_EQ((a * b) * c, block.totalGain);
    EXPECT_BITS_EQ(before.neuromagFactor, block.neuromagFactor);
    EXPECT_BITS_EQ(before.scaleConstant, block.scaleConstant);
    EXPECT_EQ(block.gradAuxNo, before.gradAuxNo);
    EXPECT_BITS_EQ(before.auxValue1, block.auxValue1);
}

}  // namespace
