#include <fluxgrid/platform/CString.h>
#include <fluxgrid/platform/Exceptions.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <ostream>
#include <vector>

namespace {

constexpr char32_t kReplacement = 0xFFFD;

void appendUtf16(std::u16string& out, char32_t cp) {
    if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
        cp = kReplacement;
    }
    if (cp < 0x10000) {
        out.push_back(static_cast<char16_t>(cp));
    } else {
        cp -= 0x10000;
        out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
        out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    }
}

void appendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

// Decodes one UTF-8 sequence at `s[i]`; advances `i`. A malformed or
// overlong sequence yields U+FFFD and consumes one byte.
char32_t decodeUtf8(std::string_view s, std::size_t& i) {
    const auto lead = static_cast<unsigned char>(s[i]);
    int extra = 0;
    char32_t cp = 0;
    char32_t minimum = 0;
    if (lead < 0x80) {
        ++i;
        return lead;
    } else if ((lead & 0xE0) == 0xC0) {
        extra = 1, cp = lead & 0x1F, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        extra = 2, cp = lead & 0x0F, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        extra = 3, cp = lead & 0x07, minimum = 0x10000;
    } else {
        ++i;
        return kReplacement;
    }
    if (i + static_cast<std::size_t>(extra) >= s.size()) {
        ++i;
        return kReplacement;
    }
    for (int k = 1; k <= extra; ++k) {
        const auto next = static_cast<unsigned char>(s[i + k]);
        if ((next & 0xC0) != 0x80) {
            ++i;
            return kReplacement;
        }
        cp = (cp << 6) | (next & 0x3F);
    }
    if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
        ++i;
        return kReplacement;
    }
    i += static_cast<std::size_t>(extra) + 1;
    return cp;
}

std::u16string fromUtf8(std::string_view s) {
    std::u16string out(s.size(), u'\0');
    // Plain ASCII, the common case of names and messages, maps unit for byte.
    std::size_t i = 0;
    for (; i < s.size() && static_cast<unsigned char>(s[i]) < 0x80; ++i) {
        out[i] = static_cast<char16_t>(s[i]);
    }
    if (i == s.size()) {
        return out;
    }
    out.resize(i);
    while (i < s.size()) {
        appendUtf16(out, decodeUtf8(s, i));
    }
    return out;
}

// Windows-1252 from 0x80 to 0x9F; the five bytes that code page leaves
// undefined (81, 8D, 8F, 90, 9D) map to the same code points, as in Latin-1.
constexpr char16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

}  // namespace

CString::CString(const char* utf8) : m_text(utf8 ? fromUtf8(utf8) : std::u16string()) {}

CString::CString(const std::string& utf8) : m_text(fromUtf8(utf8)) {}

CString::CString(const char16_t* text) : m_text(text ? text : u"") {}

CString::CString(const wchar_t* text) {
    if (text == nullptr) {
        return;
    }
    for (; *text != 0; ++text) {
        if constexpr (sizeof(wchar_t) == 2) {
            m_text.push_back(static_cast<char16_t>(*text));
        } else {
            appendUtf16(m_text, static_cast<char32_t>(*text));
        }
    }
}

CString CString::FromNarrow(const BYTE* bytes, std::size_t count) {
    std::u16string text(count, u'\0');
    for (std::size_t i = 0; i < count; ++i) {
        const BYTE b = bytes[i];
        text[i] = (b >= 0x80 && b < 0xA0) ? kCp1252High[b - 0x80] : static_cast<char16_t>(b);
    }
    return CString(std::move(text));
}

char16_t CString::GetAt(int index) const {
    if (index < 0 || index >= GetLength()) {
        AfxThrowInvalidArgException();
    }
    return m_text[static_cast<std::size_t>(index)];
}

void CString::SetAt(int index, char16_t unit) {
    if (index < 0 || index >= GetLength()) {
        AfxThrowInvalidArgException();
    }
    m_text[static_cast<std::size_t>(index)] = unit;
}

void CString::Format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    // Short texts are formatted on the stack in one pass.
    char scratch[256];
    const int size = std::vsnprintf(scratch, sizeof scratch, format, args);
    va_end(args);
    if (size < 0) {
        m_text.clear();
    } else if (static_cast<std::size_t>(size) < sizeof scratch) {
        m_text = fromUtf8(std::string_view(scratch, static_cast<std::size_t>(size)));
    } else {
        std::string buffer(static_cast<std::size_t>(size), '\0');
        std::vsnprintf(buffer.data(), buffer.size() + 1, format, again);
        m_text = fromUtf8(buffer);
    }
    va_end(again);
}

std::string CString::ToUtf8() const {
    std::string out;
    out.reserve(m_text.size());
    for (std::size_t i = 0; i < m_text.size(); ++i) {
        char32_t cp = m_text[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < m_text.size() && m_text[i + 1] >= 0xDC00 &&
            m_text[i + 1] <= 0xDFFF) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (m_text[i + 1] - 0xDC00);
            ++i;
        } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            cp = kReplacement;
        }
        appendUtf8(out, cp);
    }
    return out;
}

CString CString::Left(int count) const {
    return Mid(0, count);
}

CString CString::Mid(int first, int count) const {
    const int length = GetLength();
    first = std::clamp(first, 0, length);
    if (count < 0 || count > length - first) {
        count = length - first;
    }
    return CString(m_text.substr(static_cast<std::size_t>(first), static_cast<std::size_t>(count)));
}

CString CString::Right(int count) const {
    const int length = GetLength();
    count = std::clamp(count, 0, length);
    return Mid(length - count, count);
}

int CString::Find(const CString& sub, int start) const {
    if (start < 0 || start > GetLength()) {
        return -1;
    }
    const auto at = m_text.find(sub.m_text, static_cast<std::size_t>(start));
    return at == std::u16string::npos ? -1 : static_cast<int>(at);
}

CString& CString::operator+=(const CString& other) {
    m_text += other.m_text;
    return *this;
}

std::ostream& operator<<(std::ostream& out, const CString& text) {
    return out << text.ToUtf8();
}
