// Where the fluxgrid tool's outputs land: standard output for "-", devices
// and FIFOs written into and never replaced, symbolic links written through
// and kept, regular files replaced atomically with their owner, group,
// permissions and extended attributes; hard links left alone unless asked;
// file names of any legal length; temporaries removed on SIGINT and SIGTERM
// and, after a crash, by the next run; parallel migrations that report each
// failure and go on.
#include <fluxgrid/io/Files.h>

#include "support/ProgramRun.h"
#include "support/ScratchDir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using fluxgrid::test::linesOf;
using fluxgrid::test::ScratchDir;
using fluxgrid::test::StartedChild;
using ToolRun = fluxgrid::test::ProgramRun;

const std::string kTool = FLUXGRID_TOOL_PATH;
const fs::path kData = FLUXGRID_SAMPLE_DATA;
const std::string kOldSensor = "sensor-squid-20140513.sensor";
const std::string kNewestVersionLine = "(version 20140513 -> 20200210)";
constexpr int kNewestSensorVersion = 20200210;

std::vector<BYTE> bytesOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<BYTE>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string textOf(const fs::path& path) {
    const std::vector<BYTE> bytes = bytesOf(path);
    return std::string(bytes.begin(), bytes.end());
}

ToolRun tool(const std::vector<std::string>& args) {
    return fluxgrid::test::runProgram(kTool, args);
}

std::set<std::string> namesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

struct stat statusOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

// The version in a file's frame, as the library reads it.
int versionOf(const fs::path& path) {
    const auto header = fluxgrid::readHeader(path);
    return header ? header->version : 0;
}

std::string oldSensorIn(const ScratchDir& dir, const std::string& name) {
    return dir.write(name, bytesOf(kData / kOldSensor));
}

// Reads what is written into a FIFO, in the background, from before the
// tool starts until after it ends. It holds the FIFO open for reading and
// writing, so that neither the tool's open nor its own ever waits, and a
// tool that never opens the FIFO leaves it with nothing read, not stuck.
class FifoReader {
  public:
    explicit FifoReader(const fs::path& path)
        : m_fd(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC)),
          m_thread([this] { readUntilStopped(); }) {}
    ~FifoReader() { finish(); }

    /// All that was written, once the writer is done.
    std::string finish() {
        m_stop = true;
        if (m_thread.joinable()) {
            m_thread.join();
        }
        if (m_fd >= 0) {
            ::close(m_fd);
            m_fd = -1;
        }
        return m_text;
    }

    bool opened() const { return m_fd >= 0; }

  private:
    void readUntilStopped() {
        char buffer[4096];
        for (;;) {
            const bool last = m_stop;
            pollfd ready{m_fd, POLLIN, 0};
            ::poll(&ready, 1, 20);
            ssize_t n = 0;
            while ((n = ::read(m_fd, buffer, sizeof buffer)) > 0) {
                m_text.append(buffer, static_cast<std::size_t>(n));
            }
            if (last || m_fd < 0) {
                return;
            }
        }
    }

    int m_fd;
    std::atomic<bool> m_stop{false};
    std::string m_text;
    std::thread m_thread;
};

// ---------------------------------------------------------------------------
// Outputs of `layout export` and `layout plot`

TEST(ToolOutputs, DashWritesToStandardOutput) {
    const ToolRun run = tool({"layout", "export", "megLayout21", "--format", "csv", "-o", "-"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out.rfind("name,x,y,z", 0), 0u) << run.out.substr(0, 40);
    EXPECT_EQ(linesOf(run.out).size(), 1u + 21u);
}

TEST(ToolOutputs, PlotIntoAFullDeviceFailsAndTheDeviceStays) {
    const ScratchDir dir;
    const fs::path node = dir.path() / "full";
    ASSERT_EQ(::mknod(node.c_str(), S_IFCHR | 0666, ::makedev(1, 7)), 0) << "mknod needs root";
    const ToolRun run = tool({"layout", "plot", "megLayout32", "-o", node.string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "fluxgrid: " + node.string() + ": cannot write: No space left on device\n");
    const struct stat status = statusOf(node);
    EXPECT_TRUE(S_ISCHR(status.st_mode));
    EXPECT_EQ(status.st_rdev, ::makedev(1, 7));
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"full"});
}

