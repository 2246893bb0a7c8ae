// Loading: a file read from disk with its type and size checked first, its
// kind and version told from the frame, and the bytes run through the entry
// of their kind with the message boxes of that load captured. The texts of
// the failures are the ones the fluxgrid tool has always printed.
#include <fluxgrid/io/Files.h>
#include <fluxgrid/platform/Exceptions.h>
#include <fluxgrid/platform/MessageBox.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <exception>
#include <iterator>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fluxgrid {

namespace {

struct FailureNames {
    std::string_view code;
    std::string_view word;
};

// In the order of `FileFailure`.
constexpr FailureNames kFailureNames[] = {
    {"missing", "missing"},
    {"not-regular-file", "not a regular file"},
    {"too-large", "too large"},
    {"read-error", "read error"},
    {"bad-magic", "bad magic"},
    {"refused-version", "refused version"},
    {"truncated", "truncated"},
    {"refused", "refused"},
    {"corrupt", "corrupt"},
    {"write-error", "write error"},
    {"changed", "changed since it was read"},
};
static_assert(std::size(kFailureNames) == static_cast<std::size_t>(FileFailure::changed) + 1);

const FailureNames& namesOf(FileFailure failure) {
    return kFailureNames[static_cast<std::size_t>(failure)];
}

}  // namespace

std::string_view failureCode(FileFailure failure) {
    return namesOf(failure).code;
}

std::string_view failureWord(FileFailure failure) {
    return namesOf(failure).word;
}

std::string FileError::describe() const {
    if (file.empty()) {
        return message;
    }
    // Appended piece by piece: GCC 12 warns falsely (-Wrestrict) about a
    // string built in one expression from a temporary.
    std::string text = file;
    text += ": ";
    text += message;
    return text;
}

namespace {

constexpr const char* kInsideMagic =
    "not a file of any kind that fluxgrid reads, or truncated inside its magic";

FileError failureOf(FileFailure failure, std::string_view name, std::string message) {
    FileError error;
    error.failure = failure;
    error.file = std::string(name);
    error.message = std::move(message);
    return error;
}

std::string systemError(const char* what, int error) {
    std::string text = what;
    text += ": ";
    text += std::strerror(error);
    return text;
}

// A magic fit to be quoted in a message: short printable ASCII.
bool printable(const CString& text) {
    if (text.GetLength() == 0 || text.GetLength() > 40) {
        return false;
    }
    for (char16_t unit : text.str()) {
        if (unit < 0x20 || unit > 0x7E) {
            return false;
        }
    }
    return true;
}

std::string magicList() {
    std::string text;
    for (const FileKindInfo& info : kFileKinds) {
        if (!text.empty()) {
            text += ", ";
        }
        text += CString(std::u16string(info.magic)).ToUtf8();
    }
    return text;
}

// Bytes that end inside the magic are a truncated file if they are how a
// file of some kind opens, in the wide form that every store writes: the
// tag FF FE FF, the length and the first units of its magic. The kind is
// told where only one magic opens that way.
struct MagicPrefix {
    bool matches = false;
    std::optional<FileKind> kind;
};

MagicPrefix magicPrefixOf(std::span<const BYTE> bytes) {
    MagicPrefix prefix;
    int kinds = 0;
    for (const FileKindInfo& info : kFileKinds) {
        std::vector<BYTE> opening = {0xFF, 0xFE, 0xFF, static_cast<BYTE>(info.magic.size())};
        for (char16_t unit : info.magic) {
            opening.push_back(static_cast<BYTE>(unit & 0xFF));
            opening.push_back(static_cast<BYTE>(unit >> 8));
        }
        if (bytes.size() < opening.size() &&
            std::equal(bytes.begin(), bytes.end(), opening.begin())) {
            prefix.matches = true;
            prefix.kind = info.kind;
            ++kinds;
        }
    }
    if (kinds != 1) {
        prefix.kind.reset();
    }
    return prefix;
}

// The frame of `bytes`, or why it cannot be read; `insideMagic` tells that
// the bytes ended (or went wrong) inside the magic.
FileResult<FileHeader> parseHeader(std::span<const BYTE> bytes, std::string_view name,
                                   bool* insideMagic = nullptr) {
    if (bytes.empty()) {
        return failureOf(FileFailure::badMagic, name,
                         "empty file: not a file of any kind that fluxgrid reads");
    }
    if (bytes.size() > UINT_MAX) {
        return failureOf(FileFailure::tooLarge, name,
                         "larger than the limit of " + std::to_string(UINT_MAX) + " bytes");
    }
    CMemViewFile file(bytes);
    CArchive ar(&file, CArchive::load);
    CString magic;
    try {
        ar >> magic;
    } catch (const std::exception&) {
        if (insideMagic != nullptr) {
            *insideMagic = true;
        }
        const MagicPrefix prefix = magicPrefixOf(bytes);
        FileError error = failureOf(prefix.matches ? FileFailure::truncated : FileFailure::badMagic,
                                    name, kInsideMagic);
        error.kind = prefix.kind;
        return error;
    }
    const std::optional<FileKind> kind = fileKindOfMagic(magic.str());
    if (!kind) {
        std::string what = "what it starts with";
        if (printable(magic)) {
            what = "its magic \"";
            what += magic.ToUtf8();
            what += "\"";
        }
        return failureOf(FileFailure::badMagic, name,
                         "wrong kind: " + what + " is none of " + magicList());
    }
    int version = 0;
    try {
        ar >> version;
    } catch (const std::exception&) {
        FileError error = failureOf(FileFailure::truncated, name,
                                    "truncated: the file ends before its version (end of file)");
        error.kind = kind;
        return error;
    }
    return FileHeader{*kind, version};
}

// ---------------------------------------------------------------------------
// Reading from disk.

// An open descriptor, closed when it goes.
class Descriptor {
  public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }

