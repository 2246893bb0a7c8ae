// Coil and vapor cell records built by hand, field by field, from their
// layout tables, for golden-byte tests of the records that nest them.
// Nothing here calls the library's encoders: the bytes come from the
// ByteBuilder alone, and the objects only supply the values.
#pragma once

#include <fluxgrid/element/MagCoil.h>
#include <fluxgrid/element/MagVapor.h>

#include "support/ByteBuilder.h"
#include "support/FieldFill.h"

#include <string>
#include <vector>

namespace fluxgrid::test {

/// Gives every field of the element (all of the sensing element's fields)
/// a distinct value derived from `seed` (`fillFields`), and the name `name`. `magApha` does
/// not agree with turns times area, and the direction fields do not agree
/// with the orientation: a load must take them as they stand.
void fillElement(CBscMagSns& element, int seed, const std::u16string& name);
/// As `fillElement`, and the cell's own four fields as well.
void fillVapor(CMagVapor& cell, int seed, const std::u16string& name);

/// Appends the coil record "MEGCOILQV" of version 20211230, 970 + L bytes.
void appendCoilRecord20211230(ByteBuilder& out, const CBscMagSns& coil);
/// Appends the vapor cell record "AMOPMQV" of version 20211230, 910 + L bytes.
void appendVaporRecord20211230(ByteBuilder& out, const CMagVapor& cell);

/// The record alone.
std::vector<BYTE> coilRecord20211230(const CBscMagSns& coil);
std::vector<BYTE> vaporRecord20211230(const CMagVapor& cell);

/// Checks, bit for bit for doubles, every field that the coil record of
/// version 20211230 holds (which is every field of the sensing element).
void expectCoilFiledFieldsEq(const CBscMagSns& expected, const CBscMagSns& actual);
/// Checks every field that the vapor cell record of version 20211230 holds
/// (all but `vaporAuxNo` and the coil's loop numbers), bit for bit.
void expectVaporFiledFieldsEq(const CMagVapor& expected, const CMagVapor& actual);

}  // namespace fluxgrid::test
