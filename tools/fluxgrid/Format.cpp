#include "Format.h"

#include <cstdio>

namespace fluxgrid::tool {

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

std::string exactNumber(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
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

}  // namespace fluxgrid::tool
