// SQUID and OPM hardware records built by hand, field by field, from their
// layout tables, with their 24 nested element records. Nothing here calls
// the library's encoders: the bytes come from the ByteBuilder alone, and
// the objects only supply the values.
#pragma once

#include <fluxgrid/sensor/MegGrdBsc.h>
#include <fluxgrid/sensor/MegOpm.h>
#include <fluxgrid/sensor/MegSquid.h>

#include "support/ByteBuilder.h"

#include <vector>

namespace fluxgrid::test {

/// Gives every number of the gradiometer block a distinct value derived from
/// `seed` (`fillFields`, `gradAuxNo` included), `realIdealCoefMode` true,
/// `adaptiveBalance` false, and the name "Hw" followed by the seed's last digit. `totalGain` does
/// not agree with the product of the three gains.
void fillBlock(CMegGrdBsc& block, int seed);

/// The block, `squidAuxNo`, `totalCoils` 3, `currentCoilID` 2, and all 24
/// coils filled with distinct values (`fillFields`), named "Dw0".."Dw7",
/// "Hd0".."Hd7" and "Wk0".."Wk7".
void fillSquid(CMegSquid& record, int seed);
/// The block, `totalVapors` 5, `currentVaporID` 4, and all 24 cells filled
/// with distinct values (`fillFields`), named as for `fillSquid`.
void fillOpm(CMegOpm& record, int seed);

/// The gradiometer block as a hardware record files it, from `hardwareNo`
/// through the four auxiliary rows; `gradAuxNo` only when `withGradAuxNo`.
void appendBlock(ByteBuilder& out, const CMegGrdBsc& block, bool withGradAuxNo);

/// Appends the record "MSQUIDQV" of version 20190201 with its 24 coil
/// records of version 20211230.
void appendSquidRecord20190201(ByteBuilder& out, const CMegSquid& record);
/// Appends the record "MEGOPMQV" of version 20190201 with its 24 vapor cell
/// records of version 20211230.
void appendOpmRecord20190201(ByteBuilder& out, const CMegOpm& record);

std::vector<BYTE> squidRecord20190201(const CMegSquid& record);
std::vector<BYTE> opmRecord20190201(const CMegOpm& record);

/// Checks the block's defaults after a reset, every field but `hardwareName`
/// and `gradAuxNo`: `hardwareNo` 0, `neuromagFactor` 1.0, `gainOffset` 0.0,
/// `scaleConstant` 1e17, the four gains 1.0, `gradOrderNo` 0, both flags
/// false, the auxiliary values, vectors and flags 0.
void expectBlockDefaults(const CMegGrdBsc& block);
/// Checks every filed number of the block, bit for bit for doubles;
/// `gradAuxNo` only when `withGradAuxNo`. `hardwareName` is not compared.
void expectBlockFiledFieldsEq(const CMegGrdBsc& expected, const CMegGrdBsc& actual,
                              bool withGradAuxNo);
/// Checks every field that the SQUID record files: the block with
/// `gradAuxNo`, `squidAuxNo`, the counts and all 24 coils.
void expectSquidFiledFieldsEq(const CMegSquid& expected, const CMegSquid& actual);
/// Checks every field that the OPM record files: the block without
/// `gradAuxNo`, the counts and all 24 cells.
void expectOpmFiledFieldsEq(const CMegOpm& expected, const CMegOpm& actual);

}  // namespace fluxgrid::test
