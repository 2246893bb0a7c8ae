#include "support/HardwareRecords.h"

#include "support/ElementRecords.h"
#include "support/Harness.h"

#include <gtest/gtest.h>

#include <string>

namespace fluxgrid::test {

namespace {

std::u16string slotName(const char16_t* frame, int index) {
    return std::u16string(frame) + static_cast<char16_t>(u'0' + index);
}

int elementSeed(int seed, int index, int frame) {
    return seed * 100 + index * 3 + frame + 1;
}

}  // namespace

void fillBlock(CMegGrdBsc& block, int seed) {
    int field = 800;
    block.hardwareName =
        CString(u"Hw" + std::u16string(1, static_cast<char16_t>(u'0' + seed % 10)));
    block.hardwareNo = sampleInt(seed, field++);
    block.neuromagFactor = sampleDouble(seed, field++);
    block.gainOffset = sampleDouble(seed, field++);
    block.scaleConstant = sampleDouble(seed, field++);
    block.properGain = sampleDouble(seed, field++);
    block.secondGain = sampleDouble(seed, field++);
    block.thirdGain = sampleDouble(seed, field++);
    block.totalGain = sampleDouble(seed, field++);
    block.gradOrderNo = sampleInt(seed, field++);
    block.gradAuxNo = sampleInt(seed, field++);
    block.realIdealCoefMode = true;
    block.adaptiveBalance = false;
    block.auxValue1 = sampleDouble(seed, field++);
    block.auxValue2 = sampleDouble(seed, field++);
    for (int i = 0; i < 4; ++i) {
        block.auxVectorA[i] = sampleDouble(seed, field++);
        block.auxVectorB[i] = sampleDouble(seed, field++);
        block.auxFlags[i] = sampleInt(seed, field++);
    }
}

void fillSquid(CMegSquid& record, int seed) {
    fillBlock(record, seed);
    record.squidAuxNo = sampleInt(seed, 900);
    record.totalCoils = 3;
    record.currentCoilID = 2;
    for (int i = 0; i < 8; ++i) {
        fillElement(record.coilDewar[i], elementSeed(seed, i, 0), slotName(u"Dw", i));
        fillElement(record.coilHead[i], elementSeed(seed, i, 1), slotName(u"Hd", i));
        fillElement(record.coilWork[i], elementSeed(seed, i, 2), slotName(u"Wk", i));
    }
}

void fillOpm(CMegOpm& record, int seed) {
    fillBlock(record, seed);
    record.totalVapors = 5;
    record.currentVaporID = 4;
    for (int i = 0; i < 8; ++i) {
        fillVapor(record.vaporDewar[i], elementSeed(seed, i, 0), slotName(u"Dw", i));
        fillVapor(record.vaporHead[i], elementSeed(seed, i, 1), slotName(u"Hd", i));
        fillVapor(record.vaporWork[i], elementSeed(seed, i, 2), slotName(u"Wk", i));
    }
}

void appendBlock(ByteBuilder& out, const CMegGrdBsc& block, bool withGradAuxNo) {
    out.i32(block.hardwareNo);      // SQUID 24, OPM 24
    out.f64(block.neuromagFactor);  // 28
    out.f64(block.gainOffset);      // 36
    out.f64(block.scaleConstant);   // 44
    out.f64(block.properGain);      // 52
    out.f64(block.secondGain);      // 60
    out.f64(block.thirdGain);       // 68
    out.f64(block.totalGain);       // 76
    out.i32(block.gradOrderNo);     // 84
    if (withGradAuxNo) {
        out.i32(block.gradAuxNo);  // SQUID 88
    }
    out.boolean(block.realIdealCoefMode);  // SQUID 92, OPM 88
    out.boolean(block.adaptiveBalance);    // SQUID 93, OPM 89
    out.f64(block.auxValue1);              // SQUID 94, OPM 90
    out.f64(block.auxValue2);              // SQUID 102, OPM 98
    for (int i = 0; i < 4; ++i) {          // SQUID 110, OPM 106: rows of 20 bytes
        out.f64(block.auxVectorA[i]);
        out.f64(block.auxVectorB[i]);
        out.i32(block.auxFlags[i]);
    }
}

void appendSquidRecord20190201(ByteBuilder& out, const CMegSquid& record) {
    out.wide(u"MSQUIDQV");           // 0: magic
    out.i32(20190201);               // 20: version
    appendBlock(out, record, true);  // 24: 166 bytes
    out.i32(record.squidAuxNo);      // 190
    out.i32(record.totalCoils);      // 194
    out.i32(record.currentCoilID);   // 198
    for (int i = 0; i < 8; ++i) {    // 202: interleaved by index
        appendCoilRecord20211230(out, record.coilDewar[i]);
        appendCoilRecord20211230(out, record.coilHead[i]);
        appendCoilRecord20211230(out, record.coilWork[i]);
    }
}

void appendOpmRecord20190201(ByteBuilder& out, const CMegOpm& record) {
    out.wide(u"MEGOPMQV");            // 0: magic
    out.i32(20190201);                // 20: version
    appendBlock(out, record, false);  // 24: 162 bytes
    out.i32(record.totalVapors);      // 186
    out.i32(record.currentVaporID);   // 190
    for (int i = 0; i < 8; ++i) {     // 194: interleaved by index
        appendVaporRecord20211230(out, record.vaporDewar[i]);
        appendVaporRecord20211230(out, record.vaporHead[i]);
        appendVaporRecord20211230(out, record.vaporWork[i]);
    }
}

std::vector<BYTE> squidRecord20190201(const CMegSquid& record) {
    ByteBuilder out;
    appendSquidRecord20190201(out, record);
    return out.bytes();
}

std::vector<BYTE> opmRecord20190201(const CMegOpm& record) {
    ByteBuilder out;
    appendOpmRecord20190201(out, record);
    return out.bytes();
}

void expectBlockDefaults(const CMegGrdBsc& block) {
    EXPECT_EQ(block.hardwareNo, 0);
    EXPECT_BITS_EQ(1.0, block.neuromagFactor);
    EXPECT_BITS_EQ(0.0, block.gainOffset);
    EXPECT_EQ(bitsOf(block.scaleConstant), 0x4376345785D8A000ull);  // 1e17
    EXPECT_BITS_EQ(1.0, block.properGain);
    EXPECT_BITS_EQ(1.0, block.secondGain);
    EXPECT_BITS_EQ(1.0, block.thirdGain);
    EXPECT_BITS_EQ(1.0, block.totalGain);
    EXPECT_EQ(block.gradOrderNo, 0);
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

void expectBlockFiledFieldsEq(const CMegGrdBsc& expected, const CMegGrdBsc& actual,
                              bool withGradAuxNo) {
    EXPECT_EQ(expected.hardwareNo, actual.hardwareNo);
    EXPECT_BITS_EQ(expected.neuromagFactor, actual.neuromagFactor);
    EXPECT_BITS_EQ(expected.gainOffset, actual.gainOffset);
    EXPECT_BITS_EQ(expected.scaleConstant, actual.scaleConstant);
    EXPECT_BITS_EQ(expected.properGain, actual.properGain);
    EXPECT_BITS_EQ(expected.secondGain, actual.secondGain);
    EXPECT_BITS_EQ(expected.thirdGain, actual.thirdGain);
    EXPECT_BITS_EQ(expected.totalGain, actual.totalGain);
    EXPECT_EQ(expected.gradOrderNo, actual.gradOrderNo);
    if (withGradAuxNo) {
        EXPECT_EQ(expected.gradAuxNo, actual.gradAuxNo);
    }
    EXPECT_EQ(expected.realIdealCoefMode, actual.realIdealCoefMode);
    EXPECT_EQ(expected.adaptiveBalance, actual.adaptiveBalance);
    EXPECT_BITS_EQ(expected.auxValue1, actual.auxValue1);
    EXPECT_BITS_EQ(expected.auxValue2, actual.auxValue2);
    for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE("aux row " + std::to_string(i));
        EXPECT_BITS_EQ(expected.auxVectorA[i], actual.auxVectorA[i]);
        EXPECT_BITS_EQ(expected.auxVectorB[i], actual.auxVectorB[i]);
        EXPECT_EQ(expected.auxFlags[i], actual.auxFlags[i]);
    }
}

void expectSquidFiledFieldsEq(const CMegSquid& expected, const CMegSquid& actual) {
    expectBlockFiledFieldsEq(expected, actual, true);
    EXPECT_EQ(expected.squidAuxNo, actual.squidAuxNo);
    EXPECT_EQ(expected.totalCoils, actual.totalCoils);
    EXPECT_EQ(expected.currentCoilID, actual.currentCoilID);
    for (int i = 0; i < 8; ++i) {
        SCOPED_TRACE("coil slot " + std::to_string(i));
        expectCoilFiledFieldsEq(expected.coilDewar[i], actual.coilDewar[i]);
        expectCoilFiledFieldsEq(expected.coilHead[i], actual.coilHead[i]);
        expectCoilFiledFieldsEq(expected.coilWork[i], actual.coilWork[i]);
    }
}

void expectOpmFiledFieldsEq(const CMegOpm& expected, const CMegOpm& actual) {
    expectBlockFiledFieldsEq(expected, actual, false);
    EXPECT_EQ(expected.totalVapors, actual.totalVapors);
    EXPECT_EQ(expected.currentVaporID, actual.currentVaporID);
    for (int i = 0; i < 8; ++i) {
        SCOPED_TRACE("cell slot " + std::to_string(i));
        expectVaporFiledFieldsEq(expected.vaporDewar[i], actual.vaporDewar[i]);
        expectVaporFiledFieldsEq(expected.vaporHead[i], actual.vaporHead[i]);
        expectVaporFiledFieldsEq(expected.vaporWork[i], actual.vaporWork[i]);
    }
}

}  // namespace fluxgrid::test
