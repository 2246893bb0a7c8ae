// The geometry check of a whole array beside loading the same sensors from
// the bytes of their files, so that one run compares the two: 306 SQUID
// axial gradiometers in rings over a helmet, and 306 OPM channels, three
// axes at each of 102 positions, where every position yields three
// findings of shared position.
#include <fluxgrid/geometry/Check.h>
#include <fluxgrid/io/Files.h>
#include <fluxgrid/sensor/MEGSensor.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int kArrayChannels = 306;
constexpr double kHelmetRadius = 100.0;
constexpr double kBaseline = 50.0;
constexpr double kPi = 3.141592653589793;

using fluxgrid::Point3;

// `count` outward directions in rings of latitude from the vertex down to
// 100 degrees, each ring as full as its circumference allows.
std::vector<Point3> ringDirections(int count) {
    std::vector<Point3> directions;
    const int rings = 12;
    double circumference = 0.0;
    for (int ring = 0; ring < rings; ++ring) {
        circumference += std::sin((ring + 0.5) * (100.0 / rings) * kPi / 180.0);
    }
    for (int ring = 0; ring < rings && static_cast<int>(directions.size()) < count; ++ring) {
        const double polar = (ring + 0.5) * (100.0 / rings) * kPi / 180.0;
        const int inRing =
            ring == rings - 1
                ? count - static_cast<int>(directions.size())
                : static_cast<int>(std::lround(count * std::sin(polar) / circumference));
        for (int i = 0; i < inRing; ++i) {
            const double azimuth = 2.0 * kPi * (i + 0.5 * ring) / inRing;
            directions.push_back({std::sin(polar) * std::cos(azimuth),
                                  std::sin(polar) * std::sin(azimuth), std::cos(polar)});
        }
    }
    return directions;
}

std::string channelName(const char* stem, int channel) {
    char text[16];
    std::snprintf(text, sizeof text, "%s%04d", stem, channel);
    return text;
}

// A channel as an acquisition host sets it up, in every frame: the first
// element at `at` along `axis`; for a SQUID a second coil the baseline
// farther out along `outward`.
void setUpChannel(CMEGSensorqv& sensor, int hardwareType, const std::string& name, const Point3& at,
                  const Point3& outward, const Point3& axis) {
    const int type = hardwareType == 0 ? 100 : 700;
    // The first call makes the record, the reset gives it its defaults.
    sensor.initSensorInfo(hardwareType, type, 1, 1, 1.25, 2.0, 0.5, 0.0);
    sensor.resetSensors();
    sensor.initSensorInfo(-1, type, 1, 1, 1.25, 2.0, 0.5, 0.0);
    sensor.snsRawName = CString(name);
    sensor.snsShowName = sensor.snsRawName;
    MEG_OPM_NAME_POS_TYPE row{sensor.snsRawName, at[0],   at[1],   at[2],
                              axis[0],           axis[1], axis[2], type};
    sensor.setAcqSnsParam(-1, 0, &row, 1, 1, 1, 1);
    const int elements = hardwareType == 0 ? 2 : 1;
    double pos0[3] = {at[0], at[1], at[2]};
    double pos1[3] = {at[0] + kBaseline * outward[0], at[1] + kBaseline * outward[1],
                      at[2] + kBaseline * outward[2]};
    if (elements == 2) {
        row.posX = pos1[0];
        row.posY = pos1[1];
        row.posZ = pos1[2];
        sensor.setAcqSnsParam(-1, 1, &row, 1, 1, 1, 0);
    }
    int turns[2] = {1, 1};
    double areas[2] = {2.0, 2.0};
    sensor.initSensorBasic(-1, sensor.snsRawName, sensor.snsShowName, elements, turns, areas, pos0,
                           pos1, nullptr);
    sensor.setCoilsDewar2work();
}

std::vector<CMEGSensorqv> squidArray() {
    std::vector<CMEGSensorqv> sensors(kArrayChannels);
    const std::vector<Point3> directions = ringDirections(kArrayChannels);
    for (int channel = 0; channel < kArrayChannels; ++channel) {
        const Point3& n = directions[channel];
        const Point3 at{kHelmetRadius * n[0], kHelmetRadius * n[1], kHelmetRadius * n[2]};
        setUpChannel(sensors[channel], 0, channelName("MEG", channel), at, n, n);
    }
    return sensors;
}

