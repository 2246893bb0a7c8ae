/// \file FileKinds.h
/// The six kinds of file that the library reads and writes: the magic that
/// opens each, the versions its entry accepts and the version it writes.
/// The entries of the model classes take their magic and newest version from
/// here, so that this table and what they do cannot drift apart.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace fluxgrid {

/// In the order of the table below.
enum class FileKind { coil, vapor, squid, opm, sensor, headloc };

struct FileKindInfo {
    FileKind kind;
    /// The magic that opens a file of this kind, in the wide string form.
    std::u16string_view magic;
    /// A short word for the kind: "coil", "vapor", "squid", "opm",
    /// "sensor" or "headloc".
    std::string_view word;
    /// What a person calls it: "coil record", "sensor file", ...
    std::string_view title;
    /// Every version that the kind's entry loads, oldest first.
    std::span<const int> accepted;
    /// The version that a store writes: always the newest.
    int written;

    constexpr bool accepts(int version) const {
        for (int v : accepted) {
            if (v == version) {
                return true;
            }
        }
        return false;
    }
};

namespace kinds {

inline constexpr int kCoilVersions[] = {20080102, 20091117, 20140513, 20211230};
inline constexpr int kVaporVersions[] = {20190121, 20211230};
inline constexpr int kSquidVersions[] = {20190201};
inline constexpr int kOpmVersions[] = {20190201};
/// 20190201 has a body in the sensor class, yet its entry refuses a file of
/// that version like any unknown one.
inline constexpr int kSensorVersions[] = {20080101, 20091117, 20140513, 20200210};
inline constexpr int kHeadLocVersions[] = {20090606, 20110217, 20160320};

}  // namespace kinds

inline constexpr std::array<FileKindInfo, 6> kFileKinds = {{
    {FileKind::coil, u"MEGCOILQV", "coil", "coil record", kinds::kCoilVersions, 20211230},
    {FileKind::vapor, u"AMOPMQV", "vapor", "vapor cell record", kinds::kVaporVersions, 20211230},
    {FileKind::squid, u"MSQUIDQV", "squid", "SQUID record", kinds::kSquidVersions, 20190201},
    {FileKind::opm, u"MEGOPMQV", "opm", "OPM record", kinds::kOpmVersions, 20190201},
    {FileKind::sensor, u"MEGSENSORQV", "sensor", "sensor file", kinds::kSensorVersions, 20200210},
    {FileKind::headloc, u"HEADLOCATIONTRIAL", "headloc", "head localization file",
     kinds::kHeadLocVersions, 20160320},
}};

constexpr const FileKindInfo& fileKindInfo(FileKind kind) {
    return kFileKinds[static_cast<std::size_t>(kind)];
}

/// The kind whose magic is `magic` exactly, letter case counting.
constexpr std::optional<FileKind> fileKindOfMagic(std::u16string_view magic) {
    for (const FileKindInfo& info : kFileKinds) {
        if (info.magic == magic) {
            return info.kind;
        }
    }
    return std::nullopt;
}

/// The accepted versions of a kind as "a, b and c".
std::string acceptedVersionList(const FileKindInfo& info);

static_assert(fileKindInfo(FileKind::headloc).kind == FileKind::headloc);
static_assert(fileKindInfo(FileKind::coil).accepts(fileKindInfo(FileKind::coil).written));
static_assert(fileKindInfo(FileKind::sensor).accepts(fileKindInfo(FileKind::sensor).written));

}  // namespace fluxgrid
