// Atomic writes: a hidden temporary file beside the file that is finally
// written, flushed to the disk and renamed over it, so that the name only
// ever shows the old content or the whole new one. Devices and FIFOs are
// written straight into. A batch shares one flush among many files.
#include "Temporaries.h"
#include "WriteFault.h"

#include <fluxgrid/io/Files.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace fluxgrid {

namespace {

namespace fs = std::filesystem;

struct FaultSlot {
    std::mutex mutex;
    WriteFault fault;
};

FaultSlot& faultSlot() {
    static FaultSlot slot;
    return slot;
}

WriteFault currentFault() {
    FaultSlot& slot = faultSlot();
    const std::lock_guard<std::mutex> lock(slot.mutex);
    return slot.fault;
}

FileError writeFailure(const fs::path& path, const std::string& what, int error) {
    FileError failure;
    failure.failure = FileFailure::writeError;
    failure.file = path.string();
    failure.message = what;
    failure.systemError = error;
    if (error != 0) {
        failure.message += ": ";
        failure.message += std::strerror(error);
    }
    return failure;
}

// The file that a write to `path` lands in: the end of its chain of
// symbolic links, each relative one taken from the folder of its link. A
// missing end is where the new file goes. 0, or an errno value.
int finalTarget(const fs::path& path, fs::path& target) {
    constexpr int kMaxLinks = 40;
    target = path;
    for (int links = 0; links <= kMaxLinks; ++links) {
        struct stat status {};
        if (::lstat(target.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) {
            return 0;
        }
        std::error_code error;
        const fs::path link = fs::read_symlink(target, error);
        if (error) {
            return error.value();
        }
        target = link.is_absolute() ? link : target.parent_path() / link;
    }
    return ELOOP;
}

// Writes all of `bytes`, in one call where the system takes them so; 0 or
// an errno value.
int writeAll(int fd, std::span<const BYTE> bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(n));
    }
    return 0;
}

// `writeAll`, with the fault striking once its count of bytes is written.
int writeAll(int fd, std::span<const BYTE> bytes, const WriteFault& fault) {
    if (fault.kind == WriteFault::Kind::none || bytes.size() <= fault.afterBytes) {
        return writeAll(fd, bytes);
    }
    if (const int error = writeAll(fd, bytes.first(fault.afterBytes)); error != 0) {
        return error;
    }
    switch (fault.kind) {
        case WriteFault::Kind::kill:
            // As a crash: no handler, no cleanup, no flush.
            ::raise(SIGKILL);
            break;
        case WriteFault::Kind::stop:
            ::raise(SIGSTOP);
            return writeAll(fd, bytes.subspan(fault.afterBytes));
        case WriteFault::Kind::noSpace:
        case WriteFault::Kind::none:
            break;
    }
    return ENOSPC;
}

// Copies the extended attributes of the file `from` onto `to`. Those that
// this process may not set, or that the file system cannot hold, are left
// out. 0, or an errno value.
int copyAttributes(const char* from, int to) {
    const ssize_t listSize = ::llistxattr(from, nullptr, 0);
    if (listSize < 0) {
        return errno == ENOTSUP ? 0 : errno;
    }
    std::string names(static_cast<std::size_t>(listSize), '\0');
    const ssize_t listed = ::llistxattr(from, names.data(), names.size());
    if (listed < 0) {
        return errno;
    }
    names.resize(static_cast<std::size_t>(listed));
    std::string value;
    for (std::size_t at = 0; at < names.size(); at = names.find('\0', at) + 1) {
        const char* name = names.c_str() + at;
        const ssize_t size = ::lgetxattr(from, name, nullptr, 0);
        if (size < 0) {
            if (errno == ENODATA) {
                continue;
            }
            return errno;
        }
        value.resize(static_cast<std::size_t>(size));
        const ssize_t got = ::lgetxattr(from, name, value.data(), value.size());
        if (got < 0) {
            return errno;
        }
        if (::fsetxattr(to, name, value.data(), static_cast<std::size_t>(got), 0) != 0 &&
            errno != EPERM && errno != EACCES && errno != ENOTSUP) {
            return errno;
        }
    }
    return 0;
}

// Gives the temporary `fd` the owner, group, extended attributes and
// permissions of the file it replaces. The owner first, because a change of
// owner clears the set-user-id bit. 0, or an errno value.
int keepMetadata(const fs::path& target, const struct stat& existing, int fd) {
    struct stat fresh {};
    if (::fstat(fd, &fresh) != 0) {
        return errno;
    }
    if ((fresh.st_uid != existing.st_uid || fresh.st_gid != existing.st_gid) &&
        ::fchown(fd, existing.st_uid, existing.st_gid) != 0) {
        // Not allowed to give the file away: keep at least the group, where
        // the process belongs to it.
        if (errno != EPERM ||
            (::fchown(fd, static_cast<uid_t>(-1), existing.st_gid) != 0 && errno != EPERM)) {
            return errno;
        }
    }
    if (const int error = copyAttributes(target.c_str(), fd); error != 0) {
        return error;
    }
    return ::fchmod(fd, existing.st_mode & 07777) == 0 ? 0 : errno;
}

