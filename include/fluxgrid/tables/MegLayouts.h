/// \file MegLayouts.h
/// Three constant tables of MEG channels. Each row is the record that
/// `CMEGSensor::setAcqSnsParam` takes: a sensor label, a position in the
/// head frame of the EEG tables (millimetres), an orientation close to unit
/// length (not normalised) and a channel type code.
///
/// Each table is an array whose row count is part of its type, so that
/// `std::size` gives it; a host reads rows by index and may pass a row's
/// address to `setAcqSnsParam`, which only reads it. The library itself
/// never reads the tables and nothing changes them. They are initialised
/// when the library is loaded, before the initialisers of any module that
/// links against it.
#pragma once

#include <fluxgrid/sensor/MegOpmNamePosType.h>

/// Positions of `eegLayout21Row`, row by row. Type 100 ("MEG_SNSR"), the ear
/// rows MGL0 and MGR0 type 10 ("MEG_REF").
extern const MEG_OPM_NAME_POS_TYPE megLayout21[21];
/// Positions of `eegLayout32`, row by row. Type 100, the ear rows MLA1 and
/// MRA2 type 301.
extern const MEG_OPM_NAME_POS_TYPE megLayout32[32];
/// Three channels (x, y, z) for each of nine sensors M11 to M33 and two
/// references Mr1 and Mr2; rows 0 to 26 stand at the positions of the rows
/// of `megLayout32`. Type 100 throughout.
extern const MEG_OPM_NAME_POS_TYPE megTriaxial33[33];
