#include "support/ElementRecords.h"

#include "support/Harness.h"

#include <gtest/gtest.h>

namespace fluxgrid::test {

double sampleDouble(int seed, int field) {
    // Odd sign pattern and a binary fraction, so that neither a zero nor a
    // swapped neighbour can pass for the right value.
    const double magnitude = seed * 1000.0 + field + 0.375;
    return (field % 3 == 1) ? -magnitude : magnitude;
}

int sampleInt(int seed, int field) {
    const int magnitude = seed * 1000 + field + 7;
    return (field % 4 == 2) ? -magnitude : magnitude;
}

void fillElement(CBscMagSns& element, int seed, const std::u16string& name) {
    int field = 0;
    for (double& v : element.vctXYRD)
        v = sampleDouble(seed, field++);
    element.coilName = CString(name);
    for (double& v : element.posP4)
        v = sampleDouble(seed, field++);
    for (double& v : element.oriP4)
        v = sampleDouble(seed, field++);
    for (double& v : element.nmlDirXYZW)
        v = sampleDouble(seed, field++);
    for (double& v : element.axisRotate)
        v = sampleDouble(seed, field++);
    element.rotateRad = sampleDouble(seed, field++);
    element.rotateDeg = sampleDouble(seed, field++);
    for (auto& row : element.auxRows) {
        for (double& v : row)
            v = sampleDouble(seed, field++);
    }
    element.coilAuxNo = sampleInt(seed, field++);
    for (auto& pair : element.pairTable) {
        for (auto& vec : pair) {
            for (double& v : vec)
                v = sampleDouble(seed, field++);
        }
    }
    element.coilAuxNo2 = sampleInt(seed, field++);
    element.coilTurns = sampleInt(seed, field++);
    element.coilAuxValue = sampleDouble(seed, field++);
    element.coilArea = sampleDouble(seed, field++);
    element.magApha = sampleDouble(seed, field++);
    element.unitScale = sampleDouble(seed, field++);
    element.coilShape = sampleInt(seed, field++);
    element.coilAuxValue2 = sampleDouble(seed, field++);
    element.coilAuxValue3 = sampleDouble(seed, field++);
}

void fillVapor(CMagVapor& cell, int seed, const std::u16string& name) {
    fillElement(cell, seed, name);
    int field = 500;
    cell.vaporAuxNo = sampleInt(seed, field++);
    cell.vaporShape = sampleInt(seed, field++);
    for (auto& pair : cell.vaporPairTable) {
        for (auto& vec : pair) {
            for (double& v : vec)
                v = sampleDouble(seed, field++);
        }
    }
    cell.vaporAuxNo2 = sampleInt(seed, field++);
}

namespace {

// Four groups of nine doubles: element i of posP4, oriP4, nmlDirXYZW,
// axisRotate, vctXYRD, auxRows[0..3].
void appendWideGroups(ByteBuilder& out, const CBscMagSns& e) {
    for (int i = 0; i < 4; ++i) {
        out.f64(e.posP4[i]);
        out.f64(e.oriP4[i]);
        out.f64(e.nmlDirXYZW[i]);
        out.f64(e.axisRotate[i]);
        out.f64(e.vctXYRD[i]);
        out.f64(e.auxRows[0][i]);
        out.f64(e.auxRows[1][i]);
        out.f64(e.auxRows[2][i]);
        out.f64(e.auxRows[3][i]);
    }
}

// 72 doubles: for pair g and element j, the second vector's element, then
// the first's.
void appendPairBlock(ByteBuilder& out, const double (&table)[12][2][3]) {
    for (int g = 0; g < 12; ++g) {
        for (int j = 0; j < 3; ++j) {
            out.f64(table[g][1][j]);
            out.f64(table[g][0][j]);
        }
    }
}

void expectArrayBitsEq(const double* expected, const double* actual, int count, const char* what) {
    for (int i = 0; i < count; ++i) {
        SCOPED_TRACE(std::string(what) + "[" + std::to_string(i) + "]");
        EXPECT_BITS_EQ(expected[i], actual[i]);
    }
}

}  // namespace

void appendCoilRecord20211230(ByteBuilder& out, const CBscMagSns& coil) {
    out.wide(u"MEGCOILQV");                // 0: magic
    out.i32(20211230);                     // 22: version
    out.i32(coil.coilAuxNo);               // 26
    out.f64(coil.coilAuxValue);            // 30
    out.f64(coil.coilArea);                // 38
    out.i32(coil.coilTurns);               // 46
    out.f64(coil.magApha);                 // 50
    out.f64(coil.unitScale);               // 58
    out.i32(coil.coilShape);               // 66
    out.wide(coil.coilName.str());         // 70: L bytes
    out.i32(coil.coilAuxNo2);              // 70 + L
    out.f64(coil.coilAuxValue2);           // 74 + L
    out.f64(coil.coilAuxValue3);           // 82 + L
    out.f64(coil.rotateRad);               // 90 + L
    out.f64(coil.rotateDeg);               // 98 + L
    appendWideGroups(out, coil);           // 106 + L: 288 bytes
    appendPairBlock(out, coil.pairTable);  // 394 + L: 576 bytes
}

void appendVaporRecord20211230(ByteBuilder& out, const CMagVapor& cell) {
    out.wide(u"AMOPMQV");                       // 0: magic
    out.i32(20211230);                          // 18: version
    out.i32(cell.vaporShape);                   // 22
    out.wide(cell.coilName.str());              // 26: L bytes
    out.i32(cell.vaporAuxNo2);                  // 26 + L
    out.f64(cell.rotateRad);                    // 30 + L
    out.f64(cell.rotateDeg);                    // 38 + L
    appendWideGroups(out, cell);                // 46 + L: 288 bytes
    appendPairBlock(out, cell.vaporPairTable);  // 334 + L: 576 bytes
}

std::vector<BYTE> coilRecord20211230(const CBscMagSns& coil) {
    ByteBuilder out;
    appendCoilRecord20211230(out, coil);
    return out.bytes();
}

std::vector<BYTE> vaporRecord20211230(const CMagVapor& cell) {
    ByteBuilder out;
    appendVaporRecord20211230(out, cell);
    return out.bytes();
}

void expectCoilFiledFieldsEq(const CBscMagSns& expected, const CBscMagSns& actual) {
    EXPECT_EQ(expected.coilName, actual.coilName);
    expectArrayBitsEq(expected.vctXYRD, actual.vctXYRD, 4, "vctXYRD");
    expectArrayBitsEq(expected.posP4, actual.posP4, 4, "posP4");
    expectArrayBitsEq(expected.oriP4, actual.oriP4, 4, "oriP4");
    expectArrayBitsEq(expected.nmlDirXYZW, actual.nmlDirXYZW, 4, "nmlDirXYZW");
    expectArrayBitsEq(expected.axisRotate, actual.axisRotate, 4, "axisRotate");
    EXPECT_BITS_EQ(expected.rotateRad, actual.rotateRad);
    EXPECT_BITS_EQ(expected.rotateDeg, actual.rotateDeg);
    expectArrayBitsEq(&expected.auxRows[0][0], &actual.auxRows[0][0], 16, "auxRows");
    EXPECT_EQ(expected.coilAuxNo, actual.coilAuxNo);
    expectArrayBitsEq(&expected.pairTable[0][0][0], &actual.pairTable[0][0][0], 72, "pairTable");
    EXPECT_EQ(expected.coilAuxNo2, actual.coilAuxNo2);
    EXPECT_EQ(expected.coilTurns, actual.coilTurns);
    EXPECT_BITS_EQ(expected.coilAuxValue, actual.coilAuxValue);
    EXPECT_BITS_EQ(expected.coilArea, actual.coilArea);
    EXPECT_BITS_EQ(expected.magApha, actual.magApha);
    EXPECT_BITS_EQ(expected.unitScale, actual.unitScale);
    EXPECT_EQ(expected.coilShape, actual.coilShape);
    EXPECT_BITS_EQ(expected.coilAuxValue2, actual.coilAuxValue2);
    EXPECT_BITS_EQ(expected.coilAuxValue3, actual.coilAuxValue3);
}

void expectVaporFiledFieldsEq(const CMagVapor& expected, const CMagVapor& actual) {
    EXPECT_EQ(expected.coilName, actual.coilName);
    EXPECT_EQ(expected.vaporShape, actual.vaporShape);
    EXPECT_EQ(expected.vaporAuxNo2, actual.vaporAuxNo2);
    EXPECT_BITS_EQ(expected.rotateRad, actual.rotateRad);
    EXPECT_BITS_EQ(expected.rotateDeg, actual.rotateDeg);
    expectArrayBitsEq(expected.vctXYRD, actual.vctXYRD, 4, "vctXYRD");
    expectArrayBitsEq(expected.posP4, actual.posP4, 4, "posP4");
    expectArrayBitsEq(expected.oriP4, actual.oriP4, 4, "oriP4");
    expectArrayBitsEq(expected.nmlDirXYZW, actual.nmlDirXYZW, 4, "nmlDirXYZW");
    expectArrayBitsEq(expected.axisRotate, actual.axisRotate, 4, "axisRotate");
    expectArrayBitsEq(&expected.auxRows[0][0], &actual.auxRows[0][0], 16, "auxRows");
    expectArrayBitsEq(&expected.vaporPairTable[0][0][0], &actual.vaporPairTable[0][0][0], 72,
                      "vaporPairTable");
}

}  // namespace fluxgrid::test
