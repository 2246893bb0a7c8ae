// The frame of the fiducial and sphere records. These records travel nested
// inside other files, and their callers act on a result of 0 alone: a wrong
// magic or version is refused quietly, with no message box.
#pragma once

#include <fluxgrid/frame/FileFrame.h>
#include <fluxgrid/platform/Archive.h>

namespace fluxgrid::records {

/// The version that every fiducial point, fiducial set and sphere record is
/// written and read as.
inline constexpr int kRecordVersion = 20261122;

/// Reads the magic and the version of a nested record. False when either
/// differs; the stream then stays just behind what differed.
inline bool loadRecordFrame(CArchive& ar, const char16_t* magic) {
    CString found;
    ar >> found;
    if (!(found == magic)) {
        return false;
    }
    return frame::loadVersion(ar) == kRecordVersion;
}

}  // namespace fluxgrid::records