  private:
    int m_fd;
};

const char* whatItIs(mode_t mode) {
    if (S_ISDIR(mode)) {
        return "a folder";
    }
    if (S_ISFIFO(mode)) {
        return "a FIFO";
    }
    if (S_ISSOCK(mode)) {
        return "a socket";
    }
    if (S_ISCHR(mode) || S_ISBLK(mode)) {
        return "a device";
    }
    return "not a plain file";
}

// A regular file open for reading, and its size when it was opened.
struct OpenedFile {
    int fd;
    std::uintmax_t size;
};

// Opens `path` for reading if it is a regular file. Without blocking, so
// that a FIFO with no writer is told apart instead of waiting for one. The
// size comes from the same look that tells the kind of file.
FileResult<OpenedFile> openRegular(const std::filesystem::path& path, std::string_view name) {
    int fd = -1;
    do {
        fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        const int error = errno;
        const bool missing = error == ENOENT || error == ENOTDIR;
        return failureOf(missing ? FileFailure::missing : FileFailure::readError, name,
                         systemError("cannot open", error));
    }
    struct stat status {};
    if (::fstat(fd, &status) != 0) {
        const int error = errno;
        ::close(fd);
        return failureOf(FileFailure::readError, name, systemError("cannot read", error));
    }
    if (!S_ISREG(status.st_mode)) {
        ::close(fd);
        std::string message = "not a regular file: ";
        message += whatItIs(status.st_mode);
        return failureOf(FileFailure::notRegularFile, name, std::move(message));
    }
    return OpenedFile{fd, static_cast<std::uintmax_t>(status.st_size)};
}

FileError tooLarge(std::string_view name, std::uintmax_t maxBytes) {
    return failureOf(FileFailure::tooLarge, name,
                     "larger than the limit of " + std::to_string(maxBytes) + " bytes");
}

// Reads up to `limit` bytes; `limit + 1` tells a file that grew past it.
// The `expected` bytes of a regular file and one more (its end, or a sign
// that it grew) are asked for at once: a chunk of fixed size would be
// cleared in memory for every file, however small. A file that grew since,
// or one without a size, comes in pieces.
FileResult<std::vector<BYTE>> readUpTo(int fd, std::uintmax_t limit, std::uintmax_t expected,
                                       std::string_view name) {
    constexpr std::size_t kChunk = 1 << 16;
    std::vector<BYTE> bytes;
    // Room for the byte past the measured size too, so that the buffer is
    // never moved to a larger one to learn that the file ends.
    bytes.reserve(static_cast<std::size_t>(std::min(expected + 1, limit)));
    for (;;) {
        const std::uintmax_t room = limit - bytes.size();
        if (room == 0) {
            break;
        }
        const std::uintmax_t wantedNow =
            expected > 0 && expected >= bytes.size() ? expected - bytes.size() + 1 : kChunk;
        const std::size_t wanted = static_cast<std::size_t>(std::min(wantedNow, room));
        const std::size_t before = bytes.size();
        bytes.resize(before + wanted);
        const ssize_t n = ::read(fd, bytes.data() + before, wanted);
        if (n < 0) {
            const int error = errno;
            bytes.resize(before);
            if (error == EINTR) {
                continue;
            }
            return failureOf(FileFailure::readError, name, systemError("cannot read", error));
        }
        bytes.resize(before + static_cast<std::size_t>(n));
        if (n == 0) {
            break;
        }
    }
    return bytes;
}

