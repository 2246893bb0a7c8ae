// Atomic writes against what stands at the name: devices and FIFOs written
// into, owner, group and extended attributes kept, hard links left alone
// unless asked, names of the longest legal length; temporaries: their form,
// the removal of stale ones and of those in flight when a signal comes;
// batches that share their flush.
#include <fluxgrid/io/Files.h>

#include "io/WriteFault.h"

#include "FileTestSupport.h"
#include "support/ScratchDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using fluxgrid::AtomicWriteBatch;
using fluxgrid::FileError;
using fluxgrid::FileFailure;
using fluxgrid::WriteFault;
using fluxgrid::WriteOptions;
using fluxgrid::test::failureOf;
using fluxgrid::test::ScratchDir;

std::set<std::string> namesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

std::vector<BYTE> someBytes(std::size_t count, BYTE seed = 3) {
    std::vector<BYTE> bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<BYTE>(i * 7 + seed);
    }
    return bytes;
}

struct stat statusOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

// The id of a process that has ended and been reaped.
pid_t endedProcess() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return child;
}

std::string temporaryName(pid_t pid, const std::string& letters = "aB3dE9") {
    return ".fluxgrid-" + std::to_string(pid) + "-" + letters + ".tmp";
}

// ---------------------------------------------------------------------------
// What stands at the name

TEST(AtomicWriteTargets, FullDeviceFailsAndStaysADevice) {
    const ScratchDir dir;
    const fs::path node = dir.path() / "full";
    ASSERT_EQ(::mknod(node.c_str(), S_IFCHR | 0666, ::makedev(1, 7)), 0) << "mknod needs root";
    const FileError error = failureOf(fluxgrid::writeFileAtomically(node, someBytes(100)));
    EXPECT_EQ(error.failure, FileFailure::writeError);
    EXPECT_EQ(error.message, "cannot write: No space left on device");
    EXPECT_EQ(error.systemError, ENOSPC);
    EXPECT_TRUE(S_ISCHR(statusOf(node).st_mode));
    EXPECT_EQ(statusOf(node).st_rdev, ::makedev(1, 7));
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"full"});
}

TEST(AtomicWriteTargets, NullDeviceTakesTheBytesAndStaysADevice) {
    const ScratchDir dir;
    const fs::path node = dir.path() / "null";
    ASSERT_EQ(::mknod(node.c_str(), S_IFCHR | 0666, ::makedev(1, 3)), 0) << "mknod needs root";
    const auto written = fluxgrid::writeFileAtomically(node, someBytes(100));
    ASSERT_TRUE(written.ok()) << written.error().describe();
    EXPECT_EQ(*written, 100u);
    EXPECT_TRUE(S_ISCHR(statusOf(node).st_mode));
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"null"});
}

TEST(AtomicWriteTargets, FifoGetsTheBytesAndStaysAFifo) {
    const ScratchDir dir;
    const fs::path fifo = dir.path() / "pipe";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    // Open for reading and writing, so that the write's open never waits,
    // and large enough a pipe for the bytes.
    const int reader = ::open(fifo.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    const auto written = fluxgrid::writeFileAtomically(fifo, someBytes(3000));
    ASSERT_TRUE(written.ok()) << written.error().describe();
    std::vector<BYTE> received(4000);
    const ssize_t n = ::read(reader, received.data(), received.size());
    ::close(reader);
    ASSERT_EQ(n, 3000);
    received.resize(3000);
    EXPECT_EQ(received, someBytes(3000));
    EXPECT_TRUE(S_ISFIFO(statusOf(fifo).st_mode));
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"pipe"});
}

