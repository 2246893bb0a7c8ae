// Storing through the facade: each kind stored in memory and loaded again,
// the store that the library refuses, and atomic writes of files: the mode
// kept, faults that leave the old content and no temporary behind, and
// symbolic links written through.
#include <fluxgrid/io/Files.h>

#include "io/WriteFault.h"

#include "FileTestSupport.h"
#include "support/ByteBuilder.h"
#include "support/ScratchDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using fluxgrid::FileError;
using fluxgrid::FileFailure;
using fluxgrid::FileKind;
using fluxgrid::fileKindInfo;
using fluxgrid::LoadedFile;
using fluxgrid::WriteFault;
using fluxgrid::test::ByteBuilder;
using fluxgrid::test::failureOf;
using fluxgrid::test::goodSamples;
using fluxgrid::test::readSample;
using fluxgrid::test::samplePath;
using fluxgrid::test::ScratchDir;

std::vector<BYTE> storedOf(const LoadedFile& loaded) {
    return std::visit([](const auto& object) { return fluxgrid::storeBytes(*object).value(); },
                      loaded.object);
}

// The names in a folder.
std::set<std::string> namesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

mode_t modeOf(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return 0;
    }
    return status.st_mode & 07777;
}

std::vector<BYTE> someBytes(std::size_t count) {
    std::vector<BYTE> bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<BYTE>(i * 7 + 3);
    }
    return bytes;
}

/// Clears the write fault when a test ends, however it ends.
struct FaultGuard {
    ~FaultGuard() { fluxgrid::setWriteFault({}); }
};

// ---------------------------------------------------------------------------
// Stores in memory.

TEST(StoreBytes, EveryKindStoresItsNewestVersionAndLoadsAgainToTheSameBytes) {
    for (const auto& sample : goodSamples()) {
        SCOPED_TRACE(sample.name);
        const auto loaded = fluxgrid::loadFile(samplePath(sample.name));
        ASSERT_TRUE(loaded.ok()) << loaded.error().describe();
        const std::vector<BYTE> stored = storedOf(*loaded);

        const auto& info = fileKindInfo(sample.kind);
        const auto header = fluxgrid::readHeader(stored);
        ASSERT_TRUE(header.ok());
        EXPECT_EQ(header->kind, sample.kind);
        EXPECT_EQ(header->version, info.written);

        const auto again = fluxgrid::loadBytes(stored, "again");
        ASSERT_TRUE(again.ok()) << again.error().describe();
        EXPECT_EQ(again->consumed, stored.size());
        EXPECT_EQ(storedOf(*again), stored);
    }
}

TEST(StoreBytes, NewestSamplesStoreByteForByte) {
    for (const char* name :
         {"coil-20211230.coil", "vapor-20211230.vapor", "squid-20190201.squid", "opm-20190201.opm",
          "sensor-squid-20200210.sensor", "headloc-20160320.headloc"}) {
        SCOPED_TRACE(name);
        const auto loaded = fluxgrid::loadFile(samplePath(name));
        ASSERT_TRUE(loaded.ok());
        EXPECT_EQ(storedOf(*loaded), readSample(name));
    }
}

TEST(StoreBytes, HeadLocalizationWhoseFirstListOutnumbersItsFourthIsRefused) {
    CHeadLocalizationqv headloc;
    headloc.fiducialPtRaw.Add(new HEAD_LOCATION_TRIAL());
    const FileError error = failureOf(fluxgrid::storeBytes(headloc));
    EXPECT_EQ(error.failure, FileFailure::refused);
    EXPECT_EQ(error.kind, FileKind::headloc);
    EXPECT_EQ(error.version, 20160320);
    EXPECT_EQ(error.message, "the library refused to store the object: invalid argument");
    EXPECT_TRUE(error.file.empty());
}

TEST(StoreFile, RefusedStoreWritesNothing) {
    const ScratchDir dir;
    CHeadLocalizationqv headloc;
    headloc.fiducialPtRaw.Add(new HEAD_LOCATION_TRIAL());
    const std::string path = dir.file("refused.headloc");
    const FileError error = failureOf(fluxgrid::storeFile(path, headloc));
    EXPECT_EQ(error.failure, FileFailure::refused);
    EXPECT_EQ(error.file, path);
    EXPECT_EQ(error.describe(),
              path + ": the library refused to store the object: invalid argument");
    EXPECT_TRUE(namesIn(dir.path()).empty());
}

