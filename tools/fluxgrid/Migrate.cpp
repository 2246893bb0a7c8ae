#include "Migrate.h"

#include "AtomicFile.h"
#include "Compare.h"
#include "FileKinds.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <set>

#include <unistd.h>

namespace fluxgrid::tool {

namespace {

namespace fs = std::filesystem;

// A progress line on a terminal, redrawn at most ten times a second.
class Progress {
  public:
    explicit Progress(std::size_t total)
        : m_total(total), m_shown(total > 1 && ::isatty(STDERR_FILENO) == 1) {}
    ~Progress() { clear(); }

    void step(std::size_t done, const std::string& name) {
        if (!m_shown) {
            return;
        }
        const auto now = std::chrono::steady_clock::now();
        if (done != 0 && now - m_last < std::chrono::milliseconds(100)) {
            return;
        }
        m_last = now;
        std::fprintf(stderr, "\r\033[Kmigrating %zu/%zu %s", done + 1, m_total, name.c_str());
        std::fflush(stderr);
    }
    // Takes the line away, so that a message can stand on a line of its own.
    void clear() {
        if (m_shown) {
            std::fprintf(stderr, "\r\033[K");
            std::fflush(stderr);
        }
    }

  private:
    std::size_t m_total;
    bool m_shown;
    std::chrono::steady_clock::time_point m_last{};
};

enum class Outcome { migrated, current };

struct Result {
    Outcome outcome;
    std::string line;
};

Result migrateOne(const std::string& path, const std::optional<std::string>& outDir,
                  std::set<std::string>& targets) {
    const std::vector<BYTE> bytes = readWholeFile(path);
    LoadedFile loaded = loadSensorBytes(bytes, path);
    if (loaded.consumed < loaded.size) {
        throw ToolError(std::to_string(loaded.size - loaded.consumed) +
                        " bytes behind the body would be lost");
    }
    const int newest = kindInfo(FileKind::sensor).written;
    const bool current = loaded.version == newest;
    const std::string target =
        outDir ? (fs::path(*outDir) / fs::path(path).filename()).string() : path;
    if (!targets.insert(fs::weakly_canonical(target).string()).second) {
        throw ToolError("another input already goes to " + target);
    }
    if (current && !outDir) {
        return {Outcome::current,
                "current   " + path + " (version " + std::to_string(newest) + ")"};
    }
    const std::vector<BYTE> out = storeSensor(*loaded.sensor);
    // The output must load as the newest version with the same fields
    // before it may take the place of anything.
    LoadedFile check = loadBytes(out, target);
    if (check.kind != FileKind::sensor || check.version != newest || check.consumed != out.size()) {
        throw ToolError("the stored file does not load back as version " + std::to_string(newest));
    }
    const std::vector<std::string> differences = compareSensors(*loaded.sensor, *check.sensor);
    if (!differences.empty()) {
        throw ToolError("the stored file loads back with a different " + differences.front());
    }
    writeAtomically(target, out);
    if (current) {
        return {Outcome::current,
                "current   " + path + " (version " + std::to_string(newest) + ") -> " + target};
    }
    return {Outcome::migrated, "migrated  " + path + " (version " + std::to_string(loaded.version) +
                                   " -> " + std::to_string(newest) + ") -> " + target};
}

}  // namespace

int runMigrate(const std::vector<std::string>& files, const std::optional<std::string>& outDir) {
    if (outDir) {
        std::error_code error;
        fs::create_directories(*outDir, error);
        if (error || !fs::is_directory(*outDir)) {
            std::cerr << "fluxgrid: " << *outDir << ": cannot create the output folder"
                      << (error ? ": " + error.message() : std::string()) << '\n';
            return 1;
        }
    }
    std::size_t migrated = 0;
    std::size_t current = 0;
    std::size_t failed = 0;
    std::set<std::string> targets;
    Progress progress(files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
        const std::string& path = files[i];
        progress.step(i, path);
        try {
            const Result result = migrateOne(path, outDir, targets);
            ++(result.outcome == Outcome::migrated ? migrated : current);
            progress.clear();
            std::printf("%s\n", result.line.c_str());
            std::fflush(stdout);
        } catch (const ToolError& e) {
            ++failed;
            progress.clear();
            std::cerr << "fluxgrid: " << path << ": " << e.what() << "; left untouched\n";
        }
    }
    progress.clear();
    std::printf("%zu migrated, %zu already current, %zu failed\n", migrated, current, failed);
    std::fflush(stdout);
    return failed == 0 ? 0 : 1;
}

}  // namespace fluxgrid::tool
