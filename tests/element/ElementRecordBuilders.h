// Coil and vapor cell records built by hand from their layout tables, for
// golden-byte tests. Nothing here calls the library's encoders.
#pragma once

#include <fluxgrid/element/BscMagSns.h>
#include <fluxgrid/element/MagVapor.h>

#include "support/ByteBuilder.h"

#include <string>

namespace fluxgrid::test {

/// Every filed number of an element, with distinct values so that a field
/// read from the wrong offset cannot pass.
struct ElementValues {
    std::u16string name = u"Coil";
    int coilTurns = 11;
    double coilArea = 2.5;
    double coilAuxValue = -3.25;
    double unitScale = 10.0;
    int coilAuxNo = 13;
    int coilShape = 2;
    double magApha = 31.25;
    int coilAuxNo2 = 17;
    double coilAuxValue2 = 0.125;
    double coilAuxValue3 = -0.0625;
    double rotateRad = 1.25;
    double rotateDeg = 71.5;
    int vaporShape = 1;
    int vaporAuxNo2 = 23;
    double pos[4] = {1.5, -2.5, 3.5, 4.5};
    double ori[4] = {0.0, 1.0, -0.0, 7.0};
    double nml[4] = {0.25, 0.5, 0.75, 1.0};
    double axis[4] = {-1.0, -2.0, -3.0, -4.0};
    double vct[4] = {5.0, 6.0, 7.0, 8.0};
    double aux[4][4] = {{10, 11, 12, 13}, {20, 21, 22, 23}, {30, 31, 32, 33}, {40, 41, 42, 43}};
    // pairs[g][k][j]: vector k of pair g.
    double pairs[12][2][3];

    ElementValues() {
        for (int g = 0; g < 12; ++g) {
            for (int k = 0; k < 2; ++k) {
                for (int j = 0; j < 3; ++j) {
                    pairs[g][k][j] = 100.0 * g + 10.0 * k + j + 0.5;
                }
            }
        }
    }
};

inline void appendPairBlock(ByteBuilder& b, const double (&pairs)[12][2][3]) {
    for (int g = 0; g < 12; ++g) {
        for (int j = 0; j < 3; ++j) {
            b.f64(pairs[g][1][j]).f64(pairs[g][0][j]);
        }
    }
}

/// A coil record of `version` (20080102, 20091117, 20140513 or 20211230).
inline ByteBuilder coilRecord(int version, const ElementValues& v) {
    ByteBuilder b;
    b.wide(u"MEGCOILQV").i32(version);
    if (version == 20080102 || version == 20091117) {
        b.i32(v.coilTurns).f64(v.coilArea).f64(v.coilAuxValue).f64(v.unitScale);
        b.i32(v.coilAuxNo).i32(v.coilShape).wide(v.name);
        for (int i = 0; i < 4; ++i) {
            b.f64(v.pos[i]).f64(v.ori[i]).f64(v.nml[i]).f64(v.vct[i]).f64(v.aux[0][i]);
        }
    } else {
        b.i32(v.coilAuxNo).f64(v.coilAuxValue).f64(v.coilArea).i32(v.coilTurns);
        b.f64(v.magApha).f64(v.unitScale).i32(v.coilShape).wide(v.name);
        b.i32(v.coilAuxNo2).f64(v.coilAuxValue2).f64(v.coilAuxValue3);
        if (version == 20211230) {
            b.f64(v.rotateRad).f64(v.rotateDeg);
        }
        for (int i = 0; i < 4; ++i) {
            b.f64(v.pos[i]).f64(v.ori[i]).f64(v.nml[i]);
            if (version == 20211230) {
                b.f64(v.axis[i]);
            }
            b.f64(v.vct[i]).f64(v.aux[0][i]).f64(v.aux[1][i]).f64(v.aux[2][i]).f64(v.aux[3][i]);
        }
    }
    appendPairBlock(b, v.pairs);
    return b;
}

/// A vapor cell record of `version` (20190121 or 20211230).
inline ByteBuilder vaporRecord(int version, const ElementValues& v) {
    ByteBuilder b;
    b.wide(u"AMOPMQV").i32(version);
    b.i32(v.vaporShape).wide(v.name).i32(v.vaporAuxNo2);
    if (version == 20211230) {
        b.f64(v.rotateRad).f64(v.rotateDeg);
    }
    for (int i = 0; i < 4; ++i) {
        b.f64(v.pos[i]).f64(v.ori[i]).f64(v.nml[i]);
        if (version == 20211230) {
            b.f64(v.axis[i]);
        }
        b.f64(v.vct[i]).f64(v.aux[0][i]).f64(v.aux[1][i]).f64(v.aux[2][i]).f64(v.aux[3][i]);
    }
    appendPairBlock(b, v.pairs);
    return b;
}

/// The values of an element as the builders take them.
inline ElementValues valuesOf(const CBscMagSns& e) {
    ElementValues v;
    v.name = e.coilName.str();
    v.coilTurns = e.coilTurns;
    v.coilArea = e.coilArea;
    v.coilAuxValue = e.coilAuxValue;
    v.unitScale = e.unitScale;
    v.coilAuxNo = e.coilAuxNo;
    v.coilShape = e.coilShape;
    v.magApha = e.magApha;
    v.coilAuxNo2 = e.coilAuxNo2;
    v.coilAuxValue2 = e.coilAuxValue2;
    v.coilAuxValue3 = e.coilAuxValue3;
    v.rotateRad = e.rotateRad;
    v.rotateDeg = e.rotateDeg;
    for (int i = 0; i < 4; ++i) {
        v.pos[i] = e.posP4[i];
        v.ori[i] = e.oriP4[i];
        v.nml[i] = e.nmlDirXYZW[i];
        v.axis[i] = e.axisRotate[i];
        v.vct[i] = e.vctXYRD[i];
        for (int r = 0; r < 4; ++r) {
            v.aux[r][i] = e.auxRows[r][i];
        }
    }
    for (int g = 0; g < 12; ++g) {
        for (int k = 0; k < 2; ++k) {
            for (int j = 0; j < 3; ++j) {
                v.pairs[g][k][j] = e.pairTable[g][k][j];
            }
        }
    }
    return v;
}

/// The values of a vapor cell, its own pair table in place of the coil's.
inline ElementValues valuesOf(const CMagVapor& cell) {
    ElementValues v = valuesOf(static_cast<const CBscMagSns&>(cell));
    v.vaporShape = cell.vaporShape;
    v.vaporAuxNo2 = cell.vaporAuxNo2;
    for (int g = 0; g < 12; ++g) {
        for (int k = 0; k < 2; ++k) {
            for (int j = 0; j < 3; ++j) {
                v.pairs[g][k][j] = cell.vaporPairTable[g][k][j];
            }
        }
    }
    return v;
}

}  // namespace fluxgrid::test
