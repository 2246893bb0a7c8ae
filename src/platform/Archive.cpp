#include <fluxgrid/platform/Archive.h>

#include <algorithm>
#include <new>
#include <string>

namespace {
// Strings arrive in pieces of at most this many bytes, so that the memory a
// string takes grows with the bytes that actually arrive, whatever length
// its prefix announced.
constexpr std::size_t kStringChunk = 64 * 1024;
// The length prefix: one byte below 0xFF, else 0xFF and a wider length; the
// wide tag is 0xFF followed by the word 0xFFFE, and the length starts over.
constexpr BYTE kLengthEscape = 0xFF;
constexpr WORD kWideTag = 0xFFFE;
}  // namespace

CArchive::CArchive(CFile* file, UINT mode, int bufferSize)
    : m_file(file), m_mode(mode), m_bufferSize(bufferSize > 64 ? bufferSize : 64) {
    if (IsLoading()) {
        const BYTE* first = nullptr;
        const BYTE* last = nullptr;
        if (m_file->GetReadView(first, last)) {
            // A file in memory is read in place: no copy, no refill.
            m_direct = true;
            m_start = m_cur = const_cast<BYTE*>(first);
            m_max = const_cast<BYTE*>(last);
        }
    }
}

CArchive::~CArchive() {
    try {
        Close();
    } catch (...) {
        // A destructor cannot report; a host that needs to know calls Close.
    }
    if (m_buffer != m_ownBuffer) {
        delete[] m_buffer;
    }
}

BYTE* CArchive::acquireBuffer() {
    if (m_buffer == nullptr) {
        m_buffer = m_bufferSize <= kOwnBufferSize ? m_ownBuffer : new BYTE[m_bufferSize];
    }
    return m_buffer;
}

void CArchive::Close() {
    if (m_closed) {
        return;
    }
    m_closed = true;
    if (IsStoring()) {
        Flush();
    } else {
        releaseLoad();
    }
}

void CArchive::releaseLoad() {
    // Leave the file where the archive stopped taking bytes.
    if (m_direct) {
        m_file->ConsumeReadView(static_cast<UINT_PTR>(m_cur - m_start));
    } else if (m_cur != m_max) {
        m_file->Seek(-static_cast<LONGLONG>(m_max - m_cur), CFile::current);
    }
    m_start = m_cur = m_max = nullptr;
}

void CArchive::throwDirection(int cause) const {
    AfxThrowArchiveException(cause, m_file->GetFilePath().GetString());
}

void CArchive::Flush() {
    if (IsStoring()) {
        if (m_buffer == nullptr) {
            m_start = m_cur = acquireBuffer();
            m_max = m_buffer + m_bufferSize;
            return;
        }
        if (m_cur != m_start) {
            m_file->Write(m_start, static_cast<UINT>(m_cur - m_start));
            m_cur = m_start;
        }
    }
}

void CArchive::FillBuffer(UINT count) {
    if (!IsLoading()) {
        throwDirection(CArchiveException::writeOnly);
    }
    const auto available = static_cast<std::size_t>(m_max - m_cur);
    if (available >= count) {
        return;
    }
    if (m_direct || count > m_bufferSize) {
        AfxThrowArchiveException(CArchiveException::endOfFile, m_file->GetFilePath().GetString());
    }
    acquireBuffer();
    if (available > 0) {
        std::memmove(m_buffer, m_cur, available);
    }
    std::size_t held = available;
    while (held < count) {
        const UINT got = m_file->Read(m_buffer + held, static_cast<UINT>(m_bufferSize - held));
        if (got == 0) {
            // Keep what did arrive, so that the position stays exact.
            m_start = m_cur = m_buffer;
            m_max = m_buffer + held;
            AfxThrowArchiveException(CArchiveException::endOfFile,
                                     m_file->GetFilePath().GetString());
        }
        held += got;
    }
    m_start = m_cur = m_buffer;
    m_max = m_buffer + held;
}

