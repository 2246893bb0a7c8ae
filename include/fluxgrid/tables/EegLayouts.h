/// \file EegLayouts.h
/// Ten constant tables of standard EEG electrode layouts, from a ten-channel
/// montage up to a 256-electrode net.
///
/// Each table is an array whose row count is part of its type, so that
/// `std::size` gives it; a host reads rows by index. The row order is the
/// channel order of the montage. The library itself never reads the tables
/// and nothing changes them. They are initialised when the library is
/// loaded, before the initialisers of any module that links against it.
///
/// Each table keeps the frame in which it stands; nothing converts between
/// them:
///
/// | Frame  | x toward        | y toward          | z toward           | Unit        |
/// |--------|-----------------|-------------------|--------------------|-------------|
/// | head   | subject's left  | top of the head   | back of the head   | millimetres |
/// | sphere | nose            | subject's left    | vertex             | radius 100  |
/// | net    | subject's right | nose              | vertex             | centimetres |
///
/// Rows labelled A1 and A2 are ear electrodes (`electrodeKind` 1, type 301);
/// every other row is a recording electrode (2, type 302), the fiducial rows
/// of the nets included.
#pragma once

#include <fluxgrid/tables/EegNamePosType.h>

/// Head frame: FP1 FP2 C3 C4 P3 P4 O1 O2 A1 A2.
extern const EEG_NAME_POS_TYPE eegLayout10[10];
/// Head frame: FP1 FP2 F3 F4 F7 F8 T3 T4 T5 T6 C3 C4 P3 P4 O1 O2 A1 A2.
extern const EEG_NAME_POS_TYPE eegLayout18[18];
/// Head frame: the rows of `eegLayout18` with FZ CZ PZ before A1 A2; T3 to
/// T6 stand elsewhere than in `eegLayout18`.
extern const EEG_NAME_POS_TYPE eegLayout21[21];
/// Head frame, row by row: FP1 FP2 F7 F3 FZ F4 F8 C3 CZ C4 T3 T4 T5 T6 P3 PZ
/// P4 O1 O2 A1 A2. Another montage than `eegLayout21`, with T3 to T6 of its
/// own.
extern const EEG_NAME_POS_TYPE eegLayout21Row[21];
/// Sphere frame: Fp1 Fp2 F9 F7 F3 Fz F4 F8 F10 T9 T7 C3 Cz C4 T8 T10 P9 P7
/// P3 Pz P4 P8 P10 O1 O2.
extern const EEG_NAME_POS_TYPE eegSphere25[25];
/// Head frame: FP1 FP2 F7 F3 FZ F4 F8 FT7 FC3 FCZ FC4 FT8 T7 C3 CZ C4 T8 TP7
/// CP3 CPZ CP4 TP8 P7 P3 PZ P4 P8 O1 OZ O2 A1 A2.
extern const EEG_NAME_POS_TYPE eegLayout32[32];
/// Sphere frame: the rows of `eegSphere25` with FC5 FC1 FC2 FC6 and CP5 CP1
/// CP2 CP6 added.
extern const EEG_NAME_POS_TYPE eegSphere33[33];
/// Sphere frame: Fpz Fz Cz Pz Oz Iz, then 40 lateral electrodes, then Nz.
extern const EEG_NAME_POS_TYPE eegSphere47[47];
/// Net frame: FidNz FidT9 FidT10, then E1 to E64 in number order.
extern const EEG_NAME_POS_TYPE eegNet67[67];
/// Net frame: FidNz FidT9 FidT10, then E1 to E256 in number order, then Cz
/// (row 259), the highest row.
extern const EEG_NAME_POS_TYPE eegNet260[260];
