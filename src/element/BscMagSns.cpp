#include <fluxgrid/element/BscMagSns.h>

#include "ElementBlocks.h"

#include <algorithm>
#include <cmath>

namespace {
// Smallest normal single-precision value: the floor of the angle's divisor.
constexpr double kFloatMinNormal = 1.1754943508222875e-38;
// 180 / pi.
constexpr double kDegreesPerRadian = 57.29577951308232;
// 180 / 3.1415926538, the factor of the earlier routine; kept distinct.
constexpr double kDegreesPerRadianOld = 57.29577950924861;
constexpr double kHalfPi = 1.5707963267948966;
constexpr double kPi = 3.141592653589793;
// 0.6 pi: the flattening's radius of the unit circle.
constexpr double kFlattenDivisor = 1.8849555921538759;
}  // namespace

CBscMagSns::CBscMagSns(const char16_t* name)
    : vctXYRD{},
      coilName(name),
      posP4{},
      oriP4{},
      nmlDirXYZW{},
      axisRotate{},
      rotateRad(0.0),
      rotateDeg(0.0),
      coilAuxNo(0),
      coilAuxNo2(0),
      coilTurns(0),
      coilAuxValue(0.0),
      coilArea(0.0),
      magApha(0.0),
      unitScale(1.0),
      coilShape(0),
      coilAuxValue2(0.0),
      coilAuxValue3(0.0) {
    fluxgrid::element::clearDoubles(&auxRows[0][0], sizeof auxRows / sizeof(double));
    fluxgrid::element::clearDoubles(&pairTable[0][0][0], sizeof pairTable / sizeof(double));
}

int CBscMagSns::setCoilPosition(double x, double y, double z) {
    posP4[0] = x;
    posP4[1] = y;
    posP4[2] = z;
    return 1;
}

int CBscMagSns::getCoilPositionD(double& x, double& y, double& z) const {
    x = posP4[0];
    y = posP4[1];
    z = posP4[2];
    return 1;
}

int CBscMagSns::getCoilPositionF(float& x, float& y, float& z) const {
    x = static_cast<float>(posP4[0]);
    y = static_cast<float>(posP4[1]);
    z = static_cast<float>(posP4[2]);
    return 1;
}

int CBscMagSns::getNmlDirXYZ(double& x, double& y, double& z) const {
    x = nmlDirXYZW[0];
    y = nmlDirXYZW[1];
    z = nmlDirXYZW[2];
    return 1;
}

int CBscMagSns::getNmlDirXYZf(double& x, double& y, double& z) const {
    return getNmlDirXYZ(x, y, z);
}

int CBscMagSns::getCoilAxisRotateRr(double& x, double& y, double& z, double& r) const {
    x = axisRotate[0];
    y = axisRotate[1];
    z = axisRotate[2];
    r = rotateRad;
    return 1;
}

double CBscMagSns::getMagApha() {
    magApha = static_cast<double>(coilTurns) * coilArea;
    return magApha;
}

int CBscMagSns::orient2DirXYZW_VctXYRD() {
    const double x = oriP4[0];
    const double y = oriP4[1];
    const double z = oriP4[2];
    const double m = std::sqrt((y * y + x * x) + z * z);
    if (m == 0.0) {
        // The fourth element of the axis keeps its value, as it always has.
        std::fill(nmlDirXYZW, nmlDirXYZW + 4, 0.0);
        rotateRad = 0.0;
        rotateDeg = 0.0;
        std::fill(axisRotate, axisRotate + 3, 0.0);
        return 0;
    }
    nmlDirXYZW[0] = x / m;
    nmlDirXYZW[1] = y / m;
    nmlDirXYZW[2] = z / m;
    nmlDirXYZW[3] = m;
    const double reference[3] = {0.0, 1.0, 0.0};
    const double orientation[3] = {x, y, z};
    // Not clamped: a quotient rounded past 1 gives an angle that is not a number.
    rotateRad = std::acos(dotProduct(orientation, reference) / std::max(kFloatMinNormal, m));
    crossProduct(reference, orientation, axisRotate);
    axisRotate[3] = m;
    rotateDeg = rotateRad * kDegreesPerRadian;
    return 1;
}

