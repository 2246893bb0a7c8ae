// The little vector arithmetic of the geometry rules, on x, y, z triples.
#pragma once

#include <fluxgrid/geometry/SphereFit.h>

#include <cmath>

namespace fluxgrid::geometry {

inline Point3 pointOf(const double* xyz) {
    return {xyz[0], xyz[1], xyz[2]};
}

inline Point3 operator-(const Point3& a, const Point3& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

inline Point3 operator+(const Point3& a, const Point3& b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

inline Point3 operator*(double s, const Point3& a) {
    return {s * a[0], s * a[1], s * a[2]};
}

inline double dot(const Point3& a, const Point3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

inline Point3 cross(const Point3& a, const Point3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

inline double norm(const Point3& a) {
    return std::sqrt(dot(a, a));
}

inline double distance(const Point3& a, const Point3& b) {
    return norm(a - b);
}

inline bool finite(const Point3& a) {
    return std::isfinite(a[0]) && std::isfinite(a[1]) && std::isfinite(a[2]);
}

/// The distance of `p` from the line through `origin` along the unit
/// vector `direction`.
inline double distanceFromLine(const Point3& p, const Point3& origin, const Point3& direction) {
    return norm(cross(p - origin, direction));
}

/// The angle between two unit vectors, in degrees.
inline double degreesBetween(const Point3& a, const Point3& b) {
    const double c = dot(a, b);
    return std::acos(c > 1.0 ? 1.0 : (c < -1.0 ? -1.0 : c)) * (180.0 / 3.141592653589793);
}

}  // namespace fluxgrid::geometry
