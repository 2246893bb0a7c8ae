/// \file FileKinds.h
/// The six file kinds as the tool sees them: how a file is read from disk,
/// told apart by its magic, and loaded through the library's own entry,
/// with every message box routed to standard error behind the file's name.
#pragma once

#include <fluxgrid/fluxgrid.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace fluxgrid::tool {

/// A failure of the work on one file, told in one line. The file's name is
/// put in front by whoever prints it.
class ToolError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

enum class FileKind { coil, vapor, squid, opm, sensor, headloc };

struct KindInfo {
    FileKind kind;
    /// The magic that opens a file of this kind.
    const char16_t* magic;
    /// A short word for the kind, as printed and as used in JSON.
    const char* word;
    /// What a person calls it.
    const char* title;
    std::vector<int> accepted;
    int written;
};

const std::vector<KindInfo>& allKinds();
const KindInfo& kindInfo(FileKind kind);

/// The accepted versions as "a, b and c".
std::string acceptedList(const KindInfo& info);

/// The whole content of a file; `ToolError` when it cannot be read.
std::vector<BYTE> readWholeFile(const std::string& path);

/// The frame of a file: its magic, the kind that magic names (if any) and
/// its version.
struct Header {
    std::string magic;
    std::optional<FileKind> kind;
    int version = 0;
};

/// Reads the frame without the library's entries, so that nothing is shown.
/// `ToolError` for an empty or truncated frame and for a magic that names
/// none of the six kinds.
Header peekHeader(const std::vector<BYTE>& bytes);

/// While it lives, every message box that the library raises is written to
/// standard error as one line, "NAME: text", and counted. Boxes are
/// answered with OK, or No to a Yes/No question: the answers that change
/// nothing.
class BoxesToStderr {
  public:
    explicit BoxesToStderr(std::string name);
    ~BoxesToStderr();
    BoxesToStderr(const BoxesToStderr&) = delete;
    BoxesToStderr& operator=(const BoxesToStderr&) = delete;

    const std::vector<std::string>& texts() const { return *m_texts; }

  private:
    std::shared_ptr<std::vector<std::string>> m_texts;
    AfxMessageBoxHandler m_previous;
};

/// One file loaded into the object of its kind; exactly one pointer is set.
struct LoadedFile {
    std::string path;
    FileKind kind = FileKind::coil;
    int version = 0;
    std::size_t size = 0;
    /// Bytes that the load took; fewer than `size` leaves bytes unread.
    std::size_t consumed = 0;
    std::unique_ptr<CMagCoilqv> coil;
    std::unique_ptr<CMagVaporqv> vapor;
    std::unique_ptr<CMegSquidqv> squid;
    std::unique_ptr<CMegOpmqv> opm;
    std::unique_ptr<CMEGSensorqv> sensor;
    std::unique_ptr<CHeadLocalizationqv> headloc;
};

/// Loads `bytes` through the library's entry for their kind. `ToolError`
/// when the file names no kind, is truncated (the library's end of file),
/// has a version that its kind refuses, or made the library raise a
/// message box.
LoadedFile loadBytes(const std::vector<BYTE>& bytes, const std::string& path);

/// `loadBytes` of the file's content.
LoadedFile loadFile(const std::string& path);

/// Loads `bytes` as a sensor file through `CMEGSensor09File::serializeqv`
/// whatever magic they hold, so that a file of another kind is refused in
/// the library's own words. `ToolError` as for `loadBytes`.
LoadedFile loadSensorBytes(const std::vector<BYTE>& bytes, const std::string& path);

/// A sensor stored as the newest version, in memory.
std::vector<BYTE> storeSensor(CMEGSensorqv& sensor);
/// A head localization stored as the newest version, in memory.
std::vector<BYTE> storeHeadLocalization(CHeadLocalizationqv& headloc);

}  // namespace fluxgrid::tool