int CBscMagSns::orient2DirXYZW_VctXYRD_bk() {
    const double x = oriP4[0];
    const double y = oriP4[1];
    const double z = oriP4[2];
    const double m = std::sqrt((y * y + x * x) + z * z);
    if (m == 0.0) {
        std::fill(nmlDirXYZW, nmlDirXYZW + 4, 0.0);
        std::fill(vctXYRD, vctXYRD + 4, 0.0);
        return 0;
    }
    nmlDirXYZW[0] = x / m;
    nmlDirXYZW[1] = y / m;
    nmlDirXYZW[2] = z / m;
    nmlDirXYZW[3] = m;
    const double w = z == 0.0 ? 1e-7 : z;
    double angle = std::acos(w / m);
    if (!(w > 0.0)) {
        angle = -angle;
    }
    vctXYRD[0] = (-y) * w;
    vctXYRD[1] = w * x;
    vctXYRD[2] = angle;
    vctXYRD[3] = angle * kDegreesPerRadianOld;
    return 1;
}

int CBscMagSns::getCoilVctXYRr_bk(double& x, double& y, double& r) const {
    x = vctXYRD[0];
    y = vctXYRD[1];
    r = vctXYRD[2];
    return 1;
}

int CBscMagSns::matlab2qvCoordinate(double& a, double& b, double& c) const {
    const double oldA = a;
    a = b;
    b = c;
    c = oldA * -1.0;
    return 0;
}

double CBscMagSns::dotProduct(const double* a, const double* b) {
    return (a[1] * b[1] + (a[0] * b[0] + 0.0)) + a[2] * b[2];
}

void CBscMagSns::crossProduct(const double* a, const double* b, double* c) {
    c[0] = b[2] * a[1] - a[2] * b[1];
    c[1] = -(a[0] * b[2] - a[2] * b[0]);
    c[2] = a[0] * b[1] - b[0] * a[1];
}

double CBscMagSns::vectorMagnitude(double x, double y, double z) {
    return std::sqrt((x * x + y * y) + z * z);
}

int CBscMagSns::spherical2Cartesian(double r, double a, double b, double& x, double& y, double& z,
                                    bool normalize) {
    const double s = std::sin(b);
    double px = (std::sin(a) * r) * s;
    double py = std::cos(b) * r;
    double pz = std::cos(a) * (s * r);
    if (normalize) {
        const double m = std::sqrt((py * py + px * px) + pz * pz);
        px /= m;
        py /= m;
        pz /= m;
    }
    x = px;
    y = py;
    z = pz;
    return 1;
}

int CBscMagSns::spherical2CartesianVSM(double r, double a, double b, double& x, double& y,
                                       double& z, bool normalize) {
    const double t = std::sin(a) * r;
    double px = std::sin(b) * t;
    double py = std::cos(a) * r;
    double pz = std::cos(b) * t;
    if (normalize) {
        const double m = std::sqrt((py * py + px * px) + pz * pz);
        px /= m;
        py /= m;
        pz /= m;
    }
    x = px;
    y = py;
    z = pz;
    return 1;
}

int CBscMagSns::flatten3Dto2D(double x, double y, double z, double& u, double& v) {
    const double s = x * x + y * y;
    const double r = std::sqrt(z * z + s);
    double theta = kHalfPi;
    if (!(s >= r * r)) {
        const double a = std::asin(std::sqrt(s) / r);
        theta = z >= 0.0 ? a : kPi - a;
    }
    const double phi = (x == 0.0 && y == 0.0) ? 0.0 : std::atan2(y, x);
    u = (std::cos(phi) * theta) / kFlattenDivisor;
    v = (std::sin(phi) * theta) / kFlattenDivisor;
    return 1;
}

int CBscMagSns::project3Dto2D(double x, double y, double z, double d, double& u, double& v) {
    if (std::fabs(d) == 0.0) {
        return 0;
    }
    const double t = z / std::fabs(d) + 1.0;
    u = x / t;
    v = y / t;
    return 1;
}
