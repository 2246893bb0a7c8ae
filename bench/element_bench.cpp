// One coil record (version 20211230) through a memory archive, beside a
// plain copy of the same bytes.
#include "Yardstick.h"

#include <fluxgrid/element/MagCoil.h>
#include <fluxgrid/element/MagVapor.h>

#include <benchmark/benchmark.h>

#include <vector>

namespace {

constexpr double kRecordGoal = 2.0;

template <class Element>
std::vector<BYTE> storedRecord() {
    Element element;
    element.setCoilPosition(1.5, -2.5, 3.5);
    element.getOriP4()[2] = 1.0;
    element.orient2DirXYZW_VctXYRD();
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        element.serializeqv(ar);
    }
    return file.Data();
}

template <class Element>
void store(benchmark::State& state) {
    Element element;
    CMemFile file;
    for (auto _ : state) {
        fluxgrid::bench::rewind(file);
        CArchive ar(&file, CArchive::store);
        element.serializeqv(ar);
        ar.Close();
        benchmark::DoNotOptimize(file.GetLength());
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<int64_t>(storedRecord<Element>().size()));
    state.counters["goal"] = kRecordGoal;
}

template <class Element>
void load(benchmark::State& state) {
    const std::vector<BYTE> bytes = storedRecord<Element>();
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    Element element;
    for (auto _ : state) {
        file.SeekToBegin();
        CArchive ar(&file, CArchive::load);
        benchmark::DoNotOptimize(element.serializeqv(ar));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
    state.counters["goal"] = kRecordGoal;
}

template <class Element>
void copyBytes(benchmark::State& state) {
    fluxgrid::bench::copyBytes(state, storedRecord<Element>());
}

BENCHMARK(store<CMagCoilqv>)->Name("coil20211230/store");
BENCHMARK(load<CMagCoilqv>)->Name("coil20211230/load");
BENCHMARK(copyBytes<CMagCoilqv>)->Name("coil20211230/memcpy");
BENCHMARK(store<CMagVaporqv>)->Name("vapor20211230/store");
BENCHMARK(load<CMagVaporqv>)->Name("vapor20211230/load");
BENCHMARK(copyBytes<CMagVaporqv>)->Name("vapor20211230/memcpy");

}  // namespace
