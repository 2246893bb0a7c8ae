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

namespace {

// Reading, seeking and viewing bytes in memory, shared by the file that
// owns its bytes and the one that views someone else's.
UINT readFrom(std::span<const BYTE> bytes, std::size_t& position, void* buffer, UINT count) {
    const std::size_t available = bytes.size() - std::min(position, bytes.size());
    const std::size_t taken = std::min<std::size_t>(count, available);
    if (taken > 0) {
        std::memcpy(buffer, bytes.data() + position, taken);
    }
    position += taken;
    return static_cast<UINT>(taken);
}

ULONGLONG seekIn(std::size_t size, std::size_t& position, LONGLONG offset, UINT from,
                 const CString& path) {
    const LONGLONG base = from == CFile::begin     ? 0
                          : from == CFile::current ? static_cast<LONGLONG>(position)
                                                   : static_cast<LONGLONG>(size);
    const LONGLONG target = base + offset;
    if (target < 0) {
        throw CFileException(CFileException::genericException, EINVAL, path);
    }
    position = static_cast<std::size_t>(target);
    return position;
}

void viewOf(std::span<const BYTE> bytes, std::size_t position, const BYTE*& first,
            const BYTE*& last) {
    first = bytes.data() + std::min(position, bytes.size());
    last = bytes.data() + bytes.size();
}

}  // namespace

CMemFile::CMemFile(const BYTE* data, UINT size) : m_data(data, data + size) {}

UINT CMemFile::Read(void* buffer, UINT count) {
    return readFrom(m_data, m_position, buffer, count);
}

void CMemFile::Write(const void* buffer, UINT count) {
    if (count == 0) {
        return;
    }
    const auto* in = static_cast<const BYTE*>(buffer);
    if (m_position > m_data.size()) {
        // Past the end: the gap reads as zeros.
        m_data.resize(m_position);
    }
    // What overlaps the content is overwritten; the rest is appended, so
    // that the content grows geometrically and is never filled twice.
    const std::size_t overlap = std::min<std::size_t>(count, m_data.size() - m_position);
    if (overlap > 0) {
        std::memcpy(m_data.data() + m_position, in, overlap);
    }
    m_data.insert(m_data.end(), in + overlap, in + count);
    m_position += count;
}

ULONGLONG CMemFile::Seek(LONGLONG offset, UINT from) {
    return seekIn(m_data.size(), m_position, offset, from, m_path);
}

bool CMemFile::GetReadView(const BYTE*& first, const BYTE*& last) {
    viewOf(m_data, m_position, first, last);
    return true;
}

std::vector<BYTE> CMemFile::Detach() {
    std::vector<BYTE> bytes = std::move(m_data);
    m_data.clear();
    m_position = 0;
    return bytes;
}

void CMemFile::ConsumeReadView(UINT_PTR count) {
    m_position += count;
}

void CMemFile::SetLength(ULONGLONG length) {
    m_data.resize(length);
    m_position = std::min<std::size_t>(m_position, m_data.size());
}

UINT CMemViewFile::Read(void* buffer, UINT count) {
    return readFrom(m_bytes, m_position, buffer, count);
}

void CMemViewFile::Write(const void* /*buffer*/, UINT /*count*/) {
    throw CFileException(CFileException::accessDenied, EBADF, m_path);
}

ULONGLONG CMemViewFile::Seek(LONGLONG offset, UINT from) {
    return seekIn(m_bytes.size(), m_position, offset, from, m_path);
}

bool CMemViewFile::GetReadView(const BYTE*& first, const BYTE*& last) {
    viewOf(m_bytes, m_position, first, last);
    return true;
}

void CMemViewFile::ConsumeReadView(UINT_PTR count) {
    m_position += count;
}
