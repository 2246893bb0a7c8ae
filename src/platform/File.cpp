#include <fluxgrid/platform/Exceptions.h>
#include <fluxgrid/platform/File.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

int openFlags(UINT flags) {
    int posix = 0;
    if (flags & CFile::modeReadWrite) {
        posix = O_RDWR;
    } else if (flags & CFile::modeWrite) {
        posix = O_WRONLY;
    } else {
        posix = O_RDONLY;
    }
    if (flags & CFile::modeCreate) {
        posix |= O_CREAT;
        if (!(flags & CFile::modeNoTruncate)) {
            posix |= O_TRUNC;
        }
    }
    return posix | O_CLOEXEC;
}

int causeOf(int osError) {
    switch (osError) {
        case ENOENT:
            return CFileException::fileNotFound;
        case EACCES:
        case EPERM:
            return CFileException::accessDenied;
        case ENOSPC:
            return CFileException::diskFull;
        default:
            return CFileException::genericException;
    }
}

[[noreturn]] void throwFileError(int osError, const CString& path) {
    throw CFileException(causeOf(osError), osError, path);
}

}  // namespace

CFile::CFile(const char* path, UINT flags) {
    if (!Open(path, flags)) {
        throwFileError(errno, CString(path));
    }
}

CFile::~CFile() {
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

BOOL CFile::Open(const char* path, UINT flags) {
    Close();
    m_path = CString(path);
    m_fd = ::open(path, openFlags(flags), 0666);
    return m_fd >= 0 ? TRUE : FALSE;
}

void CFile::Close() {
    if (m_fd >= 0) {
        const int fd = m_fd;
        m_fd = -1;
        if (::close(fd) != 0) {
            throwFileError(errno, m_path);
        }
    }
}

UINT CFile::Read(void* buffer, UINT count) {
    auto* out = static_cast<char*>(buffer);
    UINT total = 0;
    while (total < count) {
        const ssize_t got = ::read(m_fd, out + total, count - total);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            throwFileError(errno, m_path);
        }
        if (got == 0) {
            break;
        }
        total += static_cast<UINT>(got);
    }
    return total;
}

void CFile::Write(const void* buffer, UINT count) {
    const auto* in = static_cast<const char*>(buffer);
    UINT total = 0;
    while (total < count) {
        const ssize_t put = ::write(m_fd, in + total, count - total);
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put <= 0) {
            throwFileError(put < 0 ? errno : ENOSPC, m_path);
        }
        total += static_cast<UINT>(put);
    }
}

ULONGLONG CFile::GetLength() const {
    struct stat info {};
    if (::fstat(m_fd, &info) != 0) {
        throwFileError(errno, m_path);
    }
    return static_cast<ULONGLONG>(info.st_size);
}

ULONGLONG CFile::GetPosition() const {
    const off_t at = ::lseek(m_fd, 0, SEEK_CUR);
    if (at < 0) {
        throwFileError(errno, m_path);
    }
    return static_cast<ULONGLONG>(at);
}

ULONGLONG CFile::Seek(LONGLONG offset, UINT from) {
    const int whence = from == begin ? SEEK_SET : from == current ? SEEK_CUR : SEEK_END;
    const off_t at = ::lseek(m_fd, static_cast<off_t>(offset), whence);
    if (at < 0) {
        throwFileError(errno, m_path);
    }
    return static_cast<ULONGLONG>(at);
}

bool CFile::GetReadView(const BYTE*& /*first*/, const BYTE*& /*last*/) {
    return false;
}

void CFile::ConsumeReadView(UINT_PTR /*count*/) {}

CMemFile::CMemFile(const BYTE* data, UINT size) : m_data(data, data + size) {}

UINT CMemFile::Read(void* buffer, UINT count) {
    const std::size_t available = m_data.size() - std::min(m_position, m_data.size());
    const std::size_t taken = std::min<std::size_t>(count, available);
    if (taken > 0) {
        std::memcpy(buffer, m_data.data() + m_position, taken);
    }
    m_position += taken;
    return static_cast<UINT>(taken);
}

void CMemFile::Write(const void* buffer, UINT count) {
    if (count == 0) {
        return;
    }
    const std::size_t end = m_position + count;
    if (end > m_data.size()) {
        m_data.resize(end);
    }
    std::memcpy(m_data.data() + m_position, buffer, count);
    m_position = end;
}

ULONGLONG CMemFile::Seek(LONGLONG offset, UINT from) {
    const LONGLONG base = from == begin     ? 0
                          : from == current ? static_cast<LONGLONG>(m_position)
                                            : static_cast<LONGLONG>(m_data.size());
    const LONGLONG target = base + offset;
    if (target < 0) {
        throw CFileException(CFileException::genericException, EINVAL, m_path);
    }
    m_position = static_cast<std::size_t>(target);
    return m_position;
}

bool CMemFile::GetReadView(const BYTE*& first, const BYTE*& last) {
    const std::size_t at = std::min(m_position, m_data.size());
    first = m_data.data() + at;
    last = m_data.data() + m_data.size();
    return true;
}

void CMemFile::ConsumeReadView(UINT_PTR count) {
    m_position += count;
}

void CMemFile::SetLength(ULONGLONG length) {
    m_data.resize(length);
    m_position = std::min<std::size_t>(m_position, m_data.size());
}
