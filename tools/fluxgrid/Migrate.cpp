#include "Migrate.h"

#include "CommandLine.h"
#include "Commands.h"
#include "Output.h"

#include <fluxgrid/fields/FieldTable.h>
#include <fluxgrid/io/Files.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <thread>

#include <malloc.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fluxgrid::tool {

namespace {

namespace fs = std::filesystem;

// A progress line on a terminal, redrawn at most ten times a second, as
// the files of a run are done by any number of threads.
class Progress {
  public:
    explicit Progress(std::size_t total)
        : m_total(total), m_shown(total > 1 && ::isatty(STDERR_FILENO) == 1) {}
    ~Progress() { clear(); }

    void step(const std::string& name) {
        if (!m_shown) {
            return;
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto now = std::chrono::steady_clock::now();
        ++m_done;
        if (m_done != 1 && now - m_last < std::chrono::milliseconds(100)) {
            return;
        }
        m_last = now;
        std::fprintf(stderr, "\r\033[Kmigrating %zu/%zu %s", m_done, m_total, name.c_str());
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
    std::mutex m_mutex;
    std::size_t m_done = 0;
    std::chrono::steady_clock::time_point m_last{};
};

// Runs `work(i)` for every `i` below `count` on up to `jobs` threads.
void forEachIndex(std::size_t count, unsigned jobs, const std::function<void(std::size_t)>& work) {
    std::atomic<std::size_t> next{0};
    auto worker = [&] {
        for (std::size_t i = next++; i < count; i = next++) {
            work(i);
        }
    };
    std::vector<std::jthread> helpers;
    for (std::size_t t = 1; t < std::min<std::size_t>(jobs, count); ++t) {
        helpers.emplace_back(worker);
    }
    worker();
}

// `skipped`: another program changed the file while the run worked on it.
enum class Outcome { migrated, current, failed, skipped };

// One file's migration: the bytes to write and where, or why it failed.
struct Migration {
    Outcome outcome = Outcome::failed;
    std::string target;
    /// The input as it was before it was read, for a file migrated over
    /// itself: it is replaced only if it still is so.
    std::optional<FileStamp> read;
    int fromVersion = 0;
    /// Empty for a current file that stays as it is.
    std::vector<BYTE> bytes;
    /// Why it failed, with the boxes the library raised.
    FileError error;
};

Migration failure(const std::string& path, std::string message) {
    Migration migration;
    migration.error.file = path;
    migration.error.message = std::move(message);
    return migration;
}

Migration failure(FileError error) {
    Migration migration;
    migration.error = std::move(error);
    return migration;
}

// Loads the file and stores it as the newest version in memory, checked by
// loading it back; everything up to the write.
Migration prepare(const std::string& path, const std::string& target, bool toOtherFile) {
    // Taken before the read, so that any later change by another program
    // shows at the rename.
    const std::optional<FileStamp> read = toOtherFile ? std::nullopt : fileStamp(path);
    // Through the sensor entry whatever the magic says, so that a file of
    // another kind is refused in the library's own words.
    FileResult<LoadedFile> loaded = loadFile(path, LoadOptions{.as = FileKind::sensor});
    if (!loaded) {
        return failure(loaded.error());
    }
    if (!toOtherFile && !read) {
        // It came into being between the look and the read: another
        // program is at work on it, and nothing tells what was read.
        Migration skipped = failure(path, "changed by another program since it was read");
        skipped.outcome = Outcome::skipped;
        return skipped;
    }
    if (loaded->consumed < loaded->size) {
        return failure(path, std::to_string(loaded->size - loaded->consumed) +
                                 " bytes behind the body would be lost");
    }
    CMEGSensorqv& sensor = *loaded->get<CMEGSensorqv>();
    const int newest = fileKindInfo(FileKind::sensor).written;
    Migration migration;
    migration.outcome = loaded->version == newest ? Outcome::current : Outcome::migrated;
    migration.fromVersion = loaded->version;
    migration.target = target;
    migration.read = read;
    if (migration.outcome == Outcome::current && !toOtherFile) {
        return migration;
    }
    FileResult<std::vector<BYTE>> out = storeBytes(sensor);
    if (!out) {
        return failure(path, out.error().message);
    }
    // The output must load as the newest version with the same fields
    // before it may take the place of anything.
    FileResult<LoadedFile> check = loadBytes(*out, migration.target);
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
    migration.bytes = std::move(*out);
    return migration;
}

Migration prepareCaught(const std::string& path, const std::string& target, bool toOtherFile) {
    try {
        return prepare(path, target, toOtherFile);
    } catch (const std::exception& e) {
        return failure(path, e.what());
    }
}

// What tells two targets apart: the file an existing one is, whatever the
// links that lead to it; else the name. Taken for every target before the
// run writes anything: a file that the run (or another program) replaces
// frees its inode number for a new file, which must not then pass for it.
std::string identityOf(const std::string& target) {
    struct stat status {};
    if (::stat(target.c_str(), &status) == 0) {
        return "file " + std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
    }
    std::error_code ignored;
    return "name " + fs::absolute(target, ignored).lexically_normal().string();
}

std::string targetOf(const std::string& path, const MigrateOptions& options) {
    return options.outDir ? (fs::path(*options.outDir) / fs::path(path).filename()).string() : path;
}

// The inputs whose target an earlier input of the run already has, which
// are refused before any work.
std::vector<char> sharedTargets(const std::vector<std::string>& files,
                                const MigrateOptions& options) {
    std::vector<char> shared(files.size(), 0);
    std::set<std::string> targets;
    for (std::size_t i = 0; i < files.size(); ++i) {
        shared[i] = targets.insert(identityOf(targetOf(files[i], options))).second ? 0 : 1;
    }
    return shared;
}

// Migrates a batch of files: each is loaded, stored, checked and written
// to its temporary by one of the jobs, and the batch then renames them all
// into place after one shared flush. `refused` marks the inputs whose
// target an earlier input already has.
std::vector<Migration> migrateBatch(std::span<const std::string> files,
                                    const MigrateOptions& options, std::span<const char> refused,
                                    Progress& progress) {
    std::vector<Migration> migrations(files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (refused[i]) {
            migrations[i] =
                failure(files[i], "another input already goes to " + targetOf(files[i], options));
        }
    }
    AtomicWriteBatch batch(WriteOptions{.breakHardLinks = options.breakHardLinks});
    std::vector<std::optional<std::size_t>> places(files.size());
    forEachIndex(files.size(), options.jobs, [&](std::size_t i) {
        if (refused[i]) {
            return;
        }
        progress.step(files[i]);
        Migration& migration = migrations[i];
        migration =
            prepareCaught(files[i], targetOf(files[i], options), options.outDir.has_value());
        if (migration.outcome == Outcome::failed || migration.bytes.empty()) {
            return;
        }
        FileResult<std::size_t> added =
            batch.add(migration.target, migration.bytes, migration.read);
        if (added) {
            places[i] = *added;
        } else {
            migration = failure(files[i], added.error().message);
        }
    });
    std::vector<FileResult<std::size_t>> written = batch.commit();
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (places[i] && !written[*places[i]]) {
            const FileError& error = written[*places[i]].error();
            migrations[i] = failure(files[i], error.message);
            if (error.failure == FileFailure::changed) {
                migrations[i].outcome = Outcome::skipped;
            }
        }
    }
    return migrations;
}

std::string lineOf(const std::string& path, const Migration& migration) {
    const std::string newest = std::to_string(fileKindInfo(FileKind::sensor).written);
    if (migration.outcome == Outcome::migrated) {
        return "migrated  " + path + " (version " + std::to_string(migration.fromVersion) + " -> " +
               newest + ") -> " + migration.target;
    }
    std::string line = "current   " + path + " (version " + newest + ")";
    if (!migration.bytes.empty()) {
        line += " -> " + migration.target;
    }
    return line;
}

// Every file of a run allocates and frees the same few hundred kilobytes,
// on several threads. By default glibc hands freed memory back to the
// kernel after each file (brk, madvise, with a flush of every core's TLB)
// and then faults it in again cleared: that took more time than the
// migration itself. A run keeps what it freed for the next file.
void keepFreedMemory() {
    constexpr int kTrimThreshold = 256 << 20;
    constexpr int kMmapThreshold = 32 << 20;
    ::mallopt(M_TRIM_THRESHOLD, kTrimThreshold);
    ::mallopt(M_MMAP_THRESHOLD, kMmapThreshold);
}

}  // namespace

int runMigrate(const std::vector<std::string>& files, const MigrateOptions& options) {
    keepFreedMemory();
    if (options.outDir) {
        std::error_code error;
        fs::create_directories(*options.outDir, error);
        if (error || !fs::is_directory(*options.outDir)) {
            std::cerr << "fluxgrid: " << *options.outDir << ": cannot create the output folder"
                      << (error ? ": " + error.message() : std::string()) << '\n';
            return 1;
        }
    }
    // Files of a batch are open together until their shared flush.
    constexpr std::size_t kBatchFiles = 256;
    std::size_t counts[4] = {0, 0, 0, 0};
    const std::vector<char> refused = sharedTargets(files, options);
    Progress progress(files.size());
    for (std::size_t first = 0; first < files.size(); first += kBatchFiles) {
        const std::span<const std::string> batch(files.begin() + static_cast<std::ptrdiff_t>(first),
                                                 std::min(kBatchFiles, files.size() - first));
        const std::vector<Migration> migrations =
            migrateBatch(batch, options, std::span(refused).subspan(first, batch.size()), progress);
        progress.clear();
        for (std::size_t i = 0; i < batch.size(); ++i) {
            const Migration& migration = migrations[i];
            ++counts[static_cast<int>(migration.outcome)];
            if (migration.outcome == Outcome::failed) {
                flushStandardOutput();
                printFailure(migration.error, "; left untouched");
            } else if (migration.outcome == Outcome::skipped) {
                flushStandardOutput();
                printFailure(migration.error, "; skipped, left as that program made it");
            } else {
                std::printf("%s\n", lineOf(batch[i], migration).c_str());
            }
        }
        flushStandardOutput();
    }
    progress.clear();
    const std::size_t failed = counts[static_cast<int>(Outcome::failed)];
    const std::size_t skipped = counts[static_cast<int>(Outcome::skipped)];
    std::printf("%zu migrated, %zu already current, %zu failed",
                counts[static_cast<int>(Outcome::migrated)],
                counts[static_cast<int>(Outcome::current)], failed);
    if (skipped != 0) {
        std::printf(", %zu skipped as changed during the run", skipped);
    }
    std::printf("\n");
    flushStandardOutput();
    if (failed != 0) {
        return kFailed;
    }
    return skipped == 0 ? kDone : kSkipped;
}

namespace {

struct MigrateValues {
    std::vector<std::string> files;
    MigrateOptions options;
    bool inPlace = false;
    std::string fault;
};

// What the parse cannot check: where the outputs go, and the fault that a
// test asked for, which is put in the way of every write from here on.
void checkMigrateValues(const MigrateValues& values) {
    if (!values.options.outDir && !values.inPlace) {
        throw CLI::ValidationError("migrate", "one of --out-dir DIR or --in-place is required");
    }
    if (!values.fault.empty()) {
        const std::optional<WriteFault> fault = parseWriteFault(values.fault);
        if (!fault) {
            throw CLI::ValidationError("--inject-write-fault",
                                       "expects kill:N, nospace:N or stop:N");
        }
        setWriteFault(*fault);
    }
}

}  // namespace

Command addMigrateCommand(CLI::App& app) {
    auto values = std::make_shared<MigrateValues>();
    values->options.jobs = std::max(1u, std::thread::hardware_concurrency());
    CLI::App* migrate = app.add_subcommand(
        "migrate", "Load sensor files of any accepted version and store them as the newest");
    migrate->add_option("FILE", values->files, "Sensor files to migrate")->required();
    CLI::Option* outDir = migrate->add_option("--out-dir", values->options.outDir,
                                              "Write the migrated files into this folder");
    CLI::Option* inPlace = migrate->add_flag(
        "--in-place", values->inPlace,
        "Replace each file by its migrated form, keeping its permissions, owner, group and "
        "extended attributes; a symbolic link is followed to its target");
    outDir->excludes(inPlace);
    migrate
        ->add_option("-j,--jobs", values->options.jobs, "Files worked on at once (default: cores)")
        ->check(CLI::Range(1u, 1024u));
    migrate->add_flag("--break-hardlinks", values->options.breakHardLinks,
                      "Replace a file that has several hard links anyway (its other names keep "
                      "the old content); by default such a file is left alone");
    // For tests only: makes every write fail after a number of bytes, by a
    // crash ("kill:N") or a full disk ("nospace:N"), or stops the process
    // there ("stop:N") so that a test can signal it.
    migrate->add_option("--inject-write-fault", values->fault)->group("");
    migrate->footer(helpFooter({"fluxgrid migrate --out-dir new old/*.sensor"},
                               "  3  nothing failed, but files that another program changed "
                               "during the run were skipped (each is named on standard error)\n"));
    // Runs once the whole command line is parsed and checked by CLI11, so
    // that its refusals come after CLI11's own.
    migrate->final_callback([values] { checkMigrateValues(*values); });
    return {migrate, [values] { return runMigrate(values->files, values->options); }, {}};
}

}  // namespace fluxgrid::tool
