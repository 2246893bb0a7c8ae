// Head localization files with many steps in fiducialPA through a memory
// archive, beside a plain copy of the same bytes. The counter "per_entry" is
// the time per step: it stays flat as the count grows when storing and
// loading cost is linear in the entries. The counts are 10^4, 10^5 and, when
// FLUXGRID_BENCH_HEADLOC_ENTRIES asks for more (10^6 for an hour of
// continuous localization, a file of 1.5 GB), that count too. The largest
// file is also loaded from disk in a process of its own, for its peak
// memory.
#include "PeakLoad.h"

#include <fluxgrid/headloc/HeadLocalization.h>
#include <fluxgrid/io/Files.h>

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr double kLoadGoal = 3.0;
constexpr double kStoreGoal = 2.0;

void fillSteps(CHeadLocalizationqv& hl, int count) {
    for (int i = 0; i < count; ++i) {
        auto* record = new HEAD_LOCATION_TRIAL();
        record->trialValue1 = 0.5 * i;
        record->trialValue2 = -0.25 * i;
        record->trialValue3 = 1.0 / (i + 1);
        record->trialTag = i;
        for (int p = 0; p < 6; ++p) {
            record->trialFiducial.fidPts[p].setFidPtPosition(i + p, -21.0 + p, 8.0 - p);
        }
        hl.fiducialPA.Add(record);
    }
}

std::vector<BYTE> storedFile(int count) {
    CHeadLocalizationqv hl;
    fillSteps(hl, count);
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        hl.serializeqv(ar);
    }
    return file.Data();
}

void perEntry(benchmark::State& state, int count, std::size_t bytes, double goal) {
    state.SetItemsProcessed(state.iterations() * count);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
    state.counters["per_entry"] = benchmark::Counter(
        count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.counters["entries"] = count;
    if (goal > 0) {
        state.counters["goal"] = goal;
    }
}

void store(benchmark::State& state, int count) {
    CHeadLocalizationqv hl;
    fillSteps(hl, count);
    std::size_t bytes = 0;
    for (auto _ : state) {
        CMemFile file;
        CArchive ar(&file, CArchive::store);
        benchmark::DoNotOptimize(hl.serializeqv(ar));
        ar.Close();
        bytes = static_cast<std::size_t>(file.GetLength());
    }
    perEntry(state, count, bytes, kStoreGoal);
}

int loadFrom(CMemFile& file, CHeadLocalizationqv& hl) {
    file.SeekToBegin();
    CArchive ar(&file, CArchive::load);
    const int result = hl.serializeqv(ar);
    ar.Close();
    return result;
}

void load(benchmark::State& state, int count) {
    const std::vector<BYTE> bytes = storedFile(count);
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    CHeadLocalizationqv hl;
    // One load and release before timing, as memcpy's target is touched
    // before its timing: the timed loads then take memory that the process
    // had, not memory that the hypervisor must back anew (which a virtual
    // machine does within seconds of its release; see README.md).
    loadFrom(file, hl);
    hl.cleanFiducialPA();
    for (auto _ : state) {
        benchmark::DoNotOptimize(loadFrom(file, hl));
        // The next load needs fiducialPA empty; releasing is not loading.
        state.PauseTiming();
        hl.cleanFiducialPA();
        state.ResumeTiming();
    }
    perEntry(state, count, bytes.size(), kLoadGoal);
}

void copyBytes(benchmark::State& state, int count) {
    const std::vector<BYTE> bytes = storedFile(count);
    std::vector<BYTE> target(bytes.size());
    for (auto _ : state) {
        std::memcpy(target.data(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    perEntry(state, count, bytes.size(), 0.0);
}

// The peak memory of loading the file from disk, against twice the file
// plus what the loaded objects keep.
void peak(benchmark::State& state, int count) {
    const auto path = std::filesystem::temp_directory_path() /
                      ("fluxgrid-bench-" + std::to_string(::getpid()) + ".headloc");
    {
        CHeadLocalizationqv hl;
        fillSteps(hl, count);
        if (!fluxgrid::storeFile(path, hl)) {
            state.SkipWithError("cannot store the file");
            return;
        }
    }
    PeakLoad measured;
    bool ok = true;
    for (auto _ : state) {
        ok = measurePeakLoad(path.string(), measured);
    }
    std::filesystem::remove(path);
    if (!ok) {
        state.SkipWithError("the measuring process failed");
        return;
    }
    constexpr double kMB = 1e6;
    state.counters["file_MB"] = static_cast<double>(measured.fileBytes) / kMB;
    state.counters["objects_MB"] = static_cast<double>(measured.objectBytes) / kMB;
    state.counters["peak_MB"] = static_cast<double>(measured.peakBytes) / kMB;
    state.counters["limit_MB"] =
        static_cast<double>(2 * measured.fileBytes + measured.objectBytes) / kMB;
    state.counters["load_s"] = measured.seconds;
}

int largestCount() {
    const char* asked = std::getenv("FLUXGRID_BENCH_HEADLOC_ENTRIES");
    const int count = asked != nullptr ? std::atoi(asked) : 0;
    return count > 100000 ? count : 100000;
}

const bool registered = [] {
    std::vector<int> counts = {10000, 100000};
    if (largestCount() > counts.back()) {
        counts.push_back(largestCount());
    }
    for (int count : counts) {
        const std::string group = "headloc" + std::to_string(count);
        benchmark::RegisterBenchmark((group + "/store").c_str(), store, count)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((group + "/load").c_str(), load, count)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((group + "/memcpy").c_str(), copyBytes, count)
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::RegisterBenchmark(
        ("headloc" + std::to_string(counts.back()) + "/peakMemory").c_str(), peak, counts.back())
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
    return true;
}();

}  // namespace