TEST(AtomicWriteTargets, OwnerGroupSetUserIdAndExtendedAttributesAreKept) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root may give a file to another owner";
    }
    const ScratchDir dir;
    const std::string path = dir.write("owned.bin", someBytes(5));
    ASSERT_EQ(::chown(path.c_str(), 4321, 8765), 0);
    ASSERT_EQ(::chmod(path.c_str(), 04710), 0);
    const std::string value = "kept";
    const bool attributes =
        ::setxattr(path.c_str(), "user.fluxgrid.note", value.data(), value.size(), 0) == 0;
    const auto written = fluxgrid::writeFileAtomically(path, someBytes(700));
    ASSERT_TRUE(written.ok()) << written.error().describe();
    EXPECT_EQ(dir.read("owned.bin"), someBytes(700));
    const struct stat status = statusOf(path);
    EXPECT_EQ(status.st_uid, 4321u);
    EXPECT_EQ(status.st_gid, 8765u);
    EXPECT_EQ(status.st_mode & 07777, 04710u);
    if (!attributes) {
        GTEST_SKIP() << "the scratch file system holds no user extended attributes";
    }
    std::string read(16, '\0');
    const ssize_t size = ::getxattr(path.c_str(), "user.fluxgrid.note", read.data(), read.size());
    ASSERT_EQ(size, 4) << std::strerror(errno);
    read.resize(4);
    EXPECT_EQ(read, value);
}

TEST(AtomicWriteTargets, FileWithSeveralHardLinksIsLeftAlone) {
    const ScratchDir dir;
    const std::string path = dir.write("one.bin", someBytes(5));
    fs::create_hard_link(path, dir.path() / "two.bin");
    const FileError error = failureOf(fluxgrid::writeFileAtomically(path, someBytes(50)));
    EXPECT_EQ(error.failure, FileFailure::writeError);
    EXPECT_EQ(error.file, path);
    EXPECT_EQ(error.message, "has 2 hard links; replacing it would split them");
    EXPECT_EQ(dir.read("one.bin"), someBytes(5));
    EXPECT_EQ(statusOf(path).st_nlink, 2u);
    EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"one.bin", "two.bin"}));
}

TEST(AtomicWriteTargets, BreakingHardLinksGivesTheNewContentToThatNameAlone) {
    const ScratchDir dir;
    const std::string path = dir.write("one.bin", someBytes(5));
    fs::create_hard_link(path, dir.path() / "two.bin");
    const auto written =
        fluxgrid::writeFileAtomically(path, someBytes(50), WriteOptions{.breakHardLinks = true});
    ASSERT_TRUE(written.ok()) << written.error().describe();
    EXPECT_EQ(dir.read("one.bin"), someBytes(50));
    EXPECT_EQ(dir.read("two.bin"), someBytes(5));
    EXPECT_EQ(statusOf(path).st_nlink, 1u);
}

TEST(AtomicWriteTargets, NameOfTheLongestLegalLengthIsReplaced) {
    const ScratchDir dir;
    const std::string name(255, 'L');
    const std::string path = dir.write(name, someBytes(5));
    const auto written = fluxgrid::writeFileAtomically(path, someBytes(80));
    ASSERT_TRUE(written.ok()) << written.error().describe();
    EXPECT_EQ(dir.read(name), someBytes(80));
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{name});
}

// ---------------------------------------------------------------------------
// Stale temporaries

