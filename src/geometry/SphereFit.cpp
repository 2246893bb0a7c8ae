// A sphere through a cloud of points by linear least squares.
//
// With the points q taken from their centroid, |q - c|^2 = r^2 becomes
// 2 c.q + e = |q|^2 with e = r^2 - |c|^2. Because the q sum to zero, the
// normal equations split: e is the mean of |q|^2, and c solves the 3 x 3
// system S (2c) = b, with S the sum of q q^T and b the sum of q |q|^2. S is
// singular exactly when the points lie in one plane.
#include <fluxgrid/geometry/SphereFit.h>

#include "geometry/Vectors.h"

#include <cmath>

namespace fluxgrid {

namespace {

using geometry::dot;
using geometry::operator-;
using geometry::operator+;

// S's determinant below this fraction of the cube of its mean eigenvalue
// counts as singular: about one part in a million of spread off the plane.
constexpr double kPlanarDeterminant = 1e-12;

constexpr int kLeastPoints = 4;

using Matrix3 = std::array<Point3, 3>;

double determinant(const Matrix3& m) {
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
           m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

// x with m x = b, by Cramer's rule; `det` is m's determinant, not zero.
Point3 solve(const Matrix3& m, const Point3& b, double det) {
    Point3 x{};
    for (int column = 0; column < 3; ++column) {
        Matrix3 replaced = m;
        for (int row = 0; row < 3; ++row) {
            replaced[row][column] = b[row];
        }
        x[column] = determinant(replaced) / det;
    }
    return x;
}

Point3 centroidOf(std::span<const Point3> points) {
    Point3 sum{};
    for (const Point3& p : points) {
        sum = sum + p;
    }
    const double n = static_cast<double>(points.size());
    return {sum[0] / n, sum[1] / n, sum[2] / n};
}

SphereFit noFit(int points, std::string reason) {
    SphereFit fit;
    fit.points = points;
    fit.reason = std::move(reason);
    return fit;
}

}  // namespace

SphereFit fitSphere(std::span<const Point3> points) {
    const int count = static_cast<int>(points.size());
    if (count < kLeastPoints) {
        return noFit(count, "fewer than 4 points");
    }
    const Point3 centroid = centroidOf(points);
    Matrix3 scatter{};
    Point3 moment{};
    double meanSquare = 0.0;
    for (const Point3& p : points) {
        const Point3 q = p - centroid;
        const double square = dot(q, q);
        for (int row = 0; row < 3; ++row) {
            for (int column = 0; column < 3; ++column) {
                scatter[row][column] += q[row] * q[column];
            }
            moment[row] += q[row] * square;
        }
        meanSquare += square;
    }
    meanSquare /= count;
    const double meanEigenvalue = (scatter[0][0] + scatter[1][1] + scatter[2][2]) / 3.0;
    const double det = determinant(scatter);
    if (!(meanEigenvalue > 0.0) ||
        !(det > kPlanarDeterminant * meanEigenvalue * meanEigenvalue * meanEigenvalue)) {
        return noFit(count, "the points lie in one plane");
    }
    const Point3 twiceOffset = solve(scatter, moment, det);
    const Point3 offset{twiceOffset[0] / 2.0, twiceOffset[1] / 2.0, twiceOffset[2] / 2.0};

    SphereFit fit;
    fit.fitted = true;
    fit.points = count;
    fit.centre = centroid + offset;
    fit.radius = std::sqrt(meanSquare + dot(offset, offset));
    double residuals = 0.0;
    for (const Point3& p : points) {
        const double off = geometry::distance(p, fit.centre) - fit.radius;
        residuals += off * off;
    }
    fit.rms = std::sqrt(residuals / count);
    return fit;
}

}  // namespace fluxgrid