TEST(StoreFile, WritesWhatStoreBytesGivesAndItLoadsAgain) {
    const ScratchDir dir;
    const auto loaded = fluxgrid::loadFile(samplePath("sensor-squid-20091117.sensor"));
    ASSERT_TRUE(loaded.ok());
    CMEGSensorqv* sensor = loaded->get<CMEGSensorqv>();
    ASSERT_NE(sensor, nullptr);
    const std::string path = dir.file("migrated.sensor");
    const auto written = fluxgrid::storeFile(path, *sensor);
    ASSERT_TRUE(written.ok()) << written.error().describe();
    const std::vector<BYTE> expected = fluxgrid::storeBytes(*sensor).value();
    EXPECT_EQ(*written, expected.size());
    EXPECT_EQ(dir.read("migrated.sensor"), expected);
    const auto again = fluxgrid::loadFile(path);
    ASSERT_TRUE(again.ok());
    EXPECT_EQ(again->version, 20200210);
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"migrated.sensor"});
}

TEST(StoreFile, FailedWriteCarriesTheKindAndVersion) {
    const ScratchDir dir;
    CMagCoilqv coil;
    const FileError error = failureOf(fluxgrid::storeFile(dir.file("no/such/folder.coil"), coil));
    EXPECT_EQ(error.failure, FileFailure::writeError);
    EXPECT_EQ(error.kind, FileKind::coil);
    EXPECT_EQ(error.version, 20211230);
}

// ---------------------------------------------------------------------------
// Atomic writes.

TEST(WriteFileAtomically, NewFileGetsTheModeOfTheUmask) {
    const ScratchDir dir;
    const mode_t previous = ::umask(027);
    const std::string path = dir.file("new.bin");
    const auto written = fluxgrid::writeFileAtomically(path, someBytes(10));
    ::umask(previous);
    ASSERT_TRUE(written.ok()) << written.error().describe();
    EXPECT_EQ(*written, 10u);
    EXPECT_EQ(modeOf(path), 0640u);
    EXPECT_EQ(dir.read("new.bin"), someBytes(10));
}

TEST(WriteFileAtomically, ExistingFileKeepsItsMode) {
    const ScratchDir dir;
    const std::string path = dir.write("old.bin", someBytes(3));
    ASSERT_EQ(::chmod(path.c_str(), 0604), 0);
    const auto written = fluxgrid::writeFileAtomically(path, someBytes(9000));
    ASSERT_TRUE(written.ok()) << written.error().describe();
    EXPECT_EQ(*written, 9000u);
    EXPECT_EQ(modeOf(path), 0604u);
    EXPECT_EQ(dir.read("old.bin"), someBytes(9000));
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"old.bin"});
}

TEST(WriteFileAtomically, EmptyContentMakesAnEmptyFile) {
    const ScratchDir dir;
    const std::string path = dir.write("was-full.bin", someBytes(50));
    const auto written = fluxgrid::writeFileAtomically(path, {});
    ASSERT_TRUE(written.ok());
    EXPECT_EQ(*written, 0u);
    EXPECT_TRUE(dir.read("was-full.bin").empty());
}

TEST(WriteFileAtomically, FullDiskLeavesTheOldContentAndNoTemporary) {
    const ScratchDir dir;
    const FaultGuard guard;
    const std::string path = dir.write("target.bin", someBytes(5));
    fluxgrid::setWriteFault({WriteFault::Kind::noSpace, 5000});
    const FileError error = failureOf(fluxgrid::writeFileAtomically(path, someBytes(9000)));
    EXPECT_EQ(error.failure, FileFailure::writeError);
    EXPECT_EQ(error.file, path);
    EXPECT_EQ(error.message, "cannot write: No space left on device");
    EXPECT_EQ(dir.read("target.bin"), someBytes(5));
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"target.bin"});

    // Shorter than the fault: written as usual.
    EXPECT_TRUE(fluxgrid::writeFileAtomically(path, someBytes(4000)).ok());
    EXPECT_EQ(dir.read("target.bin"), someBytes(4000));
}

TEST(WriteFileAtomically, CrashLeavesTheOldContentUnderTheName) {
    const ScratchDir dir;
    const std::string path = dir.write("target.bin", someBytes(5));
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        fluxgrid::setWriteFault({WriteFault::Kind::kill, 100});
        (void)fluxgrid::writeFileAtomically(path, someBytes(1000));
        ::_exit(0);  // not reached: the fault ends the process
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
    EXPECT_EQ(dir.read("target.bin"), someBytes(5));
    // As after a real crash, the partly written temporary stays behind.
    const std::set<std::string> names = namesIn(dir.path());
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names.count("target.bin"), 1u);
    const std::string temporary = *names.begin() == "target.bin" ? *names.rbegin() : *names.begin();
    const std::string prefix = ".fluxgrid-" + std::to_string(child) + "-";
    EXPECT_EQ(temporary.rfind(prefix, 0), 0u) << temporary;
    EXPECT_EQ(temporary.size(), prefix.size() + 6 + std::string(".tmp").size()) << temporary;
    EXPECT_EQ(dir.read(temporary), someBytes(100));
}