TEST(ToolOutputs, ExportIntoANullDeviceSucceedsAndTheDeviceStays) {
    const ScratchDir dir;
    const fs::path node = dir.path() / "null";
    ASSERT_EQ(::mknod(node.c_str(), S_IFCHR | 0666, ::makedev(1, 3)), 0) << "mknod needs root";
    const ToolRun run =
        tool({"layout", "export", "megLayout21", "--format", "sfp", "-o", node.string()});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(S_ISCHR(statusOf(node).st_mode));
    EXPECT_EQ(statusOf(node).st_rdev, ::makedev(1, 3));
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"null"});
}

TEST(ToolOutputs, ExportIntoAFifoWritesTheWholeTextAndTheFifoStays) {
    const ScratchDir dir;
    const fs::path fifo = dir.path() / "pipe";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    FifoReader reader(fifo);
    ASSERT_TRUE(reader.opened());
    const ToolRun run =
        tool({"layout", "export", "megLayout21", "--format", "csv", "-o", fifo.string()});
    EXPECT_EQ(run.status, 0) << run.err;
    const ToolRun direct = tool({"layout", "export", "megLayout21", "--format", "csv"});
    EXPECT_EQ(reader.finish(), direct.out);
    EXPECT_TRUE(S_ISFIFO(statusOf(fifo).st_mode));
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"pipe"});
}

TEST(ToolOutputs, PlotIntoAFifoWritesTheSvgAndTheFifoStays) {
    const ScratchDir dir;
    const fs::path fifo = dir.path() / "plot.svg";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    FifoReader reader(fifo);
    ASSERT_TRUE(reader.opened());
    const ToolRun run = tool({"layout", "plot", "megLayout32", "-o", fifo.string()});
    EXPECT_EQ(run.status, 0) << run.err;
    const std::string svg = reader.finish();
    EXPECT_NE(svg.find("<svg"), std::string::npos);
    EXPECT_NE(svg.find("</svg>"), std::string::npos);
    EXPECT_TRUE(S_ISFIFO(statusOf(fifo).st_mode));
}

TEST(ToolOutputs, ExportThroughASymlinkWritesItsTargetAndKeepsTheLink) {
    const ScratchDir dir;
    fs::create_directory(dir.path() / "real");
    dir.write("real/layout.csv", {'o', 'l', 'd'});
    fs::create_symlink("real/layout.csv", dir.path() / "link.csv");
    const ToolRun run = tool({"layout", "export", "megLayout21", "--format", "csv", "-o",
                              (dir.path() / "link.csv").string()});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(fs::is_symlink(dir.path() / "link.csv"));
    EXPECT_EQ(fs::read_symlink(dir.path() / "link.csv"), fs::path("real/layout.csv"));
    const ToolRun direct = tool({"layout", "export", "megLayout21", "--format", "csv"});
    EXPECT_EQ(textOf(dir.path() / "real" / "layout.csv"), direct.out);
    EXPECT_EQ(namesIn(dir.path() / "real"), std::set<std::string>{"layout.csv"});
}

TEST(ToolOutputs, ExportOverARegularFileReplacesItWhole) {
    const ScratchDir dir;
    const std::string path = dir.write("layout.elc", std::vector<BYTE>(5000, 'x'));
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    const ino_t before = statusOf(path).st_ino;
    const ToolRun run = tool({"layout", "export", "megLayout21", "--format", "elc", "-o", path});
    ASSERT_EQ(run.status, 0) << run.err;
    const ToolRun direct = tool({"layout", "export", "megLayout21", "--format", "elc"});
    EXPECT_EQ(textOf(path), direct.out);
    // A new file took the old one's name: a reader of the old one never saw
    // a mixture.
    EXPECT_NE(statusOf(path).st_ino, before);
    EXPECT_EQ(statusOf(path).st_mode & 07777, 0640u);
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"layout.elc"});
}

TEST(ToolOutputs, DemoWritesThroughASymlinkAmongItsOutputs) {
    const ScratchDir dir;
    const fs::path demo = dir.path() / "demo";
    fs::create_directories(demo / "layouts");
    dir.write("kept.svg", {'o', 'l', 'd'});
    fs::create_symlink(dir.path() / "kept.svg", demo / "layouts" / "megLayout32.svg");
    const ToolRun run = tool({"demo", demo.string()});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(fs::is_symlink(demo / "layouts" / "megLayout32.svg"));
    EXPECT_NE(textOf(dir.path() / "kept.svg").find("</svg>"), std::string::npos);
}