TEST(StaleTemporaries, OnlyThoseOfEndedOrLongIdleWritersAreRemoved) {
    const ScratchDir dir;
    const pid_t ended = endedProcess();
    const std::string ofEnded = temporaryName(ended);
    const std::string ofThisProcess = temporaryName(::getpid());
    const std::string ofInit = temporaryName(1);
    const std::string idleForTwoDays = temporaryName(::getpid(), "Old123");
    for (const std::string& name : {ofEnded, ofThisProcess, ofInit, idleForTwoDays}) {
        dir.write(name, someBytes(10));
    }
    const std::time_t twoDaysAgo = std::time(nullptr) - 2 * 24 * 60 * 60;
    const timespec times[2] = {{twoDaysAgo, 0}, {twoDaysAgo, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, dir.file(idleForTwoDays).c_str(), times, 0), 0);
    // Names of other forms, and a folder of the temporaries' form.
    const std::vector<std::string> others = {".fluxgrid-" + std::to_string(ended) + "-abc.tmp",
                                             ".fluxgrid-" + std::to_string(ended) + "-abcdef.temp",
                                             "fluxgrid-" + std::to_string(ended) + "-abcdef.tmp",
                                             ".fluxgrid-x" + std::to_string(ended) + "-abcdef.tmp",
                                             ".fluxgrid-" + std::to_string(ended) + "-ab_def.tmp",
                                             ".data.bin.fluxgrid-Ab12Cd",
                                             "data.bin"};
    for (const std::string& name : others) {
        dir.write(name, someBytes(10));
    }
    fs::create_directory(dir.path() / temporaryName(ended, "Folder"));

    const std::vector<std::string> removed = fluxgrid::removeStaleTemporaries(dir.path());
    EXPECT_EQ(std::set<std::string>(removed.begin(), removed.end()),
              (std::set<std::string>{ofEnded, idleForTwoDays}));
    std::set<std::string> left(others.begin(), others.end());
    left.insert({ofThisProcess, ofInit, temporaryName(ended, "Folder")});
    EXPECT_EQ(namesIn(dir.path()), left);
}

TEST(StaleTemporaries, FirstWriteIntoAFolderRemovesThem) {
    const ScratchDir dir;
    const std::string stale = temporaryName(endedProcess());
    dir.write(stale, someBytes(10));
    ASSERT_TRUE(fluxgrid::writeFileAtomically(dir.path() / "new.bin", someBytes(20)).ok());
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"new.bin"});
}

// ---------------------------------------------------------------------------
// Temporaries in flight when a signal comes

class TemporariesOnSignals : public testing::TestWithParam<int> {};

// The child stops itself in the middle of writing its temporary; the
// signal then comes, and the child is let go on.
TEST_P(TemporariesOnSignals, SignalRemovesTheTemporaryAndEndsTheProcessByIt) {
    const ScratchDir dir;
    const std::string path = dir.write("target.bin", someBytes(5));
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        fluxgrid::removeTemporariesOnSignals();
        fluxgrid::setWriteFault({WriteFault::Kind::stop, 100});
        (void)fluxgrid::writeFileAtomically(path, someBytes(1000));
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, WUNTRACED), child);
    ASSERT_TRUE(WIFSTOPPED(status));
    const std::set<std::string> during = namesIn(dir.path());
    ASSERT_EQ(during.size(), 2u);
    const std::string temporary =
        *during.begin() == "target.bin" ? *during.rbegin() : *during.begin();
    EXPECT_EQ(temporary.rfind(".fluxgrid-" + std::to_string(child) + "-", 0), 0u) << temporary;
    EXPECT_EQ(temporary.size(), temporaryName(child).size()) << temporary;
    EXPECT_EQ(dir.read(temporary).size(), 100u);

    ASSERT_EQ(::kill(child, GetParam()), 0);
    ASSERT_EQ(::kill(child, SIGCONT), 0);
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), GetParam());
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"target.bin"});
    EXPECT_EQ(dir.read("target.bin"), someBytes(5));
}

INSTANTIATE_TEST_SUITE_P(InterruptAndTerminate, TemporariesOnSignals,
                         testing::Values(SIGINT, SIGTERM),
                         [](const testing::TestParamInfo<int>& info) {
                             return std::string(info.param == SIGINT ? "SIGINT" : "SIGTERM");
                         });

// ---------------------------------------------------------------------------
// Batches

TEST(AtomicWriteBatch, NothingShowsBeforeTheCommitAndEverythingAfter) {
    const ScratchDir dir;
    const std::string old = dir.write("old.bin", someBytes(5));
    AtomicWriteBatch batch;
    const auto first = batch.add(dir.path() / "a.bin", someBytes(100, 1));
    const auto second = batch.add(old, someBytes(200, 2));
    ASSERT_TRUE(first.ok() && second.ok());
    EXPECT_EQ(*first, 0u);
    EXPECT_EQ(*second, 1u);
    EXPECT_FALSE(fs::exists(dir.path() / "a.bin"));
    EXPECT_EQ(dir.read("old.bin"), someBytes(5));
    const auto results = batch.commit();
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[0].value(), 100u);
    EXPECT_EQ(results[1].value(), 200u);
    EXPECT_EQ(dir.read("a.bin"), someBytes(100, 1));
    EXPECT_EQ(dir.read("old.bin"), someBytes(200, 2));
    EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"a.bin", "old.bin"}));
}