// All that can be read from `fd`, if it is at most `maxBytes` bytes. `size`
// is what a regular file measured; anything else (a pipe, a terminal) has 0
// and is read in pieces until it ends or goes past the limit.
FileResult<std::vector<BYTE>> readMeasured(int fd, std::uintmax_t size, std::string_view name,
                                           std::uintmax_t maxBytes) {
    if (size > maxBytes) {
        return tooLarge(name, maxBytes);
    }
    // One byte more than allowed tells a file that grew since, or a stream
    // that goes on past the limit.
    FileResult<std::vector<BYTE>> bytes =
        readUpTo(fd, maxBytes == UINTMAX_MAX ? maxBytes : maxBytes + 1, size, name);
    if (bytes && bytes->size() > maxBytes) {
        return tooLarge(name, maxBytes);
    }
    return bytes;
}

// All that can be read from `fd`, measured first, if it is at most
// `maxBytes` bytes.
FileResult<std::vector<BYTE>> readToEnd(int fd, std::string_view name, std::uintmax_t maxBytes) {
    struct stat status {};
    if (::fstat(fd, &status) != 0) {
        return failureOf(FileFailure::readError, name, systemError("cannot read", errno));
    }
    const auto size = S_ISREG(status.st_mode) ? static_cast<std::uintmax_t>(status.st_size) : 0;
    return readMeasured(fd, size, name, maxBytes);
}

// The whole content of a regular file of at most `maxBytes` bytes.
FileResult<std::vector<BYTE>> readRegularFile(const std::filesystem::path& path,
                                              std::string_view name, std::uintmax_t maxBytes) {
    FileResult<OpenedFile> opened = openRegular(path, name);
    if (!opened) {
        return opened.error();
    }
    const Descriptor fd(opened->fd);
    return readMeasured(fd.get(), opened->size, name, maxBytes);
}

// ---------------------------------------------------------------------------
// Loading through the entries.

template <FileObject T>
FileResult<LoadedFile> loadAs(std::span<const BYTE> bytes, std::string_view name,
                              std::optional<FileHeader> header, const FileKindInfo* expected,
                              bool keepWithBoxes) {
    constexpr FileKind kind = kFileKindOf<T>;
    auto object = std::make_unique<T>();

    MessageBoxCapture capture;
    const std::vector<std::string>& boxes = capture.texts();
    const auto failed = [&](FileFailure failure, std::string message) {
        FileError error = failureOf(failure, name, std::move(message));
        if (header) {
            error.kind = header->kind;
            error.version = header->version;
        }
        error.boxes = boxes;
        return error;
    };

    CMemViewFile file(bytes);
    int result = 0;
    try {
        CArchive ar(&file, CArchive::load);
        result = serializeFile(*object, ar);
        ar.Close();
    } catch (const CArchiveException& e) {
        if (e.m_cause == CArchiveException::endOfFile) {
            return failed(FileFailure::truncated,
                          "truncated: the file ends inside its body (end of file after " +
                              std::to_string(bytes.size()) + " bytes)");
        }
        return failed(FileFailure::corrupt, std::string("the stream failed: ") + e.what());
    } catch (const std::exception& e) {
        return failed(FileFailure::corrupt, std::string("the library failed: ") + e.what());
    }

    LoadedFile loaded;
    loaded.file = std::string(name);
    loaded.kind = kind;
    loaded.version = header && header->kind == kind ? header->version : 0;
    loaded.size = bytes.size();
    loaded.consumed = static_cast<std::size_t>(file.GetPosition());
    if (expected != nullptr && !expected->accepts(loaded.version)) {
        std::string message = "version " + std::to_string(loaded.version) + " of a ";
        message += expected->title;
        message += " is refused (accepted: " + acceptedVersionList(*expected) + ")";
        return failed(FileFailure::refusedVersion, std::move(message));
    }
    if (result == 0) {
        return failed(FileFailure::refused, boxes.empty()
                                                ? std::string("refused by the library")
                                                : "refused by the library: " + boxes.front());
    }
    if (!boxes.empty() && !keepWithBoxes) {
        return failed(FileFailure::refused,
                      "the library reported " + std::to_string(boxes.size()) +
                          " problem(s) while loading; the content cannot be trusted");
    }
    loaded.boxes = boxes;
    loaded.object = std::move(object);
    return loaded;
}

