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

/// Stores the magic and the version of a record, or reads and checks them.
/// False when either differs; the stream then stays just behind what
/// differed.
inline bool serializeRecordFrame(CArchive& ar, const char16_t* magic) {
    if (ar.IsStoring()) {
        frame::storeHeader(ar, magic, kRecordVersion);
        return true;
    }
    return frame::magicMatches(ar, magic) && frame::loadVersion(ar) == kRecordVersion;
}

}  // namespace fluxgrid::records