TEST(AtomicWriteBatch, BatchDroppedBeforeTheCommitLeavesEveryTargetAsItWas) {
    const ScratchDir dir;
    dir.write("old.bin", someBytes(5));
    {
        AtomicWriteBatch batch;
        ASSERT_TRUE(batch.add(dir.path() / "old.bin", someBytes(64)).ok());
        ASSERT_TRUE(batch.add(dir.path() / "new.bin", someBytes(64)).ok());
    }
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"old.bin"});
    EXPECT_EQ(dir.read("old.bin"), someBytes(5));
}

// How another program may change a file between its read and the rename
// over it: each must keep the write from replacing the file.
enum class Change { rewritten, replaced, touched, removed };

void change(const ScratchDir& dir, const std::string& name, Change how) {
    const fs::path path = dir.path() / name;
    switch (how) {
        case Change::rewritten:
            dir.write(name, someBytes(7, 9));
            break;
        case Change::replaced:
            // Same bytes and size, but another file renamed over it.
            dir.write("other.bin", dir.read(name));
            fs::rename(dir.path() / "other.bin", path);
            break;
        case Change::touched: {
            // Same file, same bytes, a modification time of its own.
            const struct timespec times[2] = {{1, 0}, {123456789, 42}};
            ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
            break;
        }
        case Change::removed:
            fs::remove(path);
            break;
    }
}

std::string changeName(Change how) {
    switch (how) {
        case Change::rewritten:
            return "Rewritten";
        case Change::replaced:
            return "Replaced";
        case Change::touched:
            return "Touched";
        case Change::removed:
            break;
    }
    return "Removed";
}

class AtomicWriteBatchUnchanged : public testing::TestWithParam<Change> {};

TEST_P(AtomicWriteBatchUnchanged, FileChangedSinceItWasReadIsLeftAsTheOtherProgramMadeIt) {
    const ScratchDir dir;
    const std::string path = dir.write("read.bin", someBytes(50));
    const std::optional<fluxgrid::FileStamp> read = fluxgrid::fileStamp(path);
    ASSERT_TRUE(read.has_value());
    AtomicWriteBatch batch;
    ASSERT_TRUE(batch.add(path, someBytes(80, 1), read).ok());
    change(dir, "read.bin", GetParam());
    const std::optional<fluxgrid::FileStamp> changed = fluxgrid::fileStamp(path);
    const auto results = batch.commit();
    ASSERT_EQ(results.size(), 1u);
    ASSERT_FALSE(results[0].ok());
    EXPECT_EQ(results[0].error().failure, FileFailure::changed);
    EXPECT_EQ(results[0].error().file, path);
    EXPECT_EQ(results[0].error().message, "changed by another program since it was read");
    // Nothing of the write is left: the file is what the other program
    // made of it, and no temporary stays behind.
    EXPECT_EQ(fluxgrid::fileStamp(path), changed);
    if (GetParam() == Change::removed) {
        EXPECT_TRUE(namesIn(dir.path()).empty());
    } else {
        EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"read.bin"});
        EXPECT_NE(dir.read("read.bin"), someBytes(80, 1));
    }
}

INSTANTIATE_TEST_SUITE_P(EveryChange, AtomicWriteBatchUnchanged,
                         testing::Values(Change::rewritten, Change::replaced, Change::touched,
                                         Change::removed),
                         [](const testing::TestParamInfo<Change>& info) {
                             return changeName(info.param);
                         });

