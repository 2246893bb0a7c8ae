// Loading a sample file through the facade, from the disk: what the Python
// module's reads are measured against (bench/python_bench.py).
#include <fluxgrid/io/Files.h>

#include <benchmark/benchmark.h>

#include <string>

namespace {

void loadSample(benchmark::State& state, const std::string& name) {
    const std::string path = std::string(FLUXGRID_SAMPLE_DATA) + "/" + name;
    for (auto _ : state) {
        auto loaded = fluxgrid::loadFile(path);
        if (!loaded) {
            state.SkipWithError(loaded.error().describe().c_str());
            break;
        }
        benchmark::DoNotOptimize(loaded->object);
    }
}

void BM_LoadFile_SquidSensor(benchmark::State& state) {
    loadSample(state, "sensor-squid-20200210.sensor");
}
BENCHMARK(BM_LoadFile_SquidSensor);

void BM_LoadFile_OpmSensor(benchmark::State& state) {
    loadSample(state, "sensor-opm-20200210.sensor");
}
BENCHMARK(BM_LoadFile_OpmSensor);

}  // namespace
