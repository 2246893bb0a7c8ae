// Sensor files (version 20200210) through a memory archive, beside a plain
// copy of the same bytes: one SQUID channel with its nested record and 24
// coils, one OPM channel with its 24 vapor cells, and a whole array of 306
// SQUID channels in one archive.
#include <fluxgrid/sensor/MEGSensor.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int kArrayChannels = 306;

// A channel as an acquisition host sets it up: a two-coil gradiometer or an
// OPM cell, with positions, orientations and derived directions.
void setUpChannel(CMEGSensorqv& sensor, int hardwareType, int channel) {
    const int type = hardwareType == 0 ? 100 : 700;
    // The first call makes the record, the reset gives it its defaults.
    sensor.initSensorInfo(hardwareType, type, channel, 1, 1.25, 2.0, 0.5, 0.0);
    sensor.resetSensors();
    sensor.initSensorInfo(-1, type, channel, 1, 1.25, 2.0, 0.5, 0.0);
    sensor.snsShowName = CString("MEG" + std::to_string(1000 + channel));
    sensor.snsRawName = sensor.snsShowName;
    MEG_OPM_NAME_POS_TYPE row{sensor.snsShowName, 0.1 * channel, 2.0, 3.0, 0.0, 0.6, 0.8, 0};
    sensor.setAcqSnsParam(-1, 0, &row, 1, 1, 1, 1);
    row.posZ += 5.0;
    sensor.setAcqSnsParam(-1, 1, &row, 1, 1, 1, 0);
    int turns[2] = {1, 1};
    double areas[2] = {2.0, 2.0};
    double pos0[3] = {row.posX, row.posY, 3.0};
    double pos1[3] = {row.posX, row.posY, 8.0};
    sensor.initSensorBasic(-1, sensor.snsRawName, sensor.snsShowName, 2, turns, areas, pos0, pos1,
                           nullptr);
    sensor.setCoilsDewar2work();
}

std::vector<BYTE> storedChannel(int hardwareType) {
    CMEGSensorqv sensor;
    setUpChannel(sensor, hardwareType, 1);
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        sensor.serializeqv(ar);
    }
    return file.Data();
}

void storeChannel(benchmark::State& state, int hardwareType) {
    CMEGSensorqv sensor;
    setUpChannel(sensor, hardwareType, 1);
    for (auto _ : state) {
        CMemFile file;
        CArchive ar(&file, CArchive::store);
        benchmark::DoNotOptimize(sensor.serializeqv(ar));
        ar.Close();
        benchmark::DoNotOptimize(file.GetLength());
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<int64_t>(storedChannel(hardwareType).size()));
}

void loadChannel(benchmark::State& state, int hardwareType) {
    const std::vector<BYTE> bytes = storedChannel(hardwareType);
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    CMEGSensorqv sensor;
    for (auto _ : state) {
        file.SeekToBegin();
        CArchive ar(&file, CArchive::load);
        benchmark::DoNotOptimize(sensor.serializeqv(ar));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}

void copyBytes(benchmark::State& state, const std::vector<BYTE>& bytes) {
    std::vector<BYTE> target(bytes.size());
    for (auto _ : state) {
        std::memcpy(target.data(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}

void copyChannel(benchmark::State& state, int hardwareType) {
    copyBytes(state, storedChannel(hardwareType));
}

// The array: 306 SQUID channels, one sensor file after the other.
std::vector<CMEGSensorqv> makeArray() {
    std::vector<CMEGSensorqv> sensors(kArrayChannels);
    for (int channel = 0; channel < kArrayChannels; ++channel) {
        setUpChannel(sensors[channel], 0, channel);
    }
    return sensors;
}

std::vector<BYTE> storedArray(std::vector<CMEGSensorqv>& sensors) {
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        for (CMEGSensorqv& sensor : sensors) {
            sensor.serializeqv(ar);
        }
    }
    return file.Data();
}

void countChannels(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
    state.counters["channels/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * kArrayChannels, benchmark::Counter::kIsRate);
}

void storeArray(benchmark::State& state) {
    std::vector<CMEGSensorqv> sensors = makeArray();
    for (auto _ : state) {
        CMemFile file;
        CArchive ar(&file, CArchive::store);
        for (CMEGSensorqv& sensor : sensors) {
            benchmark::DoNotOptimize(sensor.serializeqv(ar));
        }
        ar.Close();
        benchmark::DoNotOptimize(file.GetLength());
    }
    countChannels(state, storedArray(sensors).size());
}

void loadArray(benchmark::State& state) {
    std::vector<CMEGSensorqv> sensors = makeArray();
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
    countChannels(state, bytes.size());
}

void copyArray(benchmark::State& state) {
    std::vector<CMEGSensorqv> sensors = makeArray();
    const std::vector<BYTE> bytes = storedArray(sensors);
    copyBytes(state, bytes);
    state.counters["channels/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * kArrayChannels, benchmark::Counter::kIsRate);
}

BENCHMARK_CAPTURE(storeChannel, squid, 0)->Name("sensorSquid20200210/store");
BENCHMARK_CAPTURE(loadChannel, squid, 0)->Name("sensorSquid20200210/load");
BENCHMARK_CAPTURE(copyChannel, squid, 0)->Name("sensorSquid20200210/memcpy");
BENCHMARK_CAPTURE(storeChannel, opm, 1)->Name("sensorOpm20200210/store");
BENCHMARK_CAPTURE(loadChannel, opm, 1)->Name("sensorOpm20200210/load");
BENCHMARK_CAPTURE(copyChannel, opm, 1)->Name("sensorOpm20200210/memcpy");
BENCHMARK(storeArray)->Name("sensorArray306/store")->Unit(benchmark::kMillisecond);
BENCHMARK(loadArray)->Name("sensorArray306/load")->Unit(benchmark::kMillisecond);
BENCHMARK(copyArray)->Name("sensorArray306/memcpy")->Unit(benchmark::kMillisecond);

}  // namespace