// Three orthogonal axes at each position: outward and two tangents.
std::vector<CMEGSensorqv> opmArray() {
    std::vector<CMEGSensorqv> sensors(kArrayChannels);
    const std::vector<Point3> directions = ringDirections(kArrayChannels / 3);
    for (int position = 0; position < kArrayChannels / 3; ++position) {
        const Point3& n = directions[position];
        const Point3 at{kHelmetRadius * n[0], kHelmetRadius * n[1], kHelmetRadius * n[2]};
        const double across = std::hypot(n[0], n[1]);
        const Point3 east =
            across > 0.0 ? Point3{-n[1] / across, n[0] / across, 0.0} : Point3{1.0, 0.0, 0.0};
        const Point3 north{n[1] * east[2] - n[2] * east[1], n[2] * east[0] - n[0] * east[2],
                           n[0] * east[1] - n[1] * east[0]};
        const Point3 axes[3] = {n, east, north};
        for (int axis = 0; axis < 3; ++axis) {
            const int channel = 3 * position + axis;
            setUpChannel(sensors[channel], 1, channelName("OPM", channel), at, n, axes[axis]);
        }
    }
    return sensors;
}

// The sensors' files one after the other, as a host reads them in turn.
std::vector<BYTE> storedArray(std::vector<CMEGSensorqv>& sensors) {
    std::vector<BYTE> bytes;
    for (CMEGSensorqv& sensor : sensors) {
        const std::vector<BYTE> one = fluxgrid::storeBytes(sensor).value();
        bytes.insert(bytes.end(), one.begin(), one.end());
    }
    return bytes;
}

void countChannels(benchmark::State& state) {
    state.counters["channels/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * kArrayChannels, benchmark::Counter::kIsRate);
}

void loadArray(benchmark::State& state, std::vector<CMEGSensorqv> (*make)()) {
    std::vector<CMEGSensorqv> sensors = make();
    const std::vector<BYTE> bytes = storedArray(sensors);
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    std::vector<CMEGSensorqv> loaded(kArrayChannels);
    for (auto _ : state) {
        file.SeekToBegin();
        CArchive ar(&file, CArchive::load);
        for (CMEGSensorqv& sensor : loaded) {
            benchmark::DoNotOptimize(sensor.serializeqv(ar));
        }
    }
    countChannels(state);
}

void checkArray(benchmark::State& state, std::vector<CMEGSensorqv> (*make)(),
                std::size_t expectedFindings) {
    const std::vector<CMEGSensorqv> sensors = make();
    std::vector<fluxgrid::CheckedSensor> set;
    for (const CMEGSensorqv& sensor : sensors) {
        set.push_back({sensor, sensor.snsRawName.ToUtf8() + ".sensor"});
    }
    const fluxgrid::GeometryReport first = fluxgrid::checkGeometry(set);
    if (first.findings.size() != expectedFindings || !first.sphere.fitted) {
        state.SkipWithError("the array does not check as it was built");
        return;
    }
    for (auto _ : state) {
        fluxgrid::GeometryReport report = fluxgrid::checkGeometry(set);
        benchmark::DoNotOptimize(report.findings.data());
    }
    countChannels(state);
}

void copyArray(benchmark::State& state, std::vector<CMEGSensorqv> (*make)()) {
    std::vector<CMEGSensorqv> sensors = make();
    const std::vector<BYTE> bytes = storedArray(sensors);
    std::vector<BYTE> target(bytes.size());
    for (auto _ : state) {
        std::memcpy(target.data(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    countChannels(state);
}

BENCHMARK_CAPTURE(loadArray, squid, squidArray)
    ->Name("geometrySquid306/load")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(checkArray, squid, squidArray, 0)
    ->Name("geometrySquid306/check")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(copyArray, squid, squidArray)
    ->Name("geometrySquid306/memcpy")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(loadArray, opm, opmArray)
    ->Name("geometryOpm306/load")
    ->Unit(benchmark::kMicrosecond);
// Three findings of shared position at each of the 102 positions.
BENCHMARK_CAPTURE(checkArray, opm, opmArray, kArrayChannels)
    ->Name("geometryOpm306/check")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(copyArray, opm, opmArray)
    ->Name("geometryOpm306/memcpy")
    ->Unit(benchmark::kMicrosecond);

}  // namespace