// ---------------------------------------------------------------------------
// migrate: what stands at the target

TEST(ToolMigrateOutputs, OutputFolderEntryThatIsASymlinkIsWrittenThrough) {
    const ScratchDir dir;
    const std::string input = oldSensorIn(dir, "channel.sensor");
    fs::create_directories(dir.path() / "out");
    fs::create_directories(dir.path() / "store");
    fs::create_symlink("../store/channel.sensor", dir.path() / "out" / "channel.sensor");
    const ToolRun run = tool({"migrate", "--out-dir", (dir.path() / "out").string(), input});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(fs::is_symlink(dir.path() / "out" / "channel.sensor"));
    EXPECT_EQ(versionOf(dir.path() / "store" / "channel.sensor"), kNewestSensorVersion);
}

TEST(ToolMigrateOutputs, InPlaceThroughASymlinkMigratesTheTargetAndKeepsTheLink) {
    const ScratchDir dir;
    fs::create_directory(dir.path() / "real");
    const std::string target = oldSensorIn(dir, "real/channel.sensor");
    const fs::path link = dir.path() / "channel.sensor";
    fs::create_symlink("real/channel.sensor", link);
    const ToolRun run = tool({"migrate", "--in-place", link.string()});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::read_symlink(link), fs::path("real/channel.sensor"));
    EXPECT_EQ(versionOf(target), kNewestSensorVersion);
    EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"channel.sensor", "real"}));
    EXPECT_EQ(namesIn(dir.path() / "real"), std::set<std::string>{"channel.sensor"});
}

TEST(ToolMigrateOutputs, InPlaceKeepsModeOwnerAndGroup) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root may give a file to another owner";
    }
    const ScratchDir dir;
    const std::string path = oldSensorIn(dir, "channel.sensor");
    ASSERT_EQ(::chown(path.c_str(), 1234, 5678), 0);
    ASSERT_EQ(::chmod(path.c_str(), 04750), 0);
    const ToolRun run = tool({"migrate", "--in-place", path});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(versionOf(path), kNewestSensorVersion);
    const struct stat status = statusOf(path);
    EXPECT_EQ(status.st_uid, 1234u);
    EXPECT_EQ(status.st_gid, 5678u);
    EXPECT_EQ(status.st_mode & 07777, 04750u);
}

TEST(ToolMigrateOutputs, InPlaceKeepsExtendedAttributes) {
    const ScratchDir dir;
    const std::string path = oldSensorIn(dir, "channel.sensor");
    const std::string value = "subject 17, session 2";
    if (::setxattr(path.c_str(), "user.fluxgrid.origin", value.data(), value.size(), 0) != 0) {
        GTEST_SKIP() << "the scratch file system holds no user extended attributes: "
                     << std::strerror(errno);
    }
    const ToolRun run = tool({"migrate", "--in-place", path});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(versionOf(path), kNewestSensorVersion);
    std::string read(64, '\0');
    const ssize_t size = ::getxattr(path.c_str(), "user.fluxgrid.origin", read.data(), read.size());
    ASSERT_GE(size, 0) << std::strerror(errno);
    read.resize(static_cast<std::size_t>(size));
    EXPECT_EQ(read, value);
}

TEST(ToolMigrateOutputs, FileWithSeveralHardLinksIsLeftAloneWithTheReason) {
    const ScratchDir dir;
    const std::string path = oldSensorIn(dir, "channel.sensor");
    const fs::path other = dir.path() / "other-name.sensor";
    fs::create_hard_link(path, other);
    const std::string single = oldSensorIn(dir, "single.sensor");
    const ToolRun run = tool({"migrate", "--in-place", path, single});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "fluxgrid: " + path +
                           ": has 2 hard links; replacing it would split them; left untouched\n");
    EXPECT_EQ(linesOf(run.out).back(), "1 migrated, 0 already current, 1 failed");
    EXPECT_EQ(bytesOf(path), bytesOf(kData / kOldSensor));
    EXPECT_EQ(statusOf(path).st_ino, statusOf(other).st_ino);
    EXPECT_EQ(versionOf(single), kNewestSensorVersion);
}

