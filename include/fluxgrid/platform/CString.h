/// \file CString.h
/// The framework's wide string: UTF-16 code units, length counted in units.
#pragma once

#include <fluxgrid/platform/Types.h>

#include <compare>
#include <iosfwd>
#include <string>
#include <string_view>

/// A UTF-16 string. Embedded zero code units are kept: the length is the
/// number of 16-bit units held, never a search for a terminator.
class CString {
  public:
    CString() = default;
    /// UTF-8 text; malformed sequences become U+FFFD.
    CString(const char* utf8);
    CString(const std::string& utf8);
    CString(const char16_t* text);
    CString(std::u16string text) : m_text(std::move(text)) {}
    CString(const char16_t* text, std::size_t length) : m_text(text, length) {}
    /// UTF-32 text, as `wchar_t` is on Linux.
    CString(const wchar_t* text);

    /// Text from bytes in the narrow code page (Windows-1252).
    static CString FromNarrow(const BYTE* bytes, std::size_t count);

    int GetLength() const { return static_cast<int>(m_text.size()); }
    bool IsEmpty() const { return m_text.empty(); }
    void Empty() { m_text.clear(); }
    char16_t GetAt(int index) const;
    void SetAt(int index, char16_t unit);
    const char16_t* GetString() const { return m_text.c_str(); }
    const std::u16string& str() const { return m_text; }
    std::u16string& str() { return m_text; }

    /// printf-style formatting (`%d`, `%s` with UTF-8 `const char*`, `%g`, ...).
    void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
    std::string ToUtf8() const;

    int Compare(const CString& other) const { return m_text.compare(other.m_text); }
    CString Left(int count) const;
    CString Mid(int first, int count = -1) const;
    CString Right(int count) const;
    int Find(const CString& sub, int start = 0) const;

    CString& operator+=(const CString& other);
    friend CString operator+(CString left, const CString& right) { return left += right; }

    friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
    friend bool operator==(const CString& a, const char16_t* b) {
        return a.m_text == std::u16string_view(b);
    }
    friend bool operator==(const CString& a, const char* b) { return a == CString(b); }
    friend std::strong_ordering operator<=>(const CString& a, const CString& b) {
        return a.m_text <=> b.m_text;
    }

  private:
    std::u16string m_text;
};

/// Writes the text as UTF-8, so that test failures print readable values.
std::ostream& operator<<(std::ostream& out, const CString& text);
