/// \file File.h
/// Files behind an archive: `CFile` on disk, `CMemFile` in memory,
/// `CMemViewFile` over bytes that someone else holds.
/// `Read` and `Write` are the one seam through which every byte passes, so
/// tests can put a file between the library and the bytes that misbehaves.
#pragma once

#include <fluxgrid/platform/CString.h>
#include <fluxgrid/platform/Types.h>

#include <span>
#include <vector>

class CFile {
  public:
    enum OpenFlags : UINT {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareDenyNone = 0x0040,
        modeNoTruncate = 0x10000,
        modeCreate = 0x1000,
        typeBinary = 0x8000,
    };
    enum SeekPosition : UINT { begin = 0, current = 1, end = 2 };

    CFile() = default;
    /// Opens `path`; throws `CFileException` when it cannot.
    CFile(const char* path, UINT flags);
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;
    virtual ~CFile();

    /// Opens `path`; returns FALSE when it cannot.
    BOOL Open(const char* path, UINT flags);
    virtual void Close();

    /// Reads up to `count` bytes; returns how many arrived (0 at the end).
    virtual UINT Read(void* buffer, UINT count);
    /// Writes all `count` bytes or throws `CFileException`.
    virtual void Write(const void* buffer, UINT count);
    virtual ULONGLONG GetLength() const;
    virtual ULONGLONG GetPosition() const;
    virtual ULONGLONG Seek(LONGLONG offset, UINT from);
    void SeekToBegin() { Seek(0, begin); }
    ULONGLONG SeekToEnd() { return Seek(0, end); }
    virtual void Flush() {}
    CString GetFilePath() const { return m_path; }

    /// The unread bytes of a file that lives in memory, so that an archive
    /// can load straight from them. False for files that must be read.
    virtual bool GetReadView(const BYTE*& first, const BYTE*& last);
    /// Moves the position as if `count` bytes of the read view were read.
    virtual void ConsumeReadView(UINT_PTR count);

  protected:
    CString m_path;

  private:
    int m_fd = -1;
};

/// A file in memory. Default-constructed it is empty and grows as it is
/// written; built from bytes it holds a copy of them.
class CMemFile : public CFile {
  public:
    CMemFile() = default;
    CMemFile(const BYTE* data, UINT size);

    UINT Read(void* buffer, UINT count) override;
    void Write(const void* buffer, UINT count) override;
    ULONGLONG GetLength() const override { return m_data.size(); }
    ULONGLONG GetPosition() const override { return m_position; }
    ULONGLONG Seek(LONGLONG offset, UINT from) override;
    void Close() override {}
    bool GetReadView(const BYTE*& first, const BYTE*& last) override;
    void ConsumeReadView(UINT_PTR count) override;

    /// The whole content, whatever the position.
    const std::vector<BYTE>& Data() const { return m_data; }
    /// Hands the whole content over and leaves the file empty, so that the
    /// bytes of a stored file are not copied once more.
    std::vector<BYTE> Detach();
    void SetLength(ULONGLONG length);

  private:
    std::vector<BYTE> m_data;
    std::size_t m_position = 0;
};

/// A read-only file over bytes in memory that the caller keeps alive as long
/// as the file: an archive loads straight from them, with no copy. Writing
/// raises `CFileException`.
class CMemViewFile : public CFile {
  public:
    explicit CMemViewFile(std::span<const BYTE> bytes) : m_bytes(bytes) {}

    UINT Read(void* buffer, UINT count) override;
    void Write(const void* buffer, UINT count) override;
    ULONGLONG GetLength() const override { return m_bytes.size(); }
    ULONGLONG GetPosition() const override { return m_position; }
    ULONGLONG Seek(LONGLONG offset, UINT from) override;
    void Close() override {}
    bool GetReadView(const BYTE*& first, const BYTE*& last) override;
    void ConsumeReadView(UINT_PTR count) override;

  private:
    std::span<const BYTE> m_bytes;
    std::size_t m_position = 0;
};