TEST(WriteFileAtomically, MissingFolderFailsWithNothingLeft) {
    const ScratchDir dir;
    const std::string path = (dir.path() / "missing" / "file.bin").string();
    const FileError error = failureOf(fluxgrid::writeFileAtomically(path, someBytes(10)));
    EXPECT_EQ(error.failure, FileFailure::writeError);
    EXPECT_EQ(error.file, path);
    EXPECT_EQ(error.message, "cannot create a temporary file: No such file or directory");
    EXPECT_TRUE(namesIn(dir.path()).empty());
}

TEST(WriteFileAtomically, FolderInTheWayFailsAndStaysAFolder) {
    const ScratchDir dir;
    fs::create_directory(dir.path() / "taken");
    const FileError error =
        failureOf(fluxgrid::writeFileAtomically(dir.path() / "taken", someBytes(10)));
    EXPECT_EQ(error.failure, FileFailure::writeError);
    EXPECT_EQ(error.message.rfind("cannot write: ", 0), 0u) << error.message;
    EXPECT_TRUE(fs::is_directory(dir.path() / "taken"));
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"taken"});
}

TEST(WriteFileAtomically, SymbolicLinkIsWrittenThroughAndStaysALink) {
    const ScratchDir dir;
    fs::create_directory(dir.path() / "real");
    const std::string target = dir.write("real/data.bin", someBytes(5));
    ASSERT_EQ(::chmod(target.c_str(), 0600), 0);
    fs::create_symlink("real/data.bin", dir.path() / "link.bin");

    const auto written = fluxgrid::writeFileAtomically(dir.path() / "link.bin", someBytes(300));
    ASSERT_TRUE(written.ok()) << written.error().describe();
    EXPECT_TRUE(fs::is_symlink(dir.path() / "link.bin"));
    EXPECT_EQ(fs::read_symlink(dir.path() / "link.bin"), fs::path("real/data.bin"));
    EXPECT_EQ(dir.read("real/data.bin"), someBytes(300));
    EXPECT_EQ(modeOf(target), 0600u);
    // The temporary went beside the target, and nothing is left of it.
    EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"link.bin", "real"}));
    EXPECT_EQ(namesIn(dir.path() / "real"), std::set<std::string>{"data.bin"});
}

// link.bin -> hop/inner.bin -> ../store/final.bin: a relative link is read
// from the folder of the link itself, not from where the chain started.
TEST(WriteFileAtomically, ChainOfLinksIsFollowedToItsEnd) {
    const ScratchDir dir;
    fs::create_directory(dir.path() / "hop");
    fs::create_directory(dir.path() / "store");
    dir.write("store/final.bin", someBytes(1));
    fs::create_symlink("../store/final.bin", dir.path() / "hop" / "inner.bin");
    fs::create_symlink("hop/inner.bin", dir.path() / "link.bin");

    ASSERT_TRUE(fluxgrid::writeFileAtomically(dir.path() / "link.bin", someBytes(64)).ok());
    EXPECT_EQ(dir.read("store/final.bin"), someBytes(64));
    EXPECT_TRUE(fs::is_symlink(dir.path() / "link.bin"));
    EXPECT_TRUE(fs::is_symlink(dir.path() / "hop" / "inner.bin"));
    EXPECT_EQ(namesIn(dir.path() / "store"), std::set<std::string>{"final.bin"});
    EXPECT_EQ(namesIn(dir.path() / "hop"), std::set<std::string>{"inner.bin"});
}

TEST(WriteFileAtomically, AbsoluteLinkToAMissingFileCreatesIt) {
    const ScratchDir dir;
    fs::create_directory(dir.path() / "out");
    fs::create_symlink(dir.path() / "out" / "new.bin", dir.path() / "link.bin");
    ASSERT_TRUE(fluxgrid::writeFileAtomically(dir.path() / "link.bin", someBytes(20)).ok());
    EXPECT_TRUE(fs::is_symlink(dir.path() / "link.bin"));
    EXPECT_EQ(dir.read("out/new.bin"), someBytes(20));
}

TEST(WriteFileAtomically, LoopOfLinksFailsCleanly) {
    const ScratchDir dir;
    fs::create_symlink("b", dir.path() / "a");
    fs::create_symlink("a", dir.path() / "b");
    const FileError error =
        failureOf(fluxgrid::writeFileAtomically(dir.path() / "a", someBytes(5)));
    EXPECT_EQ(error.failure, FileFailure::writeError);
    EXPECT_EQ(error.message, "cannot write: Too many levels of symbolic links");
    EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"a", "b"}));
}

TEST(WriteFileAtomically, RelativeNameIsWrittenInTheWorkingFolder) {
    const ScratchDir dir;
    const fs::path previous = fs::current_path();
    fs::current_path(dir.path());
    const auto written = fluxgrid::writeFileAtomically("here.bin", someBytes(7));
    fs::current_path(previous);
    ASSERT_TRUE(written.ok()) << written.error().describe();
    EXPECT_EQ(dir.read("here.bin"), someBytes(7));
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"here.bin"});
}

}  // namespace
