// What the in-memory figures are measured against, and the memory file their
// stores write into, so that both sides move the same bytes into memory the
// process has already touched.
#pragma once

#include <fluxgrid/platform/File.h>
#include <fluxgrid/platform/Types.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace fluxgrid::bench {

/// Times a plain copy of `bytes` into a buffer of the same size that is
/// already touched (the vector clears it when it is made), and counts the
/// bytes. The copy cannot be optimised away: the target escapes and memory
/// is clobbered after each copy.
inline void copyBytes(benchmark::State& state, const std::vector<BYTE>& bytes) {
    std::vector<BYTE> target(bytes.size());
    for (auto _ : state) {
        std::memcpy(target.data(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}

/// Empties a memory file for the next store and keeps its room: like the
/// yardstick's target, the stored bytes then go into memory already
/// touched, and the figure is the store's, not the kernel's handing out
/// fresh pages.
inline void rewind(CMemFile& file) {
    file.SetLength(0);
    file.SeekToBegin();
}

}  // namespace fluxgrid::bench
