#include "AtomicFile.h"

#include "FileKinds.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fluxgrid::tool {

namespace {

WriteFault g_fault;

std::string systemError(const char* what, int error) {
    return std::string(what) + ": " + std::strerror(error);
}

// The mode a new file gets from the process's umask.
mode_t newFileMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

// Writes all of `bytes`, honouring the fault; returns 0 or an errno value.
int writeAll(int fd, const std::vector<BYTE>& bytes) {
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
                // As a crash: no handler, no cleanup, no flush.
                ::raise(SIGKILL);
            }
            return ENOSPC;
        }
    }
    return 0;
}

}  // namespace

bool parseWriteFault(const std::string& text, WriteFault& fault) {
    const auto colon = text.find(':');
    if (colon == std::string::npos) {
        return false;
    }
    const std::string kind = text.substr(0, colon);
    const std::string count = text.substr(colon + 1);
    if (count.empty() || count.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    if (kind == "kill") {
        fault.kind = WriteFault::Kind::kill;
    } else if (kind == "nospace") {
        fault.kind = WriteFault::Kind::noSpace;
    } else {
        return false;
    }
    fault.afterBytes = std::stoull(count);
    return true;
}

void setWriteFault(const WriteFault& fault) {
    g_fault = fault;
}

void writeAtomically(const std::string& path, const std::vector<BYTE>& bytes) {
    namespace fs = std::filesystem;
    const fs::path target(path);
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    // Appended piece by piece: GCC 12 warns falsely (-Wrestrict) about a
    // literal in front of a temporary string.
    std::string hidden(1, '.');
    hidden += target.filename().string();
    hidden += ".fluxgrid-XXXXXX";
    std::string temporary = (folder / hidden).string();
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0) {
        throw ToolError(systemError("cannot create a temporary file", errno));
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
        throw ToolError(systemError("cannot write", error));
    }
    // The rename itself reaches the disk with the folder.
    const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
}

}  // namespace fluxgrid::tool
