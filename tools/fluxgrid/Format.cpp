#include "Format.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace fluxgrid::tool {

namespace {

// Plain decimals where the decimal point stands after more than -4 and at
// most 15 digits, as nlohmann-json writes them.
constexpr int kMinPoint = -4;
constexpr int kMaxPoint = 15;

}  // namespace

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

// nlohmann-json's layout, so that the tool's JSON stays what `dump` writes.
std::string shortestNumber(double value) {
    if (!std::isfinite(value)) {
        return std::isnan(value) ? "nan" : value < 0 ? "-inf" : "inf";
    }
    // "d.ddde+XX": the shortest digits that read back, and their exponent.
    char text[32];
    const auto end =
        std::to_chars(text, text + sizeof text, std::fabs(value), std::chars_format::scientific)
            .ptr;
    const std::string_view scientific(text, static_cast<std::size_t>(end - text));
    const std::size_t e = scientific.find('e');
    std::string digits(1, scientific[0]);
    if (e > 1) {
        digits.append(scientific.substr(2, e - 2));
    }
    int exponent = 0;
    std::from_chars(scientific.data() + e + 1 + (scientific[e + 1] == '+'), end, exponent);
    if (value == 0) {
        exponent = 0;
    }
    // The decimal point stands `point` digits from the first one.
    const int point = exponent + 1;
    const int count = static_cast<int>(digits.size());
    std::string out = std::signbit(value) ? "-" : "";
    if (point > kMinPoint && point <= kMaxPoint) {
        if (point <= 0) {
            out += "0.";
            out.append(static_cast<std::size_t>(-point), '0');
            out += digits;
        } else if (count <= point) {
            out += digits;
            out.append(static_cast<std::size_t>(point - count), '0');
            out += ".0";
        } else {
            out += digits.substr(0, static_cast<std::size_t>(point));
            out += '.';
            out += digits.substr(static_cast<std::size_t>(point));
        }
        return out;
    }
    out += digits[0];
    if (count > 1) {
        out += '.';
        out += digits.substr(1);
    }
    char tail[16];
    std::snprintf(tail, sizeof tail, "e%c%02d", exponent < 0 ? '-' : '+', std::abs(exponent));
    return out + tail;
}

std::string fixed(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value);
    return text;
}

// Both are appended piece by piece: GCC 12 warns falsely (-Wrestrict) about
// a literal in front of a temporary string.
std::string quoted(const CString& text) {
    std::string out(1, '"');
    out += text.ToUtf8();
    out += '"';
    return out;
}

std::string triple(const double* values) {
    std::string out(1, '(');
    out += number(values[0]);
    out += ", ";
    out += number(values[1]);
    out += ", ";
    out += number(values[2]);
    out += ')';
    return out;
}

void printLine(std::string_view label, const std::string& text) {
    std::printf("  %-14.*s %s\n", static_cast<int>(label.size()), label.data(), text.c_str());
}

std::string markupEscaped(std::string_view text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

}  // namespace fluxgrid::tool
