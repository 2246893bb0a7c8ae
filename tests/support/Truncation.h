// The truncation sweep: a record or file cut short at every length (or at
// chosen lengths) must raise the archive's end-of-file exception and
// nothing else.
#pragma once

#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/platform/Types.h>

#include <cstddef>
#include <functional>
#include <vector>

namespace fluxgrid::test {

/// Every length from 0 to `size` - 1.
std::vector<std::size_t> everyProperPrefix(std::size_t size);

/// Every length below `dense`, then every `stride`-th length from `dense`
/// on while below `size`, then `size` - 1: reads cross a buffer's edge at
/// every field of a record's head, and the rest is sampled.
std::vector<std::size_t> denseThenStridedPrefixes(std::size_t size, std::size_t dense,
                                                  std::size_t stride);

struct TruncationSweep {
    /// The lengths to cut at; empty for every proper prefix.
    std::vector<std::size_t> lengths = {};
    /// 0 hands each prefix over in one memory file; otherwise a file that
    /// hands out at most `piece` bytes per read.
    UINT piece = 0;
    /// The archive's buffer size.
    int bufferSize = 4096;
    /// Called with the length after each load, whatever the load did, for
    /// checks of what the target holds after the exception.
    std::function<void(std::size_t)> afterEach = {};
};

/// Loads each prefix of `bytes` that `sweep` names through `load`, which
/// builds its own target each time, and expects every load to raise
/// `CArchiveException` with the cause `endOfFile`: a load that returns, or
/// raises another cause, fails the test with the prefix's length.
void expectEveryTruncationRaisesEndOfFile(const std::vector<BYTE>& bytes,
                                          const std::function<void(CArchive&)>& load,
                                          const TruncationSweep& sweep = {});

}  // namespace fluxgrid::test