// Writes straight into a device or FIFO, which is never replaced.
FileResult<std::size_t> writeInto(const fs::path& path, std::span<const BYTE> bytes,
                                  const WriteFault& fault) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        return writeFailure(path, "cannot write", errno);
    }
    int error = writeAll(fd, bytes, fault);
    if (::close(fd) != 0 && error == 0) {
        error = errno;
    }
    if (error != 0) {
        return writeFailure(path, "cannot write", error);
    }
    return bytes.size();
}

FileStamp stampOf(const struct stat& status) {
    FileStamp stamp;
    stamp.device = static_cast<std::uint64_t>(status.st_dev);
    stamp.inode = static_cast<std::uint64_t>(status.st_ino);
    stamp.size = static_cast<std::uint64_t>(status.st_size);
    stamp.modifiedSeconds = static_cast<std::int64_t>(status.st_mtim.tv_sec);
    stamp.modifiedNanoseconds = static_cast<std::int64_t>(status.st_mtim.tv_nsec);
    return stamp;
}

// One file of a batch, written to its temporary and waiting for the flush.
struct Staged {
    fs::path path;
    int folder = -1;
    std::string targetName;
    access::Temporary temporary;
    std::size_t size = 0;
    /// Written straight into a device or FIFO: nothing is left to do.
    bool done = false;
    /// The stamp the target must still have at the rename, if any.
    std::optional<FileStamp> unchanged;
};

// Whether the target of `staged` may be replaced: it has the stamp asked
// for, if any. Checked just before the rename, the last moment there is.
bool stillAsRead(const Staged& staged) {
    if (!staged.unchanged) {
        return true;
    }
    struct stat status {};
    return ::fstatat(staged.folder, staged.targetName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISREG(status.st_mode) && stampOf(status) == *staged.unchanged;
}

FileError changedFailure(const fs::path& path) {
    FileError failure;
    failure.failure = FileFailure::changed;
    failure.file = path.string();
    failure.message = "changed by another program since it was read";
    return failure;
}

// Closes and removes the temporary of `staged`; it is then off the list.
void discard(Staged& staged) {
    if (staged.temporary.fd >= 0) {
        ::close(staged.temporary.fd);
        staged.temporary.fd = -1;
    }
    if (!staged.temporary.name.empty()) {
        ::unlinkat(staged.folder, staged.temporary.name.c_str(), 0);
    }
    access::releaseTemporary(staged.temporary);
}

}  // namespace

struct AtomicWriteBatch::State {
    WriteOptions options;
    std::mutex mutex;
    /// The open folders of the batch's targets, by name.
    std::map<std::string, int> folders;
    std::vector<Staged> staged;

    // The open folder `name`, opened on first use; its stale temporaries
    // are swept the first time the process writes there. -1 and errno on
    // failure.
    int folder(const std::string& name) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (const auto found = folders.find(name); found != folders.end()) {
            return found->second;
        }
        const int fd = ::open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd >= 0) {
            folders.emplace(name, fd);
            access::sweepOnce(fd);
        }
        return fd;
    }

    std::size_t keep(Staged staged) {
        const std::lock_guard<std::mutex> lock(mutex);
        this->staged.push_back(std::move(staged));
        return this->staged.size() - 1;
    }

    void closeFolders() {
        for (const auto& [name, fd] : folders) {
            ::close(fd);
        }
        folders.clear();
    }
};

AtomicWriteBatch::AtomicWriteBatch(const WriteOptions& options)
    : m_state(std::make_unique<State>()) {
    m_state->options = options;
}

AtomicWriteBatch::~AtomicWriteBatch() {
    for (Staged& staged : m_state->staged) {
        if (!staged.done) {
            discard(staged);
        }
    }
    m_state->closeFolders();
}

