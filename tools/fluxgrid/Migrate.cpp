#include "Migrate.h"

#include "Output.h"

#include <fluxgrid/access/FieldTable.h>
#include <fluxgrid/access/Files.h>

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

enum class Outcome { migrated, current, failed };

struct Result {
    Outcome outcome;
    std::string line;
    /// Why it failed, with the boxes the library raised.
    FileError error;
};

Result failure(const std::string& path, std::string message) {
    FileError error;
    error.file = path;
    error.message = std::move(message);
    return {Outcome::failed, {}, std::move(error)};
}

Result failure(FileError error) {
    return {Outcome::failed, {}, std::move(error)};
}

Result migrateOne(const std::string& path, const std::optional<std::string>& outDir,
                  std::set<std::string>& targets) {
    // Through the sensor entry whatever the magic says, so that a file of
    // another kind is refused in the library's own words.
    FileResult<LoadedFile> loaded = loadFile(path, LoadOptions{.as = FileKind::sensor});
    if (!loaded) {
        return failure(loaded.error());
    }
    if (loaded->consumed < loaded->size) {
        return failure(path, std::to_string(loaded->size - loaded->consumed) +
                                 " bytes behind the body would be lost");
    }
    CMEGSensorqv& sensor = *loaded->get<CMEGSensorqv>();
    const int newest = fileKindInfo(FileKind::sensor).written;
    const bool current = loaded->version == newest;
    const std::string target =
        outDir ? (fs::path(*outDir) / fs::path(path).filename()).string() : path;
    if (!targets.insert(fs::weakly_canonical(target).string()).second) {
        return failure(path, "another input already goes to " + target);
    }
    if (current && !outDir) {
        return {Outcome::current,
                "current   " + path + " (version " + std::to_string(newest) + ")",
                {}};
    }
    FileResult<std::vector<BYTE>> out = storeBytes(sensor);
    if (!out) {
        return failure(path, out.error().message);
    }
    // The output must load as the newest version with the same fields
    // before it may take the place of anything.
    FileResult<LoadedFile> check = loadBytes(*out, target);
    if (!check) {
        FileError error = check.error();
        error.file = path;
        return failure(std::move(error));
    }
    const CMEGSensorqv* back = check->get<CMEGSensorqv>();
    if (back == nullptr || check->version != newest || check->consumed != out->size()) {
        return failure(path,
                       "the stored file does not load back as version " + std::to_string(newest));
    }
    const std::vector<std::string> differences =
        fields::filedDifferences(sensor, *back, fields::Body::sensor20200210);
    if (!differences.empty()) {
        return failure(path, "the stored file loads back with a different " + differences.front());
    }
    FileResult<std::size_t> written = writeFileAtomically(target, *out);
    if (!written) {
        return failure(path, written.error().message);
    }
    if (current) {
        return {Outcome::current,
                "current   " + path + " (version " + std::to_string(newest) + ") -> " + target,
                {}};
    }
    return {Outcome::migrated,
            "migrated  " + path + " (version " + std::to_string(loaded->version) + " -> " +
                std::to_string(newest) + ") -> " + target,
            {}};
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
        const Result result = migrateOne(path, outDir, targets);
        progress.clear();
        if (result.outcome == Outcome::failed) {
            ++failed;
            printFailure(result.error, "; left untouched");
            continue;
        }
        ++(result.outcome == Outcome::migrated ? migrated : current);
        std::printf("%s\n", result.line.c_str());
        flushStandardOutput();
    }
    progress.clear();
    std::printf("%zu migrated, %zu already current, %zu failed\n", migrated, current, failed);
    flushStandardOutput();
    return failed == 0 ? 0 : 1;
}

}  // namespace fluxgrid::tool
