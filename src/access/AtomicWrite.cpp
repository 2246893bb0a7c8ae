// Atomic writes: a hidden temporary file beside the file that is finally
// written, flushed to the disk and renamed over it, so that the name only
// ever shows the old content or the whole new one.
#include <fluxgrid/access/Files.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <mutex>
#include <random>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
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

FileError writeFailure(const fs::path& path, const char* what, int error) {
    FileError failure;
    failure.failure = FileFailure::writeError;
    failure.file = path.string();
    failure.message = what;
    failure.message += ": ";
    failure.message += std::strerror(error);
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

// Creates a hidden file ".NAME.fluxgrid-XXXXXX" beside `target`, with the
// permissions a new file gets there (the kernel applies the umask, so the
// process-wide umask is never changed under other threads).
int createTemporary(const fs::path& target, std::string& temporary) {
    static constexpr char kLetters[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    thread_local std::minstd_rand random(std::random_device{}());
    std::uniform_int_distribution<std::size_t> letter(0, sizeof kLetters - 2);
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    std::string hidden(1, '.');
    hidden += target.filename().string();
    hidden += ".fluxgrid-";
    constexpr int kAttempts = 100;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        std::string name = hidden;
        for (int i = 0; i < 6; ++i) {
            name += kLetters[letter(random)];
        }
        temporary = (folder / name).string();
        const int fd =
            ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
        if (fd >= 0 || errno != EEXIST) {
            return fd;
        }
    }
    errno = EEXIST;
    return -1;
}

// Writes all of `bytes`, honouring the fault; 0 or an errno value.
int writeAll(int fd, std::span<const BYTE> bytes, const WriteFault& fault) {
    constexpr std::size_t kChunk = 4096;
    std::size_t written = 0;
    while (written < bytes.size()) {
        std::size_t count = std::min(kChunk, bytes.size() - written);
        const bool strikes =
            fault.kind != WriteFault::Kind::none && written + count > fault.afterBytes;
        if (strikes) {
            count = fault.afterBytes > written ? fault.afterBytes - written : 0;
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
            if (fault.kind == WriteFault::Kind::kill) {
                // As a crash: no handler, no cleanup, no flush.
                ::raise(SIGKILL);
            }
            return ENOSPC;
        }
    }
    return 0;
}

}  // namespace

void setWriteFault(const WriteFault& fault) {
    FaultSlot& slot = faultSlot();
    const std::lock_guard<std::mutex> lock(slot.mutex);
    slot.fault = fault;
}

FileResult<std::size_t> writeFileAtomically(const std::filesystem::path& path,
                                            std::span<const BYTE> bytes) {
    const WriteFault fault = currentFault();
    fs::path target;
    if (const int error = finalTarget(path, target); error != 0) {
        return writeFailure(path, "cannot write", error);
    }
    std::string temporary;
    const int fd = createTemporary(target, temporary);
    if (fd < 0) {
        return writeFailure(path, "cannot create a temporary file", errno);
    }
    int error = 0;
    struct stat existing {};
    if (::stat(target.c_str(), &existing) == 0 && ::fchmod(fd, existing.st_mode & 07777) != 0) {
        error = errno;
    }
    if (error == 0) {
        error = writeAll(fd, bytes, fault);
    }
    if (error == 0 && ::fsync(fd) != 0) {
        error = errno;
    }
    if (::close(fd) != 0 && error == 0) {
        error = errno;
    }
    if (error == 0 && ::rename(temporary.c_str(), target.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        ::unlink(temporary.c_str());
        return writeFailure(path, "cannot write", error);
    }
    // The rename itself reaches the disk with the folder.
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    return bytes.size();
}

}  // namespace fluxgrid
