/// \file SphereFit.h
/// The sphere that best fits a cloud of points, by linear least squares:
/// the sphere through an MEG helmet's sensors, whose centre and radius the
/// geometry rules judge orientations and fiducials against, and a viewer
/// draws.
///
/// ```cpp
/// const fluxgrid::SphereFit fit = fluxgrid::fitSphere(points);
/// if (!fit.fitted) {
///     std::cerr << "no sphere: " << fit.reason << '\n';
/// }
/// ```
#pragma once

#include <array>
#include <span>
#include <string>

namespace fluxgrid {

/// A point or a direction x, y, z.
using Point3 = std::array<double, 3>;

struct SphereFit {
    /// False when the points do not determine a sphere: fewer than four, or
    /// all in one plane. `centre`, `radius` and `rms` are 0 then.
    bool fitted = false;
    Point3 centre{};
    double radius = 0.0;
    /// The root mean square of each point's distance from the surface.
    double rms = 0.0;
    /// How many points the fit was given.
    int points = 0;
    /// Why there is no fit, e.g. "fewer than 4 points"; empty with a fit.
    std::string reason;
};

/// The sphere |p - c| = r minimising the sum over the points of
/// (|p - c|^2 - r^2)^2, which is linear in c and r^2 - |c|^2. The points
/// must be finite; four that are not in one plane are the least that
/// determine a sphere. Points lying within about one part in a million of
/// a plane, relative to their spread, count as in one plane.
SphereFit fitSphere(std::span<const Point3> points);

}  // namespace fluxgrid
