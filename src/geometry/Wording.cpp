#include "geometry/Wording.h"

#include <cmath>
#include <cstdio>

namespace fluxgrid::geometry {

std::string number(double value, int significant) {
    if (std::isnan(value)) {
        return "nan";
    }
    if (std::isinf(value)) {
        return value > 0 ? "inf" : "-inf";
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.*g", significant, value);
    return text;
}

std::string triple(const Point3& p) {
    return "(" + number(p[0]) + ", " + number(p[1]) + ", " + number(p[2]) + ")";
}

std::string length(double value, std::string_view unit) {
    return number(value) + " " + std::string(unit);
}

std::string_view unitName(LengthUnit unit) {
    switch (unit) {
        case LengthUnit::cm:
            return "centimetres";
        case LengthUnit::m:
            return "metres";
        case LengthUnit::mm:
            break;
    }
    return "millimetres";
}

std::string quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

}  // namespace fluxgrid::geometry
