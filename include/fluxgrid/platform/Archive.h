/// \file Archive.h
/// The binary stream of every file kind. Byte order and widths belong to the
/// stream: 4-byte and 8-byte little-endian integers, IEEE doubles bit for
/// bit, one byte for a bool, and the self-delimiting string form.
#pragma once

#include <fluxgrid/platform/CString.h>
#include <fluxgrid/platform/Exceptions.h>
#include <fluxgrid/platform/File.h>
#include <fluxgrid/platform/Types.h>

#include <array>
#include <bit>
#include <concepts>
#include <cstring>
#include <string>
#include <string_view>

namespace fluxgrid::detail {
/// Decodes a little-endian value at `bytes`.
template <class T>
inline T decodeLittleEndian(const BYTE* bytes);

template <class T>
inline T toLittleEndian(T value) {
    static_assert(std::endian::native == std::endian::little ||
                  std::endian::native == std::endian::big);
    if constexpr (std::endian::native == std::endian::big && sizeof(T) > 1) {
        auto bytes = std::bit_cast<std::array<BYTE, sizeof(T)>>(value);
        for (std::size_t i = 0; i < sizeof(T) / 2; ++i) {
            std::swap(bytes[i], bytes[sizeof(T) - 1 - i]);
        }
        return std::bit_cast<T>(bytes);
    } else {
        return value;
    }
}
template <class T>
inline T decodeLittleEndian(const BYTE* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return toLittleEndian(value);
}
}  // namespace fluxgrid::detail

class CArchive {
  public:
    enum Mode : UINT { store = 0, load = 1 };

    /// A buffered stream over `file`. The archive neither opens nor closes
    /// the file; a storing archive flushes when it is closed or destroyed.
    CArchive(CFile* file, UINT mode, int bufferSize = 4096);
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;
    ~CArchive();

    bool IsLoading() const { return (m_mode & load) != 0; }
    bool IsStoring() const { return (m_mode & load) == 0; }
    CFile* GetFile() const { return m_file; }

    /// Takes up to `count` bytes; returns how many arrived.
    UINT Read(void* buffer, UINT count);
    /// Appends `count` bytes.
    void Write(const void* buffer, UINT count);
    /// Passes what is buffered on to the file. Adds no bytes.
    void Flush();
    /// Flushes a storing archive and detaches it from the file.
    void Close();
    /// Makes at least `count` bytes available to a load, or raises
    /// `CArchiveException::endOfFile`.
    void FillBuffer(UINT count);

    CArchive& operator<<(int value) { return put(value); }
    CArchive& operator<<(UINT value) { return put(value); }
    CArchive& operator<<(LONGLONG value) { return put(value); }
    CArchive& operator<<(double value) { return put(value); }
    /// Exactly `bool`: a pointer or a number must not end up as one byte.
    template <std::same_as<bool> B>
    CArchive& operator<<(B value) {
        return put(static_cast<BYTE>(value ? 1 : 0));
    }
    CArchive& operator<<(const CString& text) { return WriteString(text.str()); }
    CArchive& operator<<(const char16_t* text) { return WriteString(text); }
    /// The wide string form of `text`.
    CArchive& WriteString(std::u16string_view text);

    CArchive& operator>>(int& value) { return get(value); }
    CArchive& operator>>(UINT& value) { return get(value); }
    CArchive& operator>>(LONGLONG& value) { return get(value); }
    CArchive& operator>>(double& value) { return get(value); }
    CArchive& operator>>(bool& value);
    CArchive& operator>>(CString& text);

    /// Single bytes and words, for the string form's length prefix only.
    void WriteByte(BYTE value) { put(value); }
    void WriteWord(WORD value) { put(value); }
    void WriteQuad(ULONGLONG value) { put(value); }
    BYTE ReadByte() { return take<BYTE>(); }
    WORD ReadWord() { return take<WORD>(); }
    DWORD ReadDword() { return take<DWORD>(); }
    ULONGLONG ReadQuad() { return take<ULONGLONG>(); }

