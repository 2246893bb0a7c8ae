#include "PeakLoad.h"

#include <fluxgrid/io/Files.h>

#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <limits>

namespace {

// Resident bytes now, from the kernel's page count.
std::size_t residentBytes() {
    std::ifstream statm("/proc/self/statm");
    std::size_t pages = 0;
    std::size_t resident = 0;
    statm >> pages >> resident;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

std::size_t peakResidentBytes() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

}  // namespace

int runPeakLoad(const char* path) {
    const std::size_t before = residentBytes();
    fluxgrid::LoadOptions options;
    options.maxBytes = std::numeric_limits<std::uintmax_t>::max();
    const auto start = std::chrono::steady_clock::now();
    auto loaded = fluxgrid::loadFile(path, options);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    if (!loaded) {
        std::fprintf(stderr, "%s\n", loaded.error().describe().c_str());
        return 1;
    }
    const std::size_t after = residentBytes();
    std::printf("%zu %zu %zu %.6f\n", loaded->size, after - before, peakResidentBytes() - before,
                took.count());
    return 0;
}

bool measurePeakLoad(const std::string& path, PeakLoad& result) {
    char self[4096] = {};
    const ssize_t length = ::readlink("/proc/self/exe", self, sizeof(self) - 1);
    if (length <= 0) {
        return false;
    }
    const std::string command = "'" + std::string(self, static_cast<std::size_t>(length)) + "' " +
                                kPeakLoadFlag + " '" + path + "'";
    FILE* child = ::popen(command.c_str(), "r");
    if (child == nullptr) {
        return false;
    }
    const int read = std::fscanf(child, "%zu %zu %zu %lf", &result.fileBytes, &result.objectBytes,
                                 &result.peakBytes, &result.seconds);
    return ::pclose(child) == 0 && read == 4;
}
