// The peak memory of loading one file, measured in a process of its own so
// that nothing else the benchmarks hold counts towards it.
#pragma once

#include <cstddef>
#include <string>

/// The command-line flag under which the benchmark program loads one file
/// and reports its memory instead of running benchmarks.
inline constexpr const char* kPeakLoadFlag = "--peak-load";

/// Loads the file at `path`, then prints one line: "<file bytes> <bytes the
/// loaded objects keep> <peak bytes above the start> <seconds>". Returns
/// the exit status.
int runPeakLoad(const char* path);

struct PeakLoad {
    std::size_t fileBytes = 0;
    std::size_t objectBytes = 0;
    std::size_t peakBytes = 0;
    double seconds = 0.0;
};

/// Runs this program again with `kPeakLoadFlag` on `path`; false when that
/// fails.
bool measurePeakLoad(const std::string& path, PeakLoad& result);
