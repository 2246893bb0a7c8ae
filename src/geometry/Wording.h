// Numbers in the messages of the geometry rules: six significant digits,
// "nan" and "inf" as such, units stated.
#pragma once

#include <fluxgrid/geometry/Check.h>
#include <fluxgrid/geometry/SphereFit.h>

#include <string>
#include <string_view>

namespace fluxgrid::geometry {

/// `value` with `significant` digits: "0.996964", "1.5e-06", "-inf".
std::string number(double value, int significant = 6);
/// "(0.301, -0.068, -0.948)".
std::string triple(const Point3& p);
/// "12.5 mm".
std::string length(double value, std::string_view unit);
/// "millimetres", "centimetres" or "metres".
std::string_view unitName(LengthUnit unit);
/// `text` in double quotes.
std::string quoted(std::string_view text);

}  // namespace fluxgrid::geometry