UINT CArchive::Read(void* buffer, UINT count) {
    if (!IsLoading()) {
        throwDirection(CArchiveException::writeOnly);
    }
    auto* out = static_cast<BYTE*>(buffer);
    const auto fromWindow =
        static_cast<UINT>(std::min<std::size_t>(count, static_cast<std::size_t>(m_max - m_cur)));
    if (fromWindow > 0) {
        std::memcpy(out, m_cur, fromWindow);
        m_cur += fromWindow;
    }
    UINT total = fromWindow;
    if (total == count || m_direct) {
        return total;
    }
    // The window is empty: large remainders go straight to the caller,
    // small ones through the buffer. A file may deliver fewer bytes than
    // asked; only a read of none means the end.
    while (total < count) {
        if (count - total >= m_bufferSize) {
            const UINT got = m_file->Read(out + total, count - total);
            if (got == 0) {
                break;
            }
            total += got;
            continue;
        }
        acquireBuffer();
        const UINT got = m_file->Read(m_buffer, static_cast<UINT>(m_bufferSize));
        m_start = m_cur = m_buffer;
        m_max = m_buffer + got;
        if (got == 0) {
            break;
        }
        const UINT rest = std::min(count - total, got);
        std::memcpy(out + total, m_cur, rest);
        m_cur += rest;
        total += rest;
    }
    return total;
}

void CArchive::Write(const void* buffer, UINT count) {
    if (!IsStoring()) {
        throwDirection(CArchiveException::readOnly);
    }
    const auto* in = static_cast<const BYTE*>(buffer);
    if (static_cast<std::size_t>(m_max - m_cur) < count) {
        Flush();
        if (count >= m_bufferSize) {
            m_file->Write(in, count);
            return;
        }
        if (static_cast<std::size_t>(m_max - m_cur) < count) {
            Flush();
        }
    }
    if (count > 0) {
        std::memcpy(m_cur, in, count);
        m_cur += count;
    }
}

CArchive& CArchive::operator>>(bool& value) {
    value = take<BYTE>() != 0;
    return *this;
}

CArchive& CArchive::WriteString(std::u16string_view units) {
    // The units follow the prefix through Write: copied inline here, with a
    // length known to be short, they were compiled to a string instruction
    // slow to start.
    AfxWriteStringLength(*this, units.size(), TRUE);
    if constexpr (std::endian::native == std::endian::little) {
        const auto* bytes = reinterpret_cast<const BYTE*>(units.data());
        std::size_t remaining = units.size() * 2;
        while (remaining > 0) {
            const auto piece = static_cast<UINT>(std::min<std::size_t>(remaining, kStringChunk));
            Write(bytes, piece);
            bytes += piece;
            remaining -= piece;
        }
    } else {
        for (char16_t unit : units) {
            put(static_cast<WORD>(unit));
        }
    }
    return *this;
}

namespace {

// Reads `count` elements of `unit` bytes into `out`, piece by piece. A short
// payload raises endOfFile without a file name.
template <class Container>
void readPayload(CArchive& ar, Container& out, UINT_PTR count) {
    constexpr std::size_t unit = sizeof(typename Container::value_type);
    constexpr std::size_t perPiece = kStringChunk / unit;
    while (count > 0) {
        const std::size_t piece = static_cast<std::size_t>(std::min<UINT_PTR>(count, perPiece));
        const std::size_t at = out.size();
        out.resize(at + piece);
        const auto wanted = static_cast<UINT>(piece * unit);
        if (ar.Read(out.data() + at, wanted) != wanted) {
            AfxThrowArchiveException(CArchiveException::endOfFile);
        }
        count -= piece;
    }
}

}  // namespace

