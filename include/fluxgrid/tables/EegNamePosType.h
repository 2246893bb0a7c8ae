/// \file EegNamePosType.h
/// One row of an EEG layout table: a channel label, a position and the kind
/// of channel.
#pragma once

#include <fluxgrid/platform/CString.h>

struct EEG_NAME_POS_TYPE {
    /// Channel label, case-exact ("FP1" in the head tables, "Fp1" in the
    /// sphere tables).
    CString name;
    /// Position in the frame of the table that holds the row.
    double posX;
    double posY;
    double posZ;
    /// 2 for a recording electrode, 1 for an ear electrode (A1, A2).
    int electrodeKind;
    /// Channel type code: always 300 + `electrodeKind`, so 302 ("EEG_SNSR")
    /// for a recording electrode and 301, a code without a name, for an ear
    /// electrode.
    int sensorType;
};
