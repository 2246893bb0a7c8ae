/// \file FileFrame.h
/// How every file kind opens: the magic in the wide string form, then the
/// version as an int32, then the body of that version. A wrong magic or an
/// unknown version is reported in a message box, with words and a result
/// that each file kind fixes for itself.
#pragma once

#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/platform/CString.h>

#include <string_view>

namespace fluxgrid::frame {

/// Bad-magic words of the coil, vapor cell, SQUID and OPM records.
inline constexpr const char* kNotMegFile = "The opened file is not MEG file or corrupted!";
/// Bad-version words of the coil and the sensor file.
inline constexpr const char* kWrongFileFormat = "Wrong file format!!?";

/// Writes the magic and the version.
void storeHeader(CArchive& ar, std::u16string_view magic, int version);

/// Reads a magic and compares it exactly, letter case counting; a narrow
/// string with the same letters matches. Shows nothing.
bool magicMatches(CArchive& ar, std::u16string_view magic);

/// Reads the magic and compares it exactly, letter case counting; a narrow
/// string with the same letters matches. On a mismatch it shows
/// `badMagicText` and returns false, leaving the stream just behind the
/// string.
bool loadMagic(CArchive& ar, std::u16string_view magic, const char* badMagicText);

/// Reads the version.
int loadVersion(CArchive& ar);

/// Shows the bad-version words of a file kind.
void reportBadVersion(const char* badVersionText);

}  // namespace fluxgrid::frame
