#include "support/ElementRecords.h"

#include "support/FieldFill.h"

namespace fluxgrid::test {

void fillElement(CBscMagSns& element, int seed, const std::u16string& name) {
    fillFields(element, seed);
    element.coilName = CString(name);
}

void fillVapor(CMagVapor& cell, int seed, const std::u16string& name) {
    fillFields(cell, seed);
    cell.coilName = CString(name);
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
    expectFieldsEq(expected, actual, FieldScope::filedBy(fields::Body::coil20211230));
}

void expectVaporFiledFieldsEq(const CMagVapor& expected, const CMagVapor& actual) {
    expectFieldsEq(expected, actual, FieldScope::filedBy(fields::Body::vapor20211230));
}

}  // namespace fluxgrid::test