TEST(ToolMigrateOutputs, BreakHardLinksMigratesTheNameGivenAndLeavesTheOtherOld) {
    const ScratchDir dir;
    const std::string path = oldSensorIn(dir, "channel.sensor");
    const fs::path other = dir.path() / "other-name.sensor";
    fs::create_hard_link(path, other);
    const ToolRun run = tool({"migrate", "--in-place", "--break-hardlinks", path});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(versionOf(path), kNewestSensorVersion);
    EXPECT_EQ(bytesOf(other), bytesOf(kData / kOldSensor));
    EXPECT_EQ(statusOf(path).st_nlink, 1u);
    EXPECT_EQ(statusOf(other).st_nlink, 1u);
}

// ---------------------------------------------------------------------------
// migrate: temporary files

TEST(ToolMigrateOutputs, FileNamesUpToTheLongestLegalOneMigrate) {
    const ScratchDir dir;
    std::vector<std::string> args = {"migrate", "--in-place"};
    for (const std::size_t length : {239u, 250u, 255u}) {
        const std::string name = std::string(length - 7, 'n') + ".sensor";
        args.push_back(oldSensorIn(dir, name));
    }
    const ToolRun run = tool(args);
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(linesOf(run.out).back(), "3 migrated, 0 already current, 0 failed");
    for (std::size_t i = 2; i < args.size(); ++i) {
        EXPECT_EQ(versionOf(args[i]), kNewestSensorVersion) << fs::path(args[i]).filename();
    }
    EXPECT_EQ(namesIn(dir.path()).size(), 3u);
}

TEST(ToolMigrateOutputs, LongFileNameMigratesIntoAnOutputFolder) {
    const ScratchDir dir;
    const std::string name = std::string(243, 'o') + ".sensor";
    ASSERT_EQ(name.size(), 250u);
    const std::string input = oldSensorIn(dir, name);
    const fs::path out = dir.path() / "out";
    const ToolRun run = tool({"migrate", "--out-dir", out.string(), input});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(versionOf(out / name), kNewestSensorVersion);
    EXPECT_EQ(namesIn(out), std::set<std::string>{name});
}

// What a killed run leaves: one hidden temporary of a fixed short form.
std::string leftTemporary(const fs::path& folder, const std::string& keep) {
    std::set<std::string> names = namesIn(folder);
    names.erase(keep);
    EXPECT_EQ(names.size(), 1u);
    return names.empty() ? std::string() : *names.begin();
}

TEST(ToolMigrateOutputs, NextRunRemovesTheTemporaryThatAKilledRunLeft) {
    const ScratchDir dir;
    const std::string path = oldSensorIn(dir, "channel.sensor");
    const ToolRun killed =
        tool({"migrate", "--in-place", "--inject-write-fault", "kill:5000", path});
    ASSERT_EQ(killed.signal, SIGKILL);
    const std::string temporary = leftTemporary(dir.path(), "channel.sensor");
    EXPECT_EQ(temporary.rfind(".fluxgrid-", 0), 0u) << temporary;
    EXPECT_EQ(temporary.substr(temporary.size() - 4), ".tmp") << temporary;
    EXPECT_EQ(fs::file_size(dir.path() / temporary), 5000u);
    EXPECT_EQ(bytesOf(path), bytesOf(kData / kOldSensor));

    const ToolRun again = tool({"migrate", "--in-place", path});
    ASSERT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(versionOf(path), kNewestSensorVersion);
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"channel.sensor"});
}

TEST(ToolMigrateOutputs, NextRunIntoAnOutputFolderRemovesTheKilledRunsTemporary) {
    const ScratchDir dir;
    const std::string input = oldSensorIn(dir, "channel.sensor");
    const fs::path out = dir.path() / "out";
    const ToolRun killed =
        tool({"migrate", "--out-dir", out.string(), "--inject-write-fault", "kill:100", input});
    ASSERT_EQ(killed.signal, SIGKILL);
    ASSERT_EQ(namesIn(out).size(), 1u);
    const ToolRun again = tool({"migrate", "--out-dir", out.string(), input});
    ASSERT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(namesIn(out), std::set<std::string>{"channel.sensor"});
}

