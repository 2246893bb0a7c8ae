// Every kind of record as its sample file holds it, stored and loaded
// through a memory archive beside a plain copy of the same bytes: the goal
// of each is at most twice the copy. "storeFresh" stores into a new memory
// file each time, for what fresh memory adds; it has no goal.
#include "Yardstick.h"

#include <fluxgrid/io/FileObjects.h>
#include <fluxgrid/io/Files.h>

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

namespace {

constexpr double kRecordGoal = 2.0;

template <class T>
std::unique_ptr<T> sample(const std::string& name) {
    auto loaded = fluxgrid::loadFile(std::string(FLUXGRID_SAMPLE_DATA) + "/" + name);
    if (!loaded || loaded->get<T>() == nullptr) {
        return nullptr;
    }
    return std::move(std::get<std::unique_ptr<T>>(loaded->object));
}

template <class T>
std::vector<BYTE> storedSample(const std::string& name) {
    auto object = sample<T>(name);
    if (!object) {
        return {};
    }
    auto bytes = fluxgrid::storeBytes(*object);
    return bytes ? *bytes : std::vector<BYTE>{};
}

void setGoal(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
    state.counters["goal"] = kRecordGoal;
}

template <class T>
void storeOnce(T& object, CMemFile& file) {
    CArchive ar(&file, CArchive::store);
    benchmark::DoNotOptimize(fluxgrid::serializeFile(object, ar));
    ar.Close();
    benchmark::DoNotOptimize(file.GetLength());
}

// Stores the sample into one memory file, emptied each time, or with
// `freshFile` into a new one each time.
template <class T>
void store(benchmark::State& state, const std::string& name, bool freshFile) {
    auto object = sample<T>(name);
    const std::size_t bytes = storedSample<T>(name).size();
    if (!object || bytes == 0) {
        state.SkipWithError(("cannot load " + name).c_str());
        return;
    }
    if (freshFile) {
        for (auto _ : state) {
            CMemFile file;
            storeOnce(*object, file);
        }
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
        return;
    }
    CMemFile file;
    for (auto _ : state) {
        fluxgrid::bench::rewind(file);
        storeOnce(*object, file);
    }
    setGoal(state, bytes);
}

template <class T>
void load(benchmark::State& state, const std::string& name) {
    const std::vector<BYTE> bytes = storedSample<T>(name);
    if (bytes.empty()) {
        state.SkipWithError(("cannot load " + name).c_str());
        return;
    }
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    for (auto _ : state) {
        // A fresh object each time: a load fills an object just made.
        T object;
        file.SeekToBegin();
        CArchive ar(&file, CArchive::load);
        benchmark::DoNotOptimize(fluxgrid::serializeFile(object, ar));
        ar.Close();
    }
    setGoal(state, bytes.size());
}

template <class T>
void copy(benchmark::State& state, const std::string& name) {
    fluxgrid::bench::copyBytes(state, storedSample<T>(name));
}

template <class T>
void registerRecord(const std::string& group, const std::string& file) {
    benchmark::RegisterBenchmark((group + "/store").c_str(), store<T>, file, false);
    benchmark::RegisterBenchmark((group + "/storeFresh").c_str(), store<T>, file, true);
    benchmark::RegisterBenchmark((group + "/load").c_str(), load<T>, file);
    benchmark::RegisterBenchmark((group + "/memcpy").c_str(), copy<T>, file);
}

const bool registered = [] {
    registerRecord<CMagCoilqv>("recordCoil", "coil-20211230.coil");
    registerRecord<CMagVaporqv>("recordVapor", "vapor-20211230.vapor");
    registerRecord<CMegSquidqv>("recordSquid", "squid-20190201.squid");
    registerRecord<CMegOpmqv>("recordOpm", "opm-20190201.opm");
    registerRecord<CMEGSensorqv>("recordSensorAxial24k", "sensor-squid-20200210.sensor");
    registerRecord<CHeadLocalizationqv>("recordHeadloc", "headloc-20160320.headloc");
    return true;
}();

}  // namespace