TEST(AtomicWriteBatch, FileStillAsItWasReadIsReplacedAndOthersOfTheBatchToo) {
    const ScratchDir dir;
    const std::string kept = dir.write("kept.bin", someBytes(50));
    const std::string changed = dir.write("changed.bin", someBytes(50));
    AtomicWriteBatch batch;
    ASSERT_TRUE(batch.add(kept, someBytes(80, 1), fluxgrid::fileStamp(kept)).ok());
    ASSERT_TRUE(batch.add(changed, someBytes(80, 2), fluxgrid::fileStamp(changed)).ok());
    ASSERT_TRUE(batch.add(dir.path() / "new.bin", someBytes(80, 3)).ok());
    dir.write("changed.bin", someBytes(60, 4));
    const auto results = batch.commit();
    ASSERT_EQ(results.size(), 3u);
    EXPECT_EQ(results[0].value(), 80u);
    ASSERT_FALSE(results[1].ok());
    EXPECT_EQ(results[1].error().failure, FileFailure::changed);
    EXPECT_EQ(results[2].value(), 80u);
    EXPECT_EQ(dir.read("kept.bin"), someBytes(80, 1));
    EXPECT_EQ(dir.read("changed.bin"), someBytes(60, 4));
    EXPECT_EQ(dir.read("new.bin"), someBytes(80, 3));
    EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"changed.bin", "kept.bin", "new.bin"}));
}

TEST(FileStamp, TellsDeviceInodeSizeAndModificationTimeThroughLinks) {
    const ScratchDir dir;
    const std::string path = dir.write("file.bin", someBytes(33));
    fs::create_symlink("file.bin", dir.path() / "link");
    const struct stat status = statusOf(path);
    const std::optional<fluxgrid::FileStamp> stamp = fluxgrid::fileStamp(dir.path() / "link");
    ASSERT_TRUE(stamp.has_value());
    EXPECT_EQ(stamp->device, static_cast<std::uint64_t>(status.st_dev));
    EXPECT_EQ(stamp->inode, static_cast<std::uint64_t>(status.st_ino));
    EXPECT_EQ(stamp->size, 33u);
    EXPECT_EQ(stamp->modifiedSeconds, status.st_mtim.tv_sec);
    EXPECT_EQ(stamp->modifiedNanoseconds, status.st_mtim.tv_nsec);
    EXPECT_EQ(fluxgrid::fileStamp(dir.path() / "missing"), std::nullopt);
}

TEST(AtomicWriteBatch, ManyThreadsAddAndAFailureStaysWithItsOwnFile) {
    const ScratchDir dir;
    fs::create_directory(dir.path() / "sub");
    const std::string linked = dir.write("linked.bin", someBytes(5));
    fs::create_hard_link(linked, dir.path() / "linked-too.bin");
    constexpr int kFiles = 200;
    AtomicWriteBatch batch;
    std::vector<std::thread> threads;
    std::vector<int> added(kFiles, 0);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = t; i < kFiles; i += 4) {
                const fs::path folder = i % 2 == 0 ? dir.path() : dir.path() / "sub";
                added[i] = batch
                               .add(folder / ("f" + std::to_string(i)),
                                    someBytes(static_cast<std::size_t>(i) + 1))
                               .ok();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(batch.add(linked, someBytes(9)).ok());
    const auto results = batch.commit();
    ASSERT_EQ(results.size(), static_cast<std::size_t>(kFiles));
    for (int i = 0; i < kFiles; ++i) {
        EXPECT_TRUE(added[i]) << i;
        const std::string name = (i % 2 == 0 ? "f" : "sub/f") + std::to_string(i);
        EXPECT_EQ(dir.read(name), someBytes(static_cast<std::size_t>(i) + 1)) << name;
    }
    EXPECT_EQ(dir.read("linked.bin"), someBytes(5));
    EXPECT_EQ(namesIn(dir.path() / "sub").size(), static_cast<std::size_t>(kFiles / 2));
    EXPECT_EQ(namesIn(dir.path()).size(), static_cast<std::size_t>(kFiles / 2 + 3));
}

}  // namespace
