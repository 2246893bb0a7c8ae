#include "support/HardwareRecords.h"

#include "support/ElementRecords.h"
#include "support/FieldFill.h"

#include <string>

namespace fluxgrid::test {

namespace {

std::u16string slotName(const char16_t* frame, int index) {
    return std::u16string(frame) + static_cast<char16_t>(u'0' + index);
}

// The values that tests rely on beyond distinctness.
void markBlock(CMegGrdBsc& block, int seed) {
    block.hardwareName =
        CString(u"Hw" + std::u16string(1, static_cast<char16_t>(u'0' + seed % 10)));
    block.realIdealCoefMode = true;
    block.adaptiveBalance = false;
}

int elementSeed(int seed, int index, int frame) {
    return seed * 100 + index * 3 + frame + 1;
}

// Each element filled again from a seed of its own, so that a test can
// recompute an element's values from its slot; named "Dw0".."Wk7".
template <class Element, class Fill>
void fillSlots(Element (&dewar)[8], Element (&head)[8], Element (&work)[8], int seed, Fill fill) {
    for (int i = 0; i < 8; ++i) {
        fill(dewar[i], elementSeed(seed, i, 0), slotName(u"Dw", i));
        fill(head[i], elementSeed(seed, i, 1), slotName(u"Hd", i));
        fill(work[i], elementSeed(seed, i, 2), slotName(u"Wk", i));
    }
}

}  // namespace

void fillBlock(CMegGrdBsc& block, int seed) {
    fillFields(block, seed);
    markBlock(block, seed);
}

void fillSquid(CMegSquid& record, int seed) {
    fillFields(record, seed);
    markBlock(record, seed);
    record.totalCoils = 3;
    record.currentCoilID = 2;
    fillSlots(record.coilDewar, record.coilHead, record.coilWork, seed, fillElement);
}

void fillOpm(CMegOpm& record, int seed) {
    fillFields(record, seed);
    markBlock(record, seed);
    record.totalVapors = 5;
    record.currentVaporID = 4;
    fillSlots(record.vaporDewar, record.vaporHead, record.vaporWork, seed, fillVapor);
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
    // The block as the record that carries `gradAuxNo` files it, or as the
    // one that does not.
    expectFieldsEq(expected, actual,
                   FieldScope::filedBy(withGradAuxNo ? fields::Body::squid20190201
                                                     : fields::Body::opm20190201));
}

void expectSquidFiledFieldsEq(const CMegSquid& expected, const CMegSquid& actual) {
    expectFieldsEq(expected, actual, FieldScope::filedBy(fields::Body::squid20190201));
}

void expectOpmFiledFieldsEq(const CMegOpm& expected, const CMegOpm& actual) {
    expectFieldsEq(expected, actual, FieldScope::filedBy(fields::Body::opm20190201));
}

}  // namespace fluxgrid::test