FileResult<std::size_t> AtomicWriteBatch::add(const std::filesystem::path& path,
                                              std::span<const BYTE> bytes,
                                              const std::optional<FileStamp>& unchanged) {
    const WriteFault fault = currentFault();
    Staged staged;
    staged.path = path;
    staged.size = bytes.size();
    staged.unchanged = unchanged;
    // The kernel's own view, which also resolves /dev/stdout and the like.
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        if (S_ISDIR(status.st_mode)) {
            return writeFailure(path, "cannot write", EISDIR);
        }
        FileResult<std::size_t> written = writeInto(path, bytes, fault);
        if (!written) {
            return written;
        }
        staged.done = true;
        return m_state->keep(std::move(staged));
    }
    fs::path target;
    if (const int error = finalTarget(path, target); error != 0) {
        return writeFailure(path, "cannot write", error);
    }
    staged.targetName = target.filename().string();
    if (staged.targetName.empty()) {
        return writeFailure(path, "cannot write", EISDIR);
    }
    staged.folder = m_state->folder(target.has_parent_path() ? target.parent_path().string() : ".");
    if (staged.folder < 0) {
        return writeFailure(path, "cannot create a temporary file", errno);
    }
    struct stat existing {};
    const bool exists =
        ::fstatat(staged.folder, staged.targetName.c_str(), &existing, AT_SYMLINK_NOFOLLOW) == 0;
    if (exists && existing.st_nlink > 1 && !m_state->options.breakHardLinks) {
        return writeFailure(path,
                            "has " + std::to_string(existing.st_nlink) +
                                " hard links; replacing it would split them",
                            0);
    }
    staged.temporary = access::createTemporary(staged.folder);
    if (staged.temporary.fd < 0) {
        return writeFailure(path, "cannot create a temporary file", errno);
    }
    int error = exists ? keepMetadata(target, existing, staged.temporary.fd) : 0;
    if (error == 0) {
        error = writeAll(staged.temporary.fd, bytes, fault);
    }
    if (error != 0) {
        discard(staged);
        return writeFailure(path, "cannot write", error);
    }
    return m_state->keep(std::move(staged));
}

std::vector<FileResult<std::size_t>> AtomicWriteBatch::commit() {
    State& state = *m_state;
    const std::lock_guard<std::mutex> lock(state.mutex);
    std::vector<int> errors(state.staged.size(), 0);
    std::vector<bool> changed(state.staged.size(), false);
    // Many files: one flush of each file system writes them all (and
    // reports the errors of its write-back since the folder was opened).
    // Where that fails, and for a single file, each file is flushed alone.
    const auto pending = std::count_if(state.staged.begin(), state.staged.end(),
                                       [](const Staged& staged) { return !staged.done; });
    std::set<int> flushed;
    if (pending > 1) {
        std::map<dev_t, bool> synced;
        for (const auto& [name, fd] : state.folders) {
            struct stat status {};
            if (::fstat(fd, &status) != 0) {
                continue;
            }
            const auto [device, first] = synced.emplace(status.st_dev, false);
            if (first) {
                device->second = ::syncfs(fd) == 0;
            }
            if (device->second) {
                flushed.insert(fd);
            }
        }
    }
    std::set<int> renamedIn;
    for (std::size_t i = 0; i < state.staged.size(); ++i) {
        Staged& staged = state.staged[i];
        if (staged.done) {
            continue;
        }
        int& error = errors[i];
        if (!flushed.contains(staged.folder) && ::fsync(staged.temporary.fd) != 0) {
            error = errno;
        }
        if (::close(staged.temporary.fd) != 0 && error == 0) {
            error = errno;
        }
        staged.temporary.fd = -1;
        if (error == 0 && !stillAsRead(staged)) {
            changed[i] = true;
            discard(staged);
            continue;
        }
        if (error == 0 && ::renameat(staged.folder, staged.temporary.name.c_str(), staged.folder,
                                     staged.targetName.c_str()) != 0) {
            error = errno;
        }
        if (error != 0) {
            discard(staged);
            continue;
        }
        access::releaseTemporary(staged.temporary);
        renamedIn.insert(staged.folder);
    }
    // The renames themselves reach the disk with their folders.
    for (const int folder : renamedIn) {
        ::fsync(folder);
    }
    std::vector<FileResult<std::size_t>> results;
    results.reserve(state.staged.size());
    for (std::size_t i = 0; i < state.staged.size(); ++i) {
        const Staged& staged = state.staged[i];
        if (changed[i]) {
            results.emplace_back(changedFailure(staged.path));
        } else if (errors[i] != 0) {
            results.emplace_back(writeFailure(staged.path, "cannot write", errors[i]));
        } else {
            results.emplace_back(staged.size);
        }
    }
    state.staged.clear();
    state.closeFolders();
    return results;
}

std::optional<FileStamp> fileStamp(const std::filesystem::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return stampOf(status);
}

void setWriteFault(const WriteFault& fault) {
    FaultSlot& slot = faultSlot();
    const std::lock_guard<std::mutex> lock(slot.mutex);
    slot.fault = fault;
}

FileResult<std::size_t> writeFileAtomically(const std::filesystem::path& path,
                                            std::span<const BYTE> bytes,
                                            const WriteOptions& options) {
    AtomicWriteBatch batch(options);
    FileResult<std::size_t> added = batch.add(path, bytes);
    if (!added) {
        return added;
    }
    return std::move(batch.commit().front());
}

}  // namespace fluxgrid