// A `migrate --in-place` of one old sensor file that stops itself in the
// middle of writing its temporary.
struct PausedInPlaceMigrate {
    ScratchDir dir;
    ScratchDir capture;
    std::string path = oldSensorIn(dir, "channel.sensor");
    StartedChild started{kTool,
                         {"migrate", "--in-place", "--inject-write-fault", "stop:3000", path},
                         capture.path() / "out",
                         capture.path() / "err"};
};

class ToolMigrateSignals : public testing::TestWithParam<int> {};

// The run stops itself in the middle of writing its temporary, receives
// the signal and is let go on: it must end by that signal, with the
// temporary gone and the file as it was.
TEST_P(ToolMigrateSignals, SignalInTheMiddleOfAWriteRemovesTheTemporary) {
    const PausedInPlaceMigrate migrate;
    const auto& [dir, capture, path, started] = migrate;
    ASSERT_TRUE(started.waitUntilStopped());
    const std::string temporary = leftTemporary(dir.path(), "channel.sensor");
    EXPECT_EQ(temporary.rfind(".fluxgrid-" + std::to_string(started.pid()) + "-", 0), 0u)
        << temporary;
    ASSERT_EQ(::kill(started.pid(), GetParam()), 0);
    ASSERT_EQ(::kill(started.pid(), SIGCONT), 0);
    const ToolRun run = started.finish();
    EXPECT_EQ(run.signal, GetParam()) << run.err;
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"channel.sensor"});
    EXPECT_EQ(bytesOf(path), bytesOf(kData / kOldSensor));
}

INSTANTIATE_TEST_SUITE_P(InterruptAndTerminate, ToolMigrateSignals,
                         testing::Values(SIGINT, SIGTERM),
                         [](const testing::TestParamInfo<int>& info) {
                             return std::string(info.param == SIGINT ? "SIGINT" : "SIGTERM");
                         });

// ---------------------------------------------------------------------------
// migrate: other programs at work in the same folder

// The run stops itself while it writes the temporary of a file it has
// read; another program then writes a file of another version there. The
// run must not put the migration of the old content over it.
TEST(ToolMigrateOutputs, FileChangedBetweenItsReadAndItsRenameIsSkippedAndSaidSo) {
    const PausedInPlaceMigrate migrate;
    const auto& [dir, capture, path, started] = migrate;
    ASSERT_TRUE(started.waitUntilStopped());
    const std::vector<BYTE> theirs = bytesOf(kData / "sensor-squid-20091117.sensor");
    dir.write("channel.sensor", theirs);
    ASSERT_EQ(::kill(started.pid(), SIGCONT), 0);
    const ToolRun run = started.finish();
    EXPECT_EQ(run.status, 3) << run.err;
    EXPECT_EQ(run.err, "fluxgrid: " + path +
                           ": changed by another program since it was read; skipped, left as "
                           "that program made it\n");
    EXPECT_EQ(run.out,
              "0 migrated, 0 already current, 0 failed, 1 skipped as changed during "
              "the run\n");
    EXPECT_EQ(bytesOf(path), theirs);
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"channel.sensor"});
}

// Another program moves the first file of the run over one that a later
// batch migrates, while the run writes the first. The later one is another
// input all the same, not a second way to the first one's target, and is
// migrated; the first, gone from its name, is skipped.
TEST(ToolMigrateOutputs, FileMovedOverALaterInputDuringTheRunIsNoSharedTarget) {
    const ScratchDir dir;
    const ScratchDir capture;
    // One batch is 256 files: the first old, the rest already current and
    // left alone, then an old one in the second batch.
    std::vector<std::string> args = {"migrate", "--in-place",           "-j",
                                     "1",       "--inject-write-fault", "stop:3000"};
    const std::string first = oldSensorIn(dir, "channel-000.sensor");
    args.push_back(first);
    const std::vector<BYTE> current = bytesOf(kData / "sensor-squid-20200210.sensor");
    for (int i = 1; i < 256; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "channel-%03d.sensor", i);
        args.push_back(dir.write(name, current));
    }
    const std::string later = oldSensorIn(dir, "channel-256.sensor");
    args.push_back(later);
    const StartedChild started(kTool, args, capture.path() / "out", capture.path() / "err");
    ASSERT_TRUE(started.waitUntilStopped());
    fs::rename(first, later);
    ASSERT_EQ(::kill(started.pid(), SIGCONT), 0);
    // The later file's own write stops the run once more.
    ASSERT_TRUE(started.waitUntilStopped());
    ASSERT_EQ(::kill(started.pid(), SIGCONT), 0);
    const ToolRun run = started.finish();
    EXPECT_EQ(run.status, 3) << run.err;
    EXPECT_EQ(run.err, "fluxgrid: " + first +
                           ": changed by another program since it was read; skipped, left as "
                           "that program made it\n");
    const std::vector<std::string> lines = linesOf(run.out);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(),
              "1 migrated, 255 already current, 0 failed, 1 skipped as changed during the run");
    EXPECT_FALSE(fs::exists(first));
    EXPECT_EQ(versionOf(later), kNewestSensorVersion);
}

