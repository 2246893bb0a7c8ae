#include "support/SensorSets.h"

#include <cmath>
#include <cstdio>
#include <utility>

namespace fluxgrid::test {

namespace {

constexpr double kGoldenAngle = 2.399963229728653;
// The lowest point of a helmet, as a fraction of its radius below the centre.
constexpr double kHelmetRim = -0.3;

Point3 scaled(double s, const Point3& v) {
    return {s * v[0], s * v[1], s * v[2]};
}

Point3 plus(const Point3& a, const Point3& b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

Point3 crossOf(const Point3& a, const Point3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

// Two unit tangents completing the unit vector `n` to a right-handed set.
std::pair<Point3, Point3> tangents(const Point3& n) {
    const Point3 helper = std::abs(n[0]) < 0.9 ? Point3{1, 0, 0} : Point3{0, 1, 0};
    const Point3 a = unit(crossOf(helper, n));
    return {a, crossOf(n, a)};
}

std::string numbered(const char* stem, int number) {
    char text[16];
    std::snprintf(text, sizeof text, "%s%03d", stem, number);
    return text;
}

void name(CMEGSensorqv& sensor, const std::string& text) {
    sensor.snsRawName = CString(text);
    sensor.snsShowName = CString(text);
}

}  // namespace

std::vector<Point3> helmetPositions(int count, double radius, const Point3& centre) {
    std::vector<Point3> points;
    for (int i = 0; i < count; ++i) {
        const double z = 1.0 - (i + 0.5) / count * (1.0 - kHelmetRim);
        const double ring = std::sqrt(1.0 - z * z);
        const double phi = kGoldenAngle * i;
        points.push_back(
            plus(centre, scaled(radius, {ring * std::cos(phi), ring * std::sin(phi), z})));
    }
    return points;
}

Point3 unit(const Point3& v) {
    return scaled(1.0 / std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]), v);
}

void setElement(CMEGSensorqv& sensor, int element, const Point3& position,
                const Point3& orientation) {
    for (int frame = 0; frame < 3; ++frame) {
        CBscMagSnsqv* e = sensor.getCoilWkHdDw(frame, element);
        for (int i = 0; i < 3; ++i) {
            e->posP4[i] = position[i];
            e->oriP4[i] = orientation[i];
        }
        e->orient2DirXYZW_VctXYRD();
    }
}

void setUpSquid(CMEGSensorqv& sensor, const std::string& text, const Point3& first,
                const Point3& normal, double baseline, int sensorType) {
    // The first call makes the record, the reset gives it its defaults.
    sensor.initSensorInfo(0, sensorType, 0, 0, 1.0, 1.0, 1.0, 0.0);
    sensor.resetSensors();
    sensor.initSensorInfo(-1, sensorType, 0, 0, 1.0, 1.0, 1.0, 0.0);
    name(sensor, text);
    squidOf(sensor).totalCoils = baseline != 0.0 ? 2 : 1;
    setElement(sensor, 0, first, normal);
    if (baseline != 0.0) {
        setElement(sensor, 1, plus(first, scaled(baseline, unit(normal))), normal);
    }
}

void setUpOpm(CMEGSensorqv& sensor, const std::string& text, const Point3& position,
              const Point3& orientation, int sensorType) {
    sensor.initSensorInfo(1, sensorType, 0, 0, 1.0, 1.0, 1.0, 0.0);
    name(sensor, text);
    opmOf(sensor).checkInitVapors(1);
    setElement(sensor, 0, position, orientation);
}

CMegSquidqv& squidOf(CMEGSensorqv& sensor) {
    return *static_cast<CMegSquidqv*>(sensor.hardware.get());
}

CMegOpmqv& opmOf(CMEGSensorqv& sensor) {
    return *static_cast<CMegOpmqv*>(sensor.hardware.get());
}

std::vector<CMEGSensorqv> squidHelmet(int count, double radius, double baseline,
                                      const Point3& centre) {
    std::vector<CMEGSensorqv> sensors(count);
    const std::vector<Point3> positions = helmetPositions(count, radius, centre);
    for (int i = 0; i < count; ++i) {
        const Point3 outward = unit(plus(positions[i], scaled(-1.0, centre)));
        setUpSquid(sensors[i], numbered("MEG", i + 1), positions[i], outward, baseline);
    }
    return sensors;
}

std::vector<CMEGSensorqv> opmHelmet(int count, double radius, bool triaxial) {
    std::vector<CMEGSensorqv> sensors(triaxial ? 3 * count : count);
    const std::vector<Point3> positions = helmetPositions(count, radius);
    for (int i = 0; i < count; ++i) {
        const Point3 outward = unit(positions[i]);
        const std::string stem = numbered("OPM", i + 1);
        if (!triaxial) {
            setUpOpm(sensors[i], stem, positions[i], outward);
            continue;
        }
        const auto [a, b] = tangents(outward);
        setUpOpm(sensors[3 * i], stem + "R", positions[i], outward);
        setUpOpm(sensors[3 * i + 1], stem + "A", positions[i], a);
        setUpOpm(sensors[3 * i + 2], stem + "B", positions[i], b);
    }
    return sensors;
}

std::vector<CheckedSensor> checkedSet(const std::vector<CMEGSensorqv>& sensors) {
    std::vector<CheckedSensor> set;
    for (const CMEGSensorqv& sensor : sensors) {
        set.push_back({sensor, sensor.snsRawName.ToUtf8() + ".sensor"});
    }
    return set;
}

void setFiducials(CHeadLocalization& head, const Point3& nasion, const Point3& ear1,
                  const Point3& ear2) {
    head.fiducialCurrent.fidPts[0].setFidPtPosition(nasion[0], nasion[1], nasion[2]);
    head.fiducialCurrent.fidPts[1].setFidPtPosition(ear1[0], ear1[1], ear1[2]);
    head.fiducialCurrent.fidPts[2].setFidPtPosition(ear2[0], ear2[1], ear2[2]);
}

void setHeadInHelmet(CHeadLocalization& head) {
    setFiducials(head, {0, 80, -10}, {-70, 0, -20}, {70, 0, -20});
}

std::vector<std::string> codesOf(const GeometryReport& report) {
    std::vector<std::string> codes;
    for (const Finding& finding : report.findings) {
        codes.push_back(finding.code);
    }
    return codes;
}

Finding onlyFinding(const GeometryReport& report, const std::string& code) {
    EXPECT_EQ(codesOf(report), std::vector<std::string>{code});
    return report.findings.size() == 1 && report.findings[0].code == code ? report.findings[0]
                                                                          : Finding{};
}

::testing::AssertionResult holds(const std::string& text, const std::string& part) {
    if (text.find(part) != std::string::npos) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "\"" << text << "\" does not hold \"" << part << "\"";
}

}  // namespace fluxgrid::test
