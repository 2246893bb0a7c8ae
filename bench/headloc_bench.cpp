// Head localization files with 10,000 and 100,000 steps in fiducialPA
// through a memory archive, beside a plain copy of the same bytes. The
// counter "per_entry" is the time per step: it stays flat as the count
// grows when storing and loading cost is linear in the entries.
#include <fluxgrid/headloc/HeadLocalization.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace {

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

void perEntry(benchmark::State& state, int count, std::size_t bytes) {
    state.SetItemsProcessed(state.iterations() * count);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
    state.counters["per_entry"] = benchmark::Counter(
        count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <int Count>
void store(benchmark::State& state) {
    CHeadLocalizationqv hl;
    fillSteps(hl, Count);
    std::size_t bytes = 0;
    for (auto _ : state) {
        CMemFile file;
        CArchive ar(&file, CArchive::store);
        benchmark::DoNotOptimize(hl.serializeqv(ar));
        ar.Close();
        bytes = static_cast<std::size_t>(file.GetLength());
    }
    perEntry(state, Count, bytes);
}

template <int Count>
void load(benchmark::State& state) {
    const std::vector<BYTE> bytes = storedFile(Count);
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    CHeadLocalizationqv hl;
    for (auto _ : state) {
        file.SeekToBegin();
        CArchive ar(&file, CArchive::load);
        benchmark::DoNotOptimize(hl.serializeqv(ar));
        ar.Close();
        // The next load needs fiducialPA empty; releasing is not loading.
        state.PauseTiming();
        hl.cleanFiducialPA();
        state.ResumeTiming();
    }
    perEntry(state, Count, bytes.size());
}

template <int Count>
void copyBytes(benchmark::State& state) {
    const std::vector<BYTE> bytes = storedFile(Count);
    std::vector<BYTE> target(bytes.size());
    for (auto _ : state) {
        std::memcpy(target.data(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    perEntry(state, Count, bytes.size());
}

BENCHMARK(store<10000>)->Name("headloc10k/store")->Unit(benchmark::kMillisecond);
BENCHMARK(load<10000>)->Name("headloc10k/load")->Unit(benchmark::kMillisecond);
BENCHMARK(copyBytes<10000>)->Name("headloc10k/memcpy")->Unit(benchmark::kMillisecond);
BENCHMARK(store<100000>)->Name("headloc100k/store")->Unit(benchmark::kMillisecond);
BENCHMARK(load<100000>)->Name("headloc100k/load")->Unit(benchmark::kMillisecond);
BENCHMARK(copyBytes<100000>)->Name("headloc100k/memcpy")->Unit(benchmark::kMillisecond);

}  // namespace
