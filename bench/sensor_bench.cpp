// Sensor files (version 20200210) through a memory archive, beside a plain
// copy of the same bytes: one SQUID channel with its nested record and 24
// coils, one OPM channel with its 24 vapor cells, and a whole array of 306
// SQUID channels in one archive. The same array as 306 sensor files on
// disk, loaded file by file, beside read(2) of those files' bytes into one
// buffer: in FLUXGRID_BENCH_ARRAY_DIR when set (and left there, for
// bench/python_bench.py), else in a temporary folder.
#include "Yardstick.h"

#include <fluxgrid/io/Files.h>
#include <fluxgrid/sensor/MEGSensor.h>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr int kArrayChannels = 306;
constexpr double kRecordGoal = 2.0;
constexpr double kFilesGoal = 1.5;

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
    CMemFile file;
    for (auto _ : state) {
        fluxgrid::bench::rewind(file);
        CArchive ar(&file, CArchive::store);
        benchmark::DoNotOptimize(sensor.serializeqv(ar));
        ar.Close();
        benchmark::DoNotOptimize(file.GetLength());
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<int64_t>(storedChannel(hardwareType).size()));
    state.counters["goal"] = kRecordGoal;
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
    state.counters["goal"] = kRecordGoal;
}

void copyChannel(benchmark::State& state, int hardwareType) {
    fluxgrid::bench::copyBytes(state, storedChannel(hardwareType));
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

void countChannels(benchmark::State& state, std::size_t bytes, double goal = kRecordGoal) {
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
    state.counters["channels/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * kArrayChannels, benchmark::Counter::kIsRate);
    if (goal > 0) {
        state.counters["goal"] = goal;
    }
}

void storeArrayInto(std::vector<CMEGSensorqv>& sensors, CMemFile& file) {
    CArchive ar(&file, CArchive::store);
    for (CMEGSensorqv& sensor : sensors) {
        benchmark::DoNotOptimize(sensor.serializeqv(ar));
    }
    ar.Close();
    benchmark::DoNotOptimize(file.GetLength());
}

void storeArray(benchmark::State& state) {
    std::vector<CMEGSensorqv> sensors = makeArray();
    CMemFile file;
    for (auto _ : state) {
        fluxgrid::bench::rewind(file);
        storeArrayInto(sensors, file);
    }
    countChannels(state, storedArray(sensors).size());
}

// Into a new memory file each time: what fresh memory adds. No goal.
void storeArrayFresh(benchmark::State& state) {
    std::vector<CMEGSensorqv> sensors = makeArray();
    for (auto _ : state) {
        CMemFile file;
        storeArrayInto(sensors, file);
    }
    countChannels(state, storedArray(sensors).size(), 0.0);
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
    fluxgrid::bench::copyBytes(state, bytes);
    countChannels(state, bytes.size(), 0.0);
}

// The array's files on disk, stored once for the whole run.
class ArrayFolder {
  public:
    ArrayFolder() {
        const char* asked = std::getenv("FLUXGRID_BENCH_ARRAY_DIR");
        m_keep = asked != nullptr && *asked != '\0';
        m_folder = m_keep ? std::filesystem::path(asked)
                          : std::filesystem::temp_directory_path() /
                                ("fluxgrid-bench-array-" + std::to_string(::getpid()));
        std::filesystem::create_directories(m_folder);
        std::vector<CMEGSensorqv> sensors = makeArray();
        for (int channel = 0; channel < kArrayChannels; ++channel) {
            const auto path = m_folder / ("MEG" + std::to_string(1000 + channel) + ".sensor");
            if (!fluxgrid::storeFile(path, sensors[channel])) {
                m_paths.clear();
                return;
            }
            m_paths.push_back(path);
            m_bytes += std::filesystem::file_size(path);
        }
    }
    ArrayFolder(const ArrayFolder&) = delete;
    ArrayFolder& operator=(const ArrayFolder&) = delete;
    ~ArrayFolder() {
        if (!m_keep) {
            std::error_code ignored;
            std::filesystem::remove_all(m_folder, ignored);
        }
    }

    const std::vector<std::filesystem::path>& paths() const { return m_paths; }
    std::size_t bytes() const { return m_bytes; }

  private:
    std::filesystem::path m_folder;
    bool m_keep = false;
    std::vector<std::filesystem::path> m_paths;
    std::size_t m_bytes = 0;
};

const ArrayFolder& arrayFolder() {
    static const ArrayFolder folder;
    return folder;
}

void loadArrayFiles(benchmark::State& state) {
    const ArrayFolder& folder = arrayFolder();
    if (folder.paths().empty()) {
        state.SkipWithError("cannot store the array's files");
        return;
    }
    for (auto _ : state) {
        for (const auto& path : folder.paths()) {
            auto loaded = fluxgrid::loadFile(path);
            if (!loaded) {
                state.SkipWithError(loaded.error().describe().c_str());
                return;
            }
            benchmark::DoNotOptimize(loaded->object);
        }
    }
    countChannels(state, folder.bytes(), kFilesGoal);
}

// Opens each file and reads all its bytes with read(2), one behind the
// other into one buffer.
void readArrayFiles(benchmark::State& state) {
    const ArrayFolder& folder = arrayFolder();
    std::vector<BYTE> buffer(folder.bytes());
    for (auto _ : state) {
        std::size_t at = 0;
        for (const auto& path : folder.paths()) {
            const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
            if (fd < 0) {
                state.SkipWithError("cannot open a file of the array");
                return;
            }
            ssize_t got = 0;
            while ((got = ::read(fd, buffer.data() + at, buffer.size() - at)) > 0) {
                at += static_cast<std::size_t>(got);
            }
            ::close(fd);
        }
        benchmark::DoNotOptimize(buffer.data());
        benchmark::ClobberMemory();
    }
    countChannels(state, folder.bytes(), 0.0);
}

BENCHMARK_CAPTURE(storeChannel, squid, 0)->Name("sensorSquid20200210/store");
BENCHMARK_CAPTURE(loadChannel, squid, 0)->Name("sensorSquid20200210/load");
BENCHMARK_CAPTURE(copyChannel, squid, 0)->Name("sensorSquid20200210/memcpy");
BENCHMARK_CAPTURE(storeChannel, opm, 1)->Name("sensorOpm20200210/store");
BENCHMARK_CAPTURE(loadChannel, opm, 1)->Name("sensorOpm20200210/load");
BENCHMARK_CAPTURE(copyChannel, opm, 1)->Name("sensorOpm20200210/memcpy");
BENCHMARK(storeArray)->Name("sensorArray306/store")->Unit(benchmark::kMillisecond);
BENCHMARK(storeArrayFresh)->Name("sensorArray306/storeFresh")->Unit(benchmark::kMillisecond);
BENCHMARK(loadArray)->Name("sensorArray306/load")->Unit(benchmark::kMillisecond);
BENCHMARK(copyArray)->Name("sensorArray306/memcpy")->Unit(benchmark::kMillisecond);
BENCHMARK(loadArrayFiles)->Name("sensorFiles306/load")->Unit(benchmark::kMillisecond);
BENCHMARK(readArrayFiles)->Name("sensorFiles306/read")->Unit(benchmark::kMillisecond);

}  // namespace
