#include <fluxgrid/platform/Exceptions.h>

#include <string>

namespace {
std::string describe(const char* kind, int cause, const CString& fileName) {
    std::string text = std::string(kind) + " (cause " + std::to_string(cause) + ")";
    if (!fileName.IsEmpty()) {
        text += ": " + fileName.ToUtf8();
    }
    return text;
}
}  // namespace

CArchiveException::CArchiveException(int cause, CString fileName)
    : m_cause(cause),
      m_strFileName(std::move(fileName)),
      m_what(describe("archive exception", cause, m_strFileName)) {}

CFileException::CFileException(int cause, int osError, CString fileName)
    : m_cause(cause),
      m_lOsError(osError),
      m_strFileName(std::move(fileName)),
      m_what(describe("file exception", cause, m_strFileName)) {}

void AfxThrowArchiveException(int cause, const char16_t* fileName) {
    throw CArchiveException(cause, fileName ? CString(fileName) : CString());
}

void AfxThrowInvalidArgException() {
    throw CInvalidArgException();
}

void AfxThrowMemoryException() {
    throw CMemoryException();
}
