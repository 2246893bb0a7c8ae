// Interim: the loading facade of <fluxgrid/access/Files.h> as far as the
// tool uses it, made from the tool's former loader and atomic writer, until
// the library's own implementation is in. Removed when it is.
#include <fluxgrid/access/Files.h>
#include <fluxgrid/fluxgrid.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fluxgrid {

std::string acceptedVersionList(const FileKindInfo& info) {
    std::string text;
    for (std::size_t i = 0; i < info.accepted.size(); ++i) {
        if (i > 0) {
            text += (i + 1 == info.accepted.size()) ? " and " : ", ";
        }
        text += std::to_string(info.accepted[i]);
    }
    return text;
}

std::string FileError::describe() const {
    return file.empty() ? message : file + ": " + message;
}

namespace {

struct Failed {
    FileFailure failure;
    std::string message;
};

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
        text += (text.empty() ? "" : ", ") + CString(std::u16string(info.magic)).ToUtf8();
    }
    return text;
}

FileHeader peek(std::span<const BYTE> bytes) {
    if (bytes.empty()) {
        throw Failed{FileFailure::badMagic,
                     "empty file: not a file of any kind that fluxgrid reads"};
    }
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    CArchive ar(&file, CArchive::load);
    CString magic;
    try {
        ar >> magic;
    } catch (const CArchiveException&) {
        throw Failed{FileFailure::badMagic,
                     "not a file of any kind that fluxgrid reads, or truncated inside its magic"};
    }
    const auto kind = fileKindOfMagic(magic.str());
    if (!kind) {
        const std::string what =
            printable(magic) ? "its magic \"" + magic.ToUtf8() + "\"" : "what it starts with";
        throw Failed{FileFailure::badMagic, "wrong kind: " + what + " is none of " + magicList()};
    }
    FileHeader header{*kind, 0};
    try {
        ar >> header.version;
    } catch (const CArchiveException&) {
        throw Failed{FileFailure::truncated,
                     "truncated: the file ends before its version (end of file)"};
    }
    return header;
}

template <class T>
int entry(T& object, CArchive& ar) {
    if constexpr (std::is_same_v<T, CMegSquidqv> || std::is_same_v<T, CMegOpmqv>) {
        return object.serialize(ar);
    } else {
        return object.serializeqv(ar);
    }
}

template <class T>
void run(LoadedFile& loaded, std::span<const BYTE> bytes, const FileKindInfo* expected,
         std::vector<std::string>& boxes) {
    auto object = std::make_unique<T>();
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    auto texts = std::make_shared<std::vector<std::string>>();
    AfxMessageBoxHandler previous =
        AfxSetMessageBoxHandler([texts](const CString& text, UINT type, UINT) {
            texts->push_back(text.ToUtf8());
            return (type & 0x0F) == MB_YESNO ? IDNO : IDOK;
        });
    struct Restore {
        AfxMessageBoxHandler& previous;
        ~Restore() { AfxSetMessageBoxHandler(std::move(previous)); }
    } restore{previous};
    int result = 0;
    {
        CArchive ar(&file, CArchive::load);
        try {
            result = entry(*object, ar);
        } catch (const CArchiveException& e) {
            boxes = *texts;
            if (e.m_cause == CArchiveException::endOfFile) {
                throw Failed{FileFailure::truncated,
                             "truncated: the file ends inside its body (end of file after " +
                                 std::to_string(bytes.size()) + " bytes)"};
            }
            throw Failed{FileFailure::corrupt, std::string("the stream failed: ") + e.what()};
        } catch (const CException& e) {
            boxes = *texts;
            throw Failed{FileFailure::corrupt, std::string("the library failed: ") + e.what()};
        }
        ar.Close();
    }
    boxes = *texts;
    loaded.consumed = static_cast<std::size_t>(file.GetPosition());
    if (expected != nullptr && !expected->accepts(loaded.version)) {
        throw Failed{FileFailure::refusedVersion,
                     "version " + std::to_string(loaded.version) + " of a " +
                         std::string(expected->title) +
                         " is refused (accepted: " + acceptedVersionList(*expected) + ")"};
    }
    if (result == 0) {
        throw Failed{FileFailure::refused, texts->empty()
                                               ? "refused by the library"
                                               : "refused by the library: " + texts->front()};
    }
    if (!texts->empty()) {
        throw Failed{FileFailure::refused,
                     "the library reported " + std::to_string(texts->size()) +
                         " problem(s) while loading; the content cannot be trusted"};
    }
    loaded.object = std::move(object);
}

template <FileKind Kind>
void runKind(LoadedFile& loaded, std::span<const BYTE> bytes, const FileKindInfo* expected,
             std::vector<std::string>& boxes) {
    run<typename FileObjectOf<Kind>::type>(loaded, bytes, expected, boxes);
}

}  // namespace