using KindLoader = FileResult<LoadedFile> (*)(std::span<const BYTE>, std::string_view,
                                              std::optional<FileHeader>, const FileKindInfo*, bool);

// The load of each kind, in the order of the table.
template <std::size_t... I>
constexpr std::array<KindLoader, sizeof...(I)> kindLoaders(std::index_sequence<I...>) {
    return {&loadAs<typename FileObjectOf<static_cast<FileKind>(I)>::type>...};
}
constexpr auto kKindLoaders = kindLoaders(std::make_index_sequence<kFileKinds.size()>());

FileResult<LoadedFile> loadKind(FileKind kind, std::span<const BYTE> bytes, std::string_view name,
                                std::optional<FileHeader> header, const FileKindInfo* expected,
                                bool keepWithBoxes) {
    const auto index = static_cast<std::size_t>(kind);
    if (index >= kKindLoaders.size()) {
        return failureOf(FileFailure::corrupt, name, "no such kind of file");
    }
    return kKindLoaders[index](bytes, name, header, expected, keepWithBoxes);
}

}  // namespace

FileResult<FileHeader> readHeader(std::span<const BYTE> firstBytes, std::string_view name) {
    return parseHeader(firstBytes, name);
}

FileResult<FileHeader> readHeader(const std::filesystem::path& path) {
    const std::string name = path.string();
    // Enough for the frame of every kind, and for a foreign magic short
    // enough to be quoted.
    constexpr std::uintmax_t kFirstBytes = 256;
    std::vector<BYTE> first;
    {
        FileResult<OpenedFile> opened = openRegular(path, name);
        if (!opened) {
            return opened.error();
        }
        const Descriptor fd(opened->fd);
        FileResult<std::vector<BYTE>> read = readUpTo(fd.get(), kFirstBytes, kFirstBytes, name);
        if (!read) {
            return read.error();
        }
        first = std::move(*read);
    }
    bool insideMagic = false;
    FileResult<FileHeader> header = parseHeader(first, name, &insideMagic);
    if (header.ok() || !insideMagic || first.size() < kFirstBytes) {
        return header;
    }
    // A string longer than the first bytes opens the file: it is told
    // apart from a truncated one only by the rest of the file.
    FileResult<std::vector<BYTE>> whole = readRegularFile(path, name, kDefaultMaxFileBytes);
    if (!whole) {
        return whole.error();
    }
    return parseHeader(*whole, name);
}

FileResult<LoadedFile> loadBytes(std::span<const BYTE> bytes, std::string_view name,
                                 const LoadOptions& options) {
    if (bytes.size() > options.maxBytes || bytes.size() > UINT_MAX) {
        return tooLarge(name, std::min<std::uintmax_t>(options.maxBytes, UINT_MAX));
    }
    if (!options.as) {
        FileResult<FileHeader> header = parseHeader(bytes, name);
        if (!header) {
            return header.error();
        }
        return loadKind(header->kind, bytes, name, *header, &fileKindInfo(header->kind),
                        options.keepWithBoxes);
    }
    // Through the entry asked for, whatever the magic says: the version is
    // checked only when the frame is that of the same kind, and the entry
    // speaks for every other case.
    const FileResult<FileHeader> header = parseHeader(bytes, name);
    const std::optional<FileHeader> known =
        header ? std::optional<FileHeader>(*header) : std::nullopt;
    const FileKindInfo* expected =
        known && known->kind == *options.as ? &fileKindInfo(*options.as) : nullptr;
    return loadKind(*options.as, bytes, name, known, expected, options.keepWithBoxes);
}

FileResult<LoadedFile> loadFile(const std::filesystem::path& path, const LoadOptions& options) {
    const std::string name = path.string();
    FileResult<std::vector<BYTE>> bytes = readRegularFile(path, name, options.maxBytes);
    if (!bytes) {
        return bytes.error();
    }
    return loadBytes(*bytes, name, options);
}

FileResult<LoadedFile> loadDescriptor(int fd, std::string_view name, const LoadOptions& options) {
    FileResult<std::vector<BYTE>> bytes = readToEnd(fd, name, options.maxBytes);
    if (!bytes) {
        return bytes.error();
    }
    return loadBytes(*bytes, name, options);
}

}  // namespace fluxgrid