bool CArchive::takeWideFromWindow(UINT_PTR length, std::u16string& text) {
    if (length > kStringChunk / 2) {
        return false;
    }
    const BYTE* bytes = TakeWindow(length * 2);
    if (bytes == nullptr) {
        return false;
    }
    text.resize(length);
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(text.data(), bytes, length * 2);
    } else {
        for (std::size_t i = 0; i < length; ++i) {
            text[i] = fluxgrid::detail::decodeLittleEndian<char16_t>(bytes + 2 * i);
        }
    }
    return true;
}

CString CArchive::ReadStringPayload(UINT_PTR length, int charSize) {
    try {
        if (charSize == 2) {
            // Already in the window: one copy, no refill.
            std::u16string wide;
            if (takeWideFromWindow(length, wide)) {
                return CString(std::move(wide));
            }
        }
        if (charSize == 1) {
            std::string narrow;
            readPayload(*this, narrow, length);
            return CString::FromNarrow(reinterpret_cast<const BYTE*>(narrow.data()), narrow.size());
        }
        std::u16string wide;
        readPayload(*this, wide, length);
        if constexpr (std::endian::native == std::endian::big) {
            for (char16_t& u : wide) {
                u = fluxgrid::detail::toLittleEndian(u);
            }
        }
        return CString(std::move(wide));
    } catch (const std::bad_alloc&) {
        AfxThrowMemoryException();
    }
}

CArchive& CArchive::operator>>(CString& text) {
    int charSize = 1;
    const UINT_PTR length = AfxReadStringLength(*this, charSize);
    // The target changes only once the whole string has arrived: a wide
    // string already in the window goes straight into the target's own
    // room, anything else is gathered aside first.
    try {
        if (charSize == 2 && takeWideFromWindow(length, text.str())) {
            return *this;
        }
    } catch (const std::bad_alloc&) {
        AfxThrowMemoryException();
    }
    text = ReadStringPayload(length, charSize);
    return *this;
}

void AfxWriteStringLength(CArchive& ar, UINT_PTR length, BOOL unicode) {
    // The prefix of a short wide string, as magics and names are, goes into
    // the window in one piece: the wide tag and the one-byte length.
    if (unicode && length < kLengthEscape) {
        if (BYTE* prefix = ar.PutWindow(4)) {
            prefix[0] = kLengthEscape;
            prefix[1] = static_cast<BYTE>(kWideTag & 0xFF);
            prefix[2] = static_cast<BYTE>(kWideTag >> 8);
            prefix[3] = static_cast<BYTE>(length);
            return;
        }
    }
    if (unicode) {
        ar.WriteByte(kLengthEscape);
        ar.WriteWord(kWideTag);
    }
    if (length < kLengthEscape) {
        ar.WriteByte(static_cast<BYTE>(length));
    } else if (length < kWideTag) {
        ar.WriteByte(kLengthEscape);
        ar.WriteWord(static_cast<WORD>(length));
    } else if (length < 0xFFFFFFFF) {
        ar.WriteByte(kLengthEscape);
        ar.WriteWord(0xFFFF);
        ar << static_cast<UINT>(length);
    } else {
        ar.WriteByte(kLengthEscape);
        ar.WriteWord(0xFFFF);
        ar << static_cast<UINT>(0xFFFFFFFF);
        ar.WriteQuad(length);
    }
}

UINT_PTR AfxReadStringLength(CArchive& ar, int& charSize) {
    charSize = 1;
    BYTE shortLength = ar.ReadByte();
    if (shortLength < kLengthEscape) {
        return shortLength;
    }
    WORD mediumLength = ar.ReadWord();
    if (mediumLength == kWideTag) {
        // The wide tag: the length starts over behind it.
        charSize = 2;
        shortLength = ar.ReadByte();
        if (shortLength < kLengthEscape) {
            return shortLength;
        }
        mediumLength = ar.ReadWord();
    }
    if (mediumLength < 0xFFFF) {
        return mediumLength;
    }
    const DWORD longLength = ar.ReadDword();
    if (longLength < 0xFFFFFFFF) {
        return longLength;
    }
    return ar.ReadQuad();
}
