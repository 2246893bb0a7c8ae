/// \file Exceptions.h
/// The framework's exceptions: thrown by value, caught by reference.
#pragma once

#include <fluxgrid/platform/CString.h>

#include <exception>
#include <string>

class CException : public std::exception {
  public:
    const char* what() const noexcept override { return "CException"; }
};

/// Raised by an archive: a file that ends early, or a transfer against the
/// archive's direction.
class CArchiveException : public CException {
  public:
    enum {
        none = 0,
        genericException = 1,
        readOnly = 2,
        endOfFile = 3,
        writeOnly = 4,
        badIndex = 5,
        badClass = 6,
        badSchema = 7,
    };

    explicit CArchiveException(int cause = none, CString fileName = CString());
    const char* what() const noexcept override { return m_what.c_str(); }

    int m_cause;
    CString m_strFileName;

  private:
    std::string m_what;
};

/// Raised by a disk file that cannot be opened, read or written.
class CFileException : public CException {
  public:
    enum { none = 0, genericException = 1, fileNotFound = 2, accessDenied = 5, diskFull = 14 };

    CFileException(int cause, int osError, CString fileName);
    const char* what() const noexcept override { return m_what.c_str(); }

    int m_cause;
    int m_lOsError;
    CString m_strFileName;

  private:
    std::string m_what;
};

class CInvalidArgException : public CException {
  public:
    const char* what() const noexcept override { return "invalid argument"; }
};

class CMemoryException : public CException {
  public:
    const char* what() const noexcept override { return "out of memory"; }
};

[[noreturn]] void AfxThrowArchiveException(int cause, const char16_t* fileName = nullptr);
[[noreturn]] void AfxThrowInvalidArgException();
[[noreturn]] void AfxThrowMemoryException();