    /// Reads the payload of a string whose length prefix has been read.
    CString ReadStringPayload(UINT_PTR length, int charSize);

    /// For encoding a fixed block in one pass: makes room for the next
    /// `count` bytes of a storing archive (at most the buffer's size) and
    /// returns where they go; the caller fills all of them.
    BYTE* PutWindow(std::size_t count) {
        if (!IsStoring()) {
            throwDirection(CArchiveException::readOnly);
        }
        if (count > m_bufferSize) {
            return nullptr;
        }
        if (static_cast<std::size_t>(m_max - m_cur) < count) {
            Flush();
        }
        BYTE* first = m_cur;
        m_cur += count;
        return first;
    }

    /// For decoding a fixed block in one pass: when a loading archive's
    /// window already holds the next `count` bytes, takes them and returns
    /// where they start; otherwise takes nothing and returns null, and the
    /// caller loads value by value (which refills, or raises at the end).
    const BYTE* TakeWindow(std::size_t count) {
        if (!IsLoading() || static_cast<std::size_t>(m_max - m_cur) < count) {
            return nullptr;
        }
        const BYTE* first = m_cur;
        m_cur += count;
        return first;
    }

    /// How many bytes a loading archive holds ready: for a file in memory,
    /// all that is left of it. A bound for reserving room from a count that
    /// the bytes announce.
    std::size_t WindowBytes() const { return static_cast<std::size_t>(m_max - m_cur); }

  private:
    template <class T>
    CArchive& put(T value) {
        if (!IsStoring()) {
            throwDirection(CArchiveException::readOnly);
        }
        // Room is measured, not probed by pointer arithmetic: before the
        // first flush the window is empty and its pointers are null.
        if (static_cast<std::size_t>(m_max - m_cur) < sizeof(T)) {
            Flush();
        }
        value = fluxgrid::detail::toLittleEndian(value);
        std::memcpy(m_cur, &value, sizeof(T));
        m_cur += sizeof(T);
        return *this;
    }

    template <class T>
    CArchive& get(T& value) {
        if (!IsLoading()) {
            throwDirection(CArchiveException::writeOnly);
        }
        if (static_cast<std::size_t>(m_max - m_cur) < sizeof(T)) {
            FillBuffer(sizeof(T));
        }
        std::memcpy(&value, m_cur, sizeof(T));
        value = fluxgrid::detail::toLittleEndian(value);
        m_cur += sizeof(T);
        return *this;
    }

    template <class T>
    T take() {
        T value{};
        get(value);
        return value;
    }

    [[noreturn]] void throwDirection(int cause) const;
    void releaseLoad();
    // Takes a wide string of `length` units into `text` when the window
    // holds all of it; false, taking nothing, when it does not.
    bool takeWideFromWindow(UINT_PTR length, std::u16string& text);
    // The buffer of a store or of a load from a file that must be read: the
    // archive's own room when the size allows, so that an archive of the
    // usual size takes no memory from the heap.
    BYTE* acquireBuffer();

    CFile* m_file;
    UINT m_mode;
    // The window onto the bytes: the archive's own buffer, or for a file in
    // memory the file's bytes themselves.
    BYTE* m_cur = nullptr;
    BYTE* m_max = nullptr;
    BYTE* m_start = nullptr;
    bool m_direct = false;
    bool m_closed = false;
    std::size_t m_bufferSize;
    BYTE* m_buffer = nullptr;
    static constexpr std::size_t kOwnBufferSize = 4096;
    BYTE m_ownBuffer[kOwnBufferSize];
};

/// Writes the length prefix of the string form; with `unicode` set, the wide
/// tag FF FE FF goes first.
void AfxWriteStringLength(CArchive& ar, UINT_PTR length, BOOL unicode);
/// Reads a length prefix; `charSize` receives 1 for a narrow string and 2
/// for a wide one.
UINT_PTR AfxReadStringLength(CArchive& ar, int& charSize);
