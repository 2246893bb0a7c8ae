/// \file Format.h
/// How the tool writes values as text for a person: numbers, quoted names,
/// position triples, and the labelled lines of a summary.
#pragma once

#include <fluxgrid/platform/CString.h>

#include <string>
#include <string_view>

namespace fluxgrid::tool {

/// A number as a person reads it: up to ten significant digits (`%.10g`).
std::string number(double value);

/// The shortest text that reads back as the same double bit for bit
/// (`std::to_chars`), laid out as JSON writes numbers: plain decimals from
/// 1e-4 to below 1e15, ".0" behind whole numbers, "1.5e+20" beyond them.
/// "nan", "inf" and "-inf" for the values that have no digits.
std::string shortestNumber(double value);

/// A number with two decimals (`%.2f`), as drawings take coordinates.
std::string fixed(double value);

/// The text in double quotes, as it stands: `"MLC3"`.
std::string quoted(const CString& text);

/// Three numbers as `(x, y, z)`, each as `number` writes it.
std::string triple(const double* values);

/// The text with &, <, > and " written as the entities that XML and HTML
/// read back as them.
std::string markupEscaped(std::string_view text);

/// One line of a summary: two spaces, the label padded to 14 columns, a
/// space and the text, on standard output.
void printLine(std::string_view label, const std::string& text);

}  // namespace fluxgrid::tool