FileResult<LoadedFile> loadBytes(std::span<const BYTE> bytes, std::string_view name,
                                 const LoadOptions& options) {
    LoadedFile loaded;
    loaded.file = std::string(name);
    loaded.size = bytes.size();
    std::vector<std::string> boxes;
    std::optional<FileKind> kind;
    std::optional<int> version;
    try {
        const FileKindInfo* expected = nullptr;
        if (options.as) {
            loaded.kind = *options.as;
            try {
                const FileHeader header = peek(bytes);
                if (header.kind == *options.as) {
                    loaded.version = header.version;
                    expected = &fileKindInfo(header.kind);
                }
            } catch (const Failed&) {
            }
        } else {
            const FileHeader header = peek(bytes);
            loaded.kind = header.kind;
            loaded.version = header.version;
            kind = header.kind;
            version = header.version;
            expected = &fileKindInfo(header.kind);
        }
        switch (loaded.kind) {
            case FileKind::coil:
                runKind<FileKind::coil>(loaded, bytes, expected, boxes);
                break;
            case FileKind::vapor:
                runKind<FileKind::vapor>(loaded, bytes, expected, boxes);
                break;
            case FileKind::squid:
                runKind<FileKind::squid>(loaded, bytes, expected, boxes);
                break;
            case FileKind::opm:
                runKind<FileKind::opm>(loaded, bytes, expected, boxes);
                break;
            case FileKind::sensor:
                runKind<FileKind::sensor>(loaded, bytes, expected, boxes);
                break;
            case FileKind::headloc:
                runKind<FileKind::headloc>(loaded, bytes, expected, boxes);
                break;
        }
    } catch (const Failed& failed) {
        return FileError{failed.failure, std::string(name), kind, version, failed.message, boxes};
    }
    return loaded;
}

FileResult<LoadedFile> loadFile(const std::filesystem::path& path, const LoadOptions& options) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return FileError{FileFailure::missing,
                         path.string(),
                         {},
                         {},
                         std::string("cannot open: ") + std::strerror(errno),
                         {}};
    }
    std::vector<BYTE> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) {
        return FileError{FileFailure::readError,
                         path.string(),
                         {},
                         {},
                         std::string("cannot read: ") + std::strerror(errno),
                         {}};
    }
    return loadBytes(bytes, path.string(), options);
}

template <FileObject T>
FileResult<std::vector<BYTE>> storeBytes(T& object) {
    CMemFile file;
    int result = 0;
    {
        CArchive ar(&file, CArchive::store);
        if constexpr (std::is_same_v<T, CMegSquidqv> || std::is_same_v<T, CMegOpmqv>) {
            result = object.serialize(ar);
        } else {
            result = object.serializeqv(ar);
        }
        ar.Close();
    }
    if (result == 0) {
        return FileError{FileFailure::refused,
                         {},
                         kFileKindOf<T>,
                         {},
                         "the library refused to store the object",
                         {}};
    }
    return file.Data();
}

template FileResult<std::vector<BYTE>> storeBytes(CMEGSensorqv&);
template FileResult<std::vector<BYTE>> storeBytes(CHeadLocalizationqv&);

namespace {

WriteFault g_fault;

mode_t newFileMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

int writeAll(int fd, std::span<const BYTE> bytes) {
    constexpr std::size_t kChunk = 4096;
    std::size_t written = 0;
    while (written < bytes.size()) {
        std::size_t count = std::min(kChunk, bytes.size() - written);
        const bool strikes =
            g_fault.kind != WriteFault::Kind::none && written + count > g_fault.afterBytes;
        if (strikes) {
            count = g_fault.afterBytes > written ? g_fault.afterBytes - written : 0;
        }
        while (count > 0) {
            const ssize_t n = ::write(fd, bytes.data() + written, count);
            if (n < 0) {
                if (errno == EINTR) {
                    continue;
                }
                return errno;
            }
            written += static_cast<std::size_t>(n);
            count -= static_cast<std::size_t>(n);
        }
        if (strikes) {
            if (g_fault.kind == WriteFault::Kind::kill) {
                ::raise(SIGKILL);
            }
            return ENOSPC;
        }
    }
    return 0;
}

}  // namespace

void setWriteFault(const WriteFault& fault) {
    g_fault = fault;
}

FileResult<std::size_t> writeFileAtomically(const std::filesystem::path& target,
                                            std::span<const BYTE> bytes) {
    namespace fs = std::filesystem;
    const std::string path = target.string();
    auto failed = [&](std::string message) {
        return FileError{FileFailure::writeError, path, {}, {}, std::move(message), {}};
    };
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    std::string hidden(1, '.');
    hidden += target.filename().string();
    hidden += ".fluxgrid-XXXXXX";
    std::string temporary = (folder / hidden).string();
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0) {
        return failed(std::string("cannot create a temporary file: ") + std::strerror(errno));
    }
    struct stat existing {};
    const mode_t mode =
        ::stat(path.c_str(), &existing) == 0 ? (existing.st_mode & 07777) : newFileMode();
    int error = ::fchmod(fd, mode) == 0 ? 0 : errno;
    if (error == 0) {
        error = writeAll(fd, bytes);
    }
    if (error == 0 && ::fsync(fd) != 0) {
        error = errno;
    }
    if (::close(fd) != 0 && error == 0) {
        error = errno;
    }
    if (error == 0 && ::rename(temporary.c_str(), path.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        ::unlink(temporary.c_str());
        return failed(std::string("cannot write: ") + std::strerror(error));
    }
    const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    return bytes.size();
}

}  // namespace fluxgrid