// ---------------------------------------------------------------------------
// migrate: many files at once

TEST(ToolMigrateOutputs, ParallelRunMigratesEveryFileAndReportsEachFailureInOrder) {
    const ScratchDir dir;
    constexpr int kFiles = 300;
    std::vector<std::string> args = {"migrate", "-j", "4", "--in-place"};
    std::vector<std::string> expected;
    std::vector<BYTE> cut = bytesOf(kData / kOldSensor);
    cut.resize(1000);
    for (int i = 0; i < kFiles; ++i) {
        const std::string name = "channel-" + std::to_string(i) + ".sensor";
        // Every 50th file is cut short and must fail on its own line.
        if (i % 50 == 7) {
            args.push_back(dir.write(name, cut));
            continue;
        }
        args.push_back(oldSensorIn(dir, name));
        expected.push_back("migrated  " + args.back() + " " + kNewestVersionLine + " -> " +
                           args.back());
    }
    const ToolRun run = tool(args);
    EXPECT_EQ(run.status, 1);
    std::vector<std::string> lines = linesOf(run.out);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "294 migrated, 0 already current, 6 failed");
    lines.pop_back();
    EXPECT_EQ(lines, expected);
    const std::vector<std::string> errors = linesOf(run.err);
    ASSERT_EQ(errors.size(), 6u);
    for (std::size_t k = 0; k < errors.size(); ++k) {
        const std::string name = "channel-" + std::to_string(50 * k + 7) + ".sensor";
        EXPECT_EQ(errors[k].rfind("fluxgrid: " + dir.file(name) + ": truncated: ", 0), 0u)
            << errors[k];
    }
    for (std::size_t i = 4; i < args.size(); ++i) {
        if ((i - 4) % 50 == 7) {
            EXPECT_EQ(bytesOf(args[i]), cut) << args[i];
        } else {
            EXPECT_EQ(versionOf(args[i]), kNewestSensorVersion) << args[i];
        }
    }
    EXPECT_EQ(namesIn(dir.path()).size(), static_cast<std::size_t>(kFiles));
}

TEST(ToolMigrateOutputs, FullDiskOnEveryFileOfABatchFailsEachAndLeavesNoTemporary) {
    const ScratchDir dir;
    std::vector<std::string> args = {"migrate",     "-j", "2", "--in-place", "--inject-write-fault",
                                     "nospace:1000"};
    for (int i = 0; i < 5; ++i) {
        args.push_back(oldSensorIn(dir, "channel-" + std::to_string(i) + ".sensor"));
    }
    const ToolRun run = tool(args);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(linesOf(run.out).back(), "0 migrated, 0 already current, 5 failed");
    EXPECT_EQ(linesOf(run.err).size(), 5u);
    for (std::size_t i = 6; i < args.size(); ++i) {
        EXPECT_EQ(bytesOf(args[i]), bytesOf(kData / kOldSensor));
    }
    EXPECT_EQ(namesIn(dir.path()).size(), 5u);
}

TEST(ToolMigrateOutputs, JobsMustBeAPositiveCount) {
    const ScratchDir dir;
    const std::string path = oldSensorIn(dir, "channel.sensor");
    EXPECT_EQ(tool({"migrate", "-j", "0", "--in-place", path}).status, 2);
    EXPECT_EQ(tool({"migrate", "-j", "many", "--in-place", path}).status, 2);
    EXPECT_EQ(bytesOf(path), bytesOf(kData / kOldSensor));
}

}  // namespace
