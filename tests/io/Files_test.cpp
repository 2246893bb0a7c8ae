// Loading through the facade: every sample file into the object of its
// kind, and every way a file can fail, each as a value with the file's name,
// its kind and version where they are known, and the tool's own words.
#include <fluxgrid/io/Files.h>

#include "FileTestSupport.h"
#include "support/ByteBuilder.h"
#include "support/Harness.h"
#include "support/ScratchDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <latch>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>

namespace {

using fluxgrid::FileError;
using fluxgrid::FileFailure;
using fluxgrid::FileKind;
using fluxgrid::fileKindInfo;
using fluxgrid::LoadedFile;
using fluxgrid::LoadOptions;
using fluxgrid::test::ByteBuilder;
using fluxgrid::test::failureOf;
using fluxgrid::test::goodSamples;
using fluxgrid::test::MessageBoxRecorder;
using fluxgrid::test::readSample;
using fluxgrid::test::samplePath;
using fluxgrid::test::ScratchDir;

constexpr const char* kMagicList =
    "MEGCOILQV, AMOPMQV, MSQUIDQV, MEGOPMQV, MEGSENSORQV, HEADLOCATIONTRIAL";
constexpr const char* kInsideMagic =
    "not a file of any kind that fluxgrid reads, or truncated inside its magic";

std::vector<BYTE> frameOf(const std::u16string& magic, int version) {
    ByteBuilder bytes;
    bytes.wide(magic).i32(version);
    return bytes.bytes();
}

std::vector<BYTE> prefixOf(const std::vector<BYTE>& bytes, std::size_t count) {
    return std::vector<BYTE>(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
}

// Which of the six pointers a loaded file holds, as a kind.
std::set<FileKind> heldKinds(const LoadedFile& loaded) {
    std::set<FileKind> held;
    if (loaded.get<CMagCoilqv>() != nullptr) {
        held.insert(FileKind::coil);
    }
    if (loaded.get<CMagVaporqv>() != nullptr) {
        held.insert(FileKind::vapor);
    }
    if (loaded.get<CMegSquidqv>() != nullptr) {
        held.insert(FileKind::squid);
    }
    if (loaded.get<CMegOpmqv>() != nullptr) {
        held.insert(FileKind::opm);
    }
    if (loaded.get<CMEGSensorqv>() != nullptr) {
        held.insert(FileKind::sensor);
    }
    if (loaded.get<CHeadLocalizationqv>() != nullptr) {
        held.insert(FileKind::headloc);
    }
    return held;
}

// ---------------------------------------------------------------------------
// The sample files.

TEST(LoadFile, EverySampleFileIsListedHereAsGoodOrBad) {
    std::set<std::string> listed = {"sensor-opm-20190201-refused.sensor",
                                    "truncated-sensor-20140513.sensor",
                                    "wrong-kind-fiducial-set.bin"};
    for (const auto& sample : goodSamples()) {
        listed.insert(sample.name);
    }
    std::set<std::string> present;
    for (const auto& entry : std::filesystem::directory_iterator(fluxgrid::test::kSampleData)) {
        present.insert(entry.path().filename().string());
    }
    EXPECT_EQ(present, listed);
}

TEST(LoadFile, EveryGoodSampleLoadsIntoTheObjectOfItsKind) {
    for (const auto& sample : goodSamples()) {
        SCOPED_TRACE(sample.name);
        const std::string path = samplePath(sample.name);
        const auto loaded = fluxgrid::loadFile(path);
        ASSERT_TRUE(loaded.ok()) << loaded.error().describe();
        EXPECT_EQ(loaded->file, path);
        EXPECT_EQ(loaded->kind, sample.kind);
        EXPECT_EQ(loaded->version, sample.version);
        EXPECT_EQ(loaded->size, std::filesystem::file_size(path));
        EXPECT_EQ(loaded->consumed, loaded->size);
        EXPECT_EQ(loaded->object.index(), static_cast<std::size_t>(sample.kind));
        EXPECT_EQ(heldKinds(*loaded), std::set<FileKind>{sample.kind});
    }
}

TEST(LoadFile, TheSensorOfVersion20190201IsRefusedWithTheLibrarysBox) {
    const std::string path = samplePath("sensor-opm-20190201-refused.sensor");
    const FileError error = failureOf(fluxgrid::loadFile(path));
    EXPECT_EQ(error.failure, FileFailure::refusedVersion);
    EXPECT_EQ(error.file, path);
    EXPECT_EQ(error.kind, FileKind::sensor);
    EXPECT_EQ(error.version, 20190201);
    EXPECT_EQ(error.message,
              "version 20190201 of a sensor file is refused (accepted: 20080101, 20091117, "
              "20140513 and 20200210)");
    EXPECT_EQ(error.boxes, std::vector<std::string>{"Wrong file format!!?"});
    EXPECT_EQ(error.describe(), path + ": " + error.message);
}

TEST(LoadFile, TheTruncatedSampleEndsInsideItsBody) {
    const std::string path = samplePath("truncated-sensor-20140513.sensor");
    const FileError error = failureOf(fluxgrid::loadFile(path));
    EXPECT_EQ(error.failure, FileFailure::truncated);
    EXPECT_EQ(error.kind, FileKind::sensor);
    EXPECT_EQ(error.version, 20140513);
    EXPECT_EQ(error.message,
              "truncated: the file ends inside its body (end of file after 1000 bytes)");
    EXPECT_TRUE(error.boxes.empty());
}

TEST(LoadFile, TheFiducialSetIsOfNoKind) {
    const std::string path = samplePath("wrong-kind-fiducial-set.bin");
    const FileError error = failureOf(fluxgrid::loadFile(path));
    EXPECT_EQ(error.failure, FileFailure::badMagic);
    EXPECT_EQ(error.file, path);
    EXPECT_FALSE(error.kind.has_value());
    EXPECT_FALSE(error.version.has_value());
    EXPECT_EQ(error.message,
              std::string("wrong kind: its magic \"FIDUCIALQV\" is none of ") + kMagicList);
}

// ---------------------------------------------------------------------------
// What is not a file of any kind, or not a file at all.

TEST(LoadFile, MissingFileIsMissing) {
    const ScratchDir dir;
    const std::string path = dir.file("nothing.sensor");
    const FileError error = failureOf(fluxgrid::loadFile(path));
    EXPECT_EQ(error.failure, FileFailure::missing);
    EXPECT_EQ(error.file, path);
    EXPECT_EQ(error.message, "cannot open: No such file or directory");
    EXPECT_EQ(error.describe(), path + ": cannot open: No such file or directory");
}

TEST(LoadFile, FolderIsNotARegularFile) {
    const ScratchDir dir;
    const FileError error = failureOf(fluxgrid::loadFile(dir.path()));
    EXPECT_EQ(error.failure, FileFailure::notRegularFile);
    EXPECT_EQ(error.file, dir.path().string());
    EXPECT_EQ(error.message, "not a regular file: a folder");
}

// A FIFO without a writer would block an ordinary open for ever.
TEST(LoadFile, FifoIsNotARegularFileAndNothingWaitsForAWriter) {
    const ScratchDir dir;
    const std::string path = dir.file("pipe.sensor");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    const FileError error = failureOf(fluxgrid::loadFile(path));
    EXPECT_EQ(error.failure, FileFailure::notRegularFile);
    EXPECT_EQ(error.message, "not a regular file: a FIFO");
    const FileError header = failureOf(fluxgrid::readHeader(std::filesystem::path(path)));
    EXPECT_EQ(header.failure, FileFailure::notRegularFile);
}

// A name the system cannot open for a reason other than its absence (a loop
// of symbolic links fails the same for every user, the superuser too).
TEST(LoadFile, NameThatCannotBeOpenedIsAReadError) {
    const ScratchDir dir;
    std::filesystem::create_symlink("b.coil", dir.path() / "a.coil");
    std::filesystem::create_symlink("a.coil", dir.path() / "b.coil");
    const FileError error = failureOf(fluxgrid::loadFile(dir.path() / "a.coil"));
    EXPECT_EQ(error.failure, FileFailure::readError);
    EXPECT_EQ(error.message, "cannot open: Too many levels of symbolic links");
}

TEST(LoadFile, FileLargerThanTheLimitIsRefusedBeforeItIsRead) {
    const std::string path = samplePath("coil-20211230.coil");
    const std::uintmax_t size = std::filesystem::file_size(path);
    LoadOptions options;
    options.maxBytes = size - 1;
    const FileError error = failureOf(fluxgrid::loadFile(path, options));
    EXPECT_EQ(error.failure, FileFailure::tooLarge);
    EXPECT_EQ(error.file, path);
    EXPECT_EQ(error.message, "larger than the limit of " + std::to_string(size - 1) + " bytes");

    options.maxBytes = size;
    EXPECT_TRUE(fluxgrid::loadFile(path, options).ok());

    options.maxBytes = 100;
    const std::vector<BYTE> bytes = readSample("coil-20211230.coil");
    const FileError fromBytes = failureOf(fluxgrid::loadBytes(bytes, "coil", options));
    EXPECT_EQ(fromBytes.failure, FileFailure::tooLarge);
    EXPECT_EQ(fromBytes.message, "larger than the limit of 100 bytes");
}

TEST(LoadFile, EmptyFileIsOfNoKind) {
    const ScratchDir dir;
    const std::string path = dir.write("empty.coil", {});
    const FileError error = failureOf(fluxgrid::loadFile(path));
    EXPECT_EQ(error.failure, FileFailure::badMagic);
    EXPECT_EQ(error.message, "empty file: not a file of any kind that fluxgrid reads");
    EXPECT_FALSE(error.kind.has_value());
}

TEST(LoadBytes, MagicOfNoKindIsQuotedWhenPrintable) {
    const FileError error =
        failureOf(fluxgrid::loadBytes(frameOf(u"MEGCOILQv", 20211230), "near.coil"));
    EXPECT_EQ(error.failure, FileFailure::badMagic);
    EXPECT_EQ(error.file, "near.coil");
    EXPECT_EQ(error.message,
              std::string("wrong kind: its magic \"MEGCOILQv\" is none of ") + kMagicList);
}

TEST(LoadBytes, MagicOfNoKindIsNotQuotedWhenUnprintableOrLong) {
    for (const std::u16string& magic : {std::u16string(u"MEG\u00E9COIL"), std::u16string(u"A\nB"),
                                        std::u16string(41, u'M'), std::u16string()}) {
        const FileError error = failureOf(fluxgrid::loadBytes(frameOf(magic, 1)));
        EXPECT_EQ(error.failure, FileFailure::badMagic);
        EXPECT_EQ(error.message,
                  std::string("wrong kind: what it starts with is none of ") + kMagicList);
    }
}

TEST(LoadBytes, TextIsNotAFileOfAnyKind) {
    const std::string text = "hello, this is text";
    const std::vector<BYTE> bytes(text.begin(), text.end());
    const FileError error = failureOf(fluxgrid::loadBytes(bytes, "notes.txt"));
    EXPECT_EQ(error.failure, FileFailure::badMagic);
    EXPECT_EQ(error.message, kInsideMagic);
    EXPECT_EQ(error.describe(), std::string("notes.txt: ") + kInsideMagic);
}

// ---------------------------------------------------------------------------
// Truncated files.

TEST(LoadBytes, FileEndingInsideTheMagicOfAKindIsTruncated) {
    const std::vector<BYTE> coil = readSample("coil-20211230.coil");
    for (std::size_t cut :
         {std::size_t{1}, std::size_t{3}, std::size_t{4}, std::size_t{10}, std::size_t{21}}) {
        SCOPED_TRACE("cut at " + std::to_string(cut));
        const FileError error = failureOf(fluxgrid::loadBytes(prefixOf(coil, cut)));
        EXPECT_EQ(error.failure, FileFailure::truncated);
        EXPECT_EQ(error.message, kInsideMagic);
        // The length of the magic tells the kind.
        EXPECT_EQ(error.kind.has_value(), cut >= 4);
        if (cut >= 4) {
            EXPECT_EQ(error.kind, FileKind::coil);
        }
    }
}

TEST(LoadBytes, MagicOfTwoKindsOfOneLengthIsToldByItsLetters) {
    const std::vector<BYTE> opm = readSample("opm-20190201.opm");
    // "MEGOPMQV" and "MSQUIDQV" are both eight units long and open with M.
    EXPECT_FALSE(failureOf(fluxgrid::loadBytes(prefixOf(opm, 6))).kind.has_value());
    const FileError error = failureOf(fluxgrid::loadBytes(prefixOf(opm, 8)));
    EXPECT_EQ(error.failure, FileFailure::truncated);
    EXPECT_EQ(error.kind, FileKind::opm);
}

TEST(LoadBytes, FileEndingBeforeItsVersionIsTruncatedWithItsKind) {
    const std::vector<BYTE> headloc = readSample("headloc-20160320.headloc");
    for (std::size_t cut : {std::size_t{38}, std::size_t{39}, std::size_t{41}}) {
        const FileError error = failureOf(fluxgrid::loadBytes(prefixOf(headloc, cut), "h"));
        EXPECT_EQ(error.failure, FileFailure::truncated);
        EXPECT_EQ(error.kind, FileKind::headloc);
        EXPECT_FALSE(error.version.has_value());
        EXPECT_EQ(error.message, "truncated: the file ends before its version (end of file)");
    }
}

TEST(LoadBytes, FileEndingInsideItsBodyIsTruncatedAtEveryCut) {
    const std::vector<BYTE> sensor = readSample("sensor-squid-20200210.sensor");
    for (std::size_t cut : {std::size_t{30}, std::size_t{31}, std::size_t{100}, std::size_t{1001},
                            sensor.size() / 2, sensor.size() - 8, sensor.size() - 1}) {
        SCOPED_TRACE("cut at " + std::to_string(cut));
        const FileError error = failureOf(fluxgrid::loadBytes(prefixOf(sensor, cut), "s"));
        EXPECT_EQ(error.failure, FileFailure::truncated);
        EXPECT_EQ(error.kind, FileKind::sensor);
        EXPECT_EQ(error.version, 20200210);
        EXPECT_EQ(error.message, "truncated: the file ends inside its body (end of file after " +
                                     std::to_string(cut) + " bytes)");
        EXPECT_TRUE(error.boxes.empty());
    }
}

// ---------------------------------------------------------------------------
// Files that the library refuses.

TEST(LoadBytes, VersionThatAKindDoesNotAcceptIsRefusedWithTheEntrysBox) {
    struct Case {
        FileKind kind;
        const char* box;
    };
    const Case cases[] = {
        {FileKind::coil, "Wrong file format!!?"},
        {FileKind::vapor, "Wrong AMOPM file format!!?"},
        {FileKind::squid, "Wrong MSQUID file format!!?"},
        {FileKind::opm, "Wrong MSQUID file format!!?"},
        {FileKind::sensor, "Wrong file format!!?"},
        {FileKind::headloc, "Wrong file format int CHeadLocalization09File!!?"},
    };
    for (const Case& c : cases) {
        const auto& info = fileKindInfo(c.kind);
        SCOPED_TRACE(std::string(info.word));
        ByteBuilder bytes;
        bytes.wide(std::u16string(info.magic)).i32(info.written + 1).i32(0).i32(0);
        const FileError error = failureOf(fluxgrid::loadBytes(bytes.bytes(), "f"));
        EXPECT_EQ(error.failure, FileFailure::refusedVersion);
        EXPECT_EQ(error.kind, c.kind);
        EXPECT_EQ(error.version, info.written + 1);
        EXPECT_EQ(error.message, "version " + std::to_string(info.written + 1) + " of a " +
                                     std::string(info.title) + " is refused (accepted: " +
                                     fluxgrid::acceptedVersionList(info) + ")");
        EXPECT_EQ(error.boxes, std::vector<std::string>{c.box});
    }
}

TEST(LoadBytes, VersionOfAnotherKindBuiltByHandIsRefused) {
    const FileError error =
        failureOf(fluxgrid::loadBytes(frameOf(u"MEGSENSORQV", 20190201), "built.sensor"));
    EXPECT_EQ(error.failure, FileFailure::refusedVersion);
    EXPECT_EQ(error.version, 20190201);
    EXPECT_EQ(error.describe(),
              "built.sensor: version 20190201 of a sensor file is refused (accepted: 20080101, "
              "20091117, 20140513 and 20200210)");
}

// A sensor of version 20091117 whose last nested coil record carries a
// version that no coil has: the coil entry shows its box and reading goes
// on, so the load ends with 1 and cannot be trusted.
std::vector<BYTE> sensorWithUnknownLastCoilVersion() {
    std::vector<BYTE> bytes = readSample("sensor-squid-20091117.sensor");
    ByteBuilder coilMagic;
    coilMagic.wide(u"MEGCOILQV");
    const auto last = std::find_end(bytes.begin(), bytes.end(), coilMagic.bytes().begin(),
                                    coilMagic.bytes().end());
    EXPECT_NE(last, bytes.end());
    const std::size_t version = static_cast<std::size_t>(last - bytes.begin()) + 22;
    const int stored = static_cast<int>(bytes.at(version) | bytes.at(version + 1) << 8 |
                                        bytes.at(version + 2) << 16 | bytes.at(version + 3) << 24);
    EXPECT_TRUE(fileKindInfo(FileKind::coil).accepts(stored)) << stored;
    ByteBuilder unknown;
    unknown.i32(20211231);
    std::copy(unknown.bytes().begin(), unknown.bytes().end(),
              bytes.begin() + static_cast<std::ptrdiff_t>(version));
    return bytes;
}

TEST(LoadBytes, BoxRaisedInsideALoadThatEndsWellMakesItAFailure) {
    const FileError error =
        failureOf(fluxgrid::loadBytes(sensorWithUnknownLastCoilVersion(), "nested.sensor"));
    EXPECT_EQ(error.failure, FileFailure::refused);
    EXPECT_EQ(error.kind, FileKind::sensor);
    EXPECT_EQ(error.version, 20091117);
    EXPECT_EQ(error.message,
              "the library reported 1 problem(s) while loading; the content cannot be trusted");
    EXPECT_EQ(error.boxes, std::vector<std::string>{"Wrong file format!!?"});
}

TEST(LoadBytes, BoxRaisedInsideALoadThatEndsWellIsKeptWhenAskedFor) {
    fluxgrid::LoadOptions options;
    options.keepWithBoxes = true;
    const auto loaded =
        fluxgrid::loadBytes(sensorWithUnknownLastCoilVersion(), "nested.sensor", options);
    ASSERT_TRUE(loaded.ok()) << loaded.error().describe();
    EXPECT_EQ(loaded->kind, FileKind::sensor);
    EXPECT_EQ(loaded->version, 20091117);
    EXPECT_NE(loaded->get<CMEGSensorqv>(), nullptr);
    EXPECT_EQ(loaded->boxes, std::vector<std::string>{"Wrong file format!!?"});
}

TEST(LoadBytes, CleanLoadCarriesNoBoxes) {
    fluxgrid::LoadOptions options;
    options.keepWithBoxes = true;
    const auto loaded =
        fluxgrid::loadBytes(readSample("sensor-squid-20091117.sensor"), "clean.sensor", options);
    ASSERT_TRUE(loaded.ok());
    EXPECT_TRUE(loaded->boxes.empty());
}

TEST(LoadBytes, NestedRecordOfTheWrongKindIsRefusedByTheLibrary) {
    // The flag of the sensor's record says OPM and an OPM record follows, but
    // its magic is altered: the OPM entry refuses it and the sensor with it.
    std::vector<BYTE> bytes = readSample("sensor-opm-20200210.sensor");
    ByteBuilder opmMagic;
    opmMagic.wide(u"MEGOPMQV");
    const auto record =
        std::search(bytes.begin(), bytes.end(), opmMagic.bytes().begin(), opmMagic.bytes().end());
    ASSERT_NE(record, bytes.end());
    *(record + 4) = 'X';
    const FileError error = failureOf(fluxgrid::loadBytes(bytes, "opm.sensor"));
    EXPECT_EQ(error.failure, FileFailure::refused);
    EXPECT_EQ(error.message,
              "refused by the library: The opened file is not MEG file or corrupted!");
    EXPECT_EQ(error.boxes,
              std::vector<std::string>{"The opened file is not MEG file or corrupted!"});
}

// ---------------------------------------------------------------------------
// Loading through the entry of a kind that is asked for.

TEST(LoadOptionsAs, FileOfAnotherKindIsRefusedInThatEntrysWords) {
    LoadOptions options;
    options.as = FileKind::sensor;
    const FileError error =
        failureOf(fluxgrid::loadFile(samplePath("coil-20211230.coil"), options));
    EXPECT_EQ(error.failure, FileFailure::refused);
    EXPECT_EQ(error.message,
              "refused by the library: The opened file is not MEG sensor file or corrupted!");
    EXPECT_EQ(error.boxes,
              std::vector<std::string>{"The opened file is not MEG sensor file or corrupted!"});
    // What the first bytes told.
    EXPECT_EQ(error.kind, FileKind::coil);
    EXPECT_EQ(error.version, 20211230);
}

TEST(LoadOptionsAs, FileOfThatKindLoadsAsWithoutIt) {
    for (const auto& sample : goodSamples()) {
        SCOPED_TRACE(sample.name);
        LoadOptions options;
        options.as = sample.kind;
        const auto loaded = fluxgrid::loadFile(samplePath(sample.name), options);
        ASSERT_TRUE(loaded.ok()) << loaded.error().describe();
        EXPECT_EQ(loaded->kind, sample.kind);
        EXPECT_EQ(loaded->version, sample.version);
        EXPECT_EQ(heldKinds(*loaded), std::set<FileKind>{sample.kind});
    }
}

TEST(LoadOptionsAs, RefusedVersionOfThatKindIsStillRefused) {
    LoadOptions options;
    options.as = FileKind::sensor;
    const FileError error =
        failureOf(fluxgrid::loadFile(samplePath("sensor-opm-20190201-refused.sensor"), options));
    EXPECT_EQ(error.failure, FileFailure::refusedVersion);
    EXPECT_EQ(error.version, 20190201);
}

TEST(LoadOptionsAs, EmptyBytesEndInsideTheEntry) {
    LoadOptions options;
    options.as = FileKind::sensor;
    const FileError error = failureOf(fluxgrid::loadBytes({}, "empty", options));
    EXPECT_EQ(error.failure, FileFailure::truncated);
    EXPECT_EQ(error.message,
              "truncated: the file ends inside its body (end of file after 0 bytes)");
}

// ---------------------------------------------------------------------------
// The same through bytes as through a file; headers alone.

TEST(LoadBytes, GivesWhatLoadFileGivesForEverySample) {
    std::vector<std::string> names = {"sensor-opm-20190201-refused.sensor",
                                      "truncated-sensor-20140513.sensor",
                                      "wrong-kind-fiducial-set.bin"};
    for (const auto& sample : goodSamples()) {
        names.push_back(sample.name);
    }
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const std::string path = samplePath(name);
        const auto fromFile = fluxgrid::loadFile(path);
        const auto fromBytes = fluxgrid::loadBytes(readSample(name), path);
        ASSERT_EQ(fromFile.ok(), fromBytes.ok());
        if (!fromFile.ok()) {
            EXPECT_EQ(fromFile.error().failure, fromBytes.error().failure);
            EXPECT_EQ(fromFile.error().describe(), fromBytes.error().describe());
            EXPECT_EQ(fromFile.error().kind, fromBytes.error().kind);
            EXPECT_EQ(fromFile.error().version, fromBytes.error().version);
            EXPECT_EQ(fromFile.error().boxes, fromBytes.error().boxes);
            continue;
        }
        EXPECT_EQ(fromFile->file, fromBytes->file);
        EXPECT_EQ(fromFile->kind, fromBytes->kind);
        EXPECT_EQ(fromFile->version, fromBytes->version);
        EXPECT_EQ(fromFile->size, fromBytes->size);
        EXPECT_EQ(fromFile->consumed, fromBytes->consumed);
        // The two objects store the same bytes.
        const auto storedOf = [](const LoadedFile& loaded) {
            return std::visit(
                [](const auto& object) { return fluxgrid::storeBytes(*object).value(); },
                loaded.object);
        };
        EXPECT_EQ(storedOf(*fromFile), storedOf(*fromBytes));
    }
}

TEST(ReadHeader, TellsKindAndVersionOfEverySampleFromItsFrameAlone) {
    for (const auto& sample : goodSamples()) {
        SCOPED_TRACE(sample.name);
        const auto fromPath = fluxgrid::readHeader(std::filesystem::path(samplePath(sample.name)));
        ASSERT_TRUE(fromPath.ok()) << fromPath.error().describe();
        EXPECT_EQ(fromPath->kind, sample.kind);
        EXPECT_EQ(fromPath->version, sample.version);

        const std::size_t frame = 3 + 1 + 2 * fileKindInfo(sample.kind).magic.size() + 4;
        EXPECT_GE(frame, 22u);
        EXPECT_LE(frame, 42u);
        const std::vector<BYTE> bytes = readSample(sample.name);
        const auto fromBytes = fluxgrid::readHeader(prefixOf(bytes, frame));
        ASSERT_TRUE(fromBytes.ok()) << fromBytes.error().describe();
        EXPECT_EQ(fromBytes->kind, sample.kind);
        EXPECT_EQ(fromBytes->version, sample.version);
        EXPECT_EQ(failureOf(fluxgrid::readHeader(prefixOf(bytes, frame - 1))).failure,
                  FileFailure::truncated);
    }
}

TEST(ReadHeader, RefusedVersionIsStillAHeader) {
    const auto header = fluxgrid::readHeader(
        std::filesystem::path(samplePath("sensor-opm-20190201-refused.sensor")));
    ASSERT_TRUE(header.ok());
    EXPECT_EQ(header->kind, FileKind::sensor);
    EXPECT_EQ(header->version, 20190201);
}

TEST(ReadHeader, FailuresAreThoseOfALoad) {
    const ScratchDir dir;
    EXPECT_EQ(failureOf(fluxgrid::readHeader(std::filesystem::path(dir.file("none")))).failure,
              FileFailure::missing);
    const FileError wrong = failureOf(
        fluxgrid::readHeader(std::filesystem::path(samplePath("wrong-kind-fiducial-set.bin"))));
    EXPECT_EQ(wrong.failure, FileFailure::badMagic);
    EXPECT_EQ(wrong.message,
              std::string("wrong kind: its magic \"FIDUCIALQV\" is none of ") + kMagicList);
    EXPECT_EQ(failureOf(fluxgrid::readHeader(std::vector<BYTE>{}, "e")).message,
              "empty file: not a file of any kind that fluxgrid reads");
}

// A foreign string longer than the first bytes that a header is read from:
// told apart from a truncated one by the rest of the file.
TEST(ReadHeader, LongForeignMagicReadsAsALoadSeesIt) {
    const ScratchDir dir;
    const std::string complete =
        dir.write("long.bin", frameOf(std::u16string(300, u'Q'), 20200210));
    const FileError whole = failureOf(fluxgrid::readHeader(std::filesystem::path(complete)));
    EXPECT_EQ(whole.failure, FileFailure::badMagic);
    EXPECT_EQ(whole.message,
              std::string("wrong kind: what it starts with is none of ") + kMagicList);

    ByteBuilder cut;
    cut.u8(0xFF).u8(0xFE).u8(0xFF).u8(0xFF).u16(300);
    for (int i = 0; i < 200; ++i) {
        cut.u16(u'Q');
    }
    const std::string shortened = dir.write("cut.bin", cut.bytes());
    const FileError ended = failureOf(fluxgrid::readHeader(std::filesystem::path(shortened)));
    EXPECT_EQ(ended.failure, FileFailure::badMagic);
    EXPECT_EQ(ended.message, kInsideMagic);
}

// ---------------------------------------------------------------------------
// Results, words and the handlers of the caller.

TEST(FileResult, ValueOfAFailureThrowsTheErrorDescribed) {
    const auto result = fluxgrid::loadBytes({}, "empty.coil");
    try {
        (void)result.value();
        FAIL() << "value() of a failure returned";
    } catch (const fluxgrid::FileException& e) {
        EXPECT_STREQ(e.what(),
                     "empty.coil: empty file: not a file of any kind that fluxgrid reads");
        EXPECT_EQ(e.error().failure, FileFailure::badMagic);
    }
}

TEST(FileError, DescribeWithoutANameIsTheMessageAlone) {
    FileError error;
    error.message = "truncated: the file ends before its version (end of file)";
    EXPECT_EQ(error.describe(), error.message);
    error.file = "a.sensor";
    EXPECT_EQ(error.describe(), "a.sensor: " + error.message);
}

TEST(FileFailure, EveryFailureHasItsWord) {
    EXPECT_EQ(fluxgrid::failureWord(FileFailure::missing), "missing");
    EXPECT_EQ(fluxgrid::failureWord(FileFailure::notRegularFile), "not a regular file");
    EXPECT_EQ(fluxgrid::failureWord(FileFailure::tooLarge), "too large");
    EXPECT_EQ(fluxgrid::failureWord(FileFailure::readError), "read error");
    EXPECT_EQ(fluxgrid::failureWord(FileFailure::badMagic), "bad magic");
    EXPECT_EQ(fluxgrid::failureWord(FileFailure::refusedVersion), "refused version");
    EXPECT_EQ(fluxgrid::failureWord(FileFailure::truncated), "truncated");
    EXPECT_EQ(fluxgrid::failureWord(FileFailure::refused), "refused");
    EXPECT_EQ(fluxgrid::failureWord(FileFailure::corrupt), "corrupt");
    EXPECT_EQ(fluxgrid::failureWord(FileFailure::writeError), "write error");
    EXPECT_EQ(fluxgrid::failureWord(FileFailure::changed), "changed since it was read");
}

TEST(LoadBytes, BoxesOfALoadNeverReachTheCallersHandlers) {
    std::atomic<int> process{0};
    const AfxMessageBoxHandler previous =
        AfxSetMessageBoxHandler([&process](const CString&, UINT, UINT) {
            ++process;
            return IDOK;
        });
    MessageBoxRecorder recorder;
    const FileError error =
        failureOf(fluxgrid::loadFile(samplePath("sensor-opm-20190201-refused.sensor")));
    EXPECT_EQ(error.boxes.size(), 1u);
    EXPECT_TRUE(recorder.texts().empty());
    // The caller's own handler is in place again.
    AfxMessageBox(CString("after"));
    AfxSetMessageBoxHandler(previous);
    EXPECT_EQ(recorder.texts(), std::vector<std::string>{"after"});
    EXPECT_EQ(process, 0);
}

TEST(LoadBytes, ConcurrentLoadsEachGetTheirOwnBoxes) {
    const std::vector<BYTE> good = readSample("sensor-squid-20200210.sensor");
    const std::vector<BYTE> refused = readSample("sensor-opm-20190201-refused.sensor");
    const std::vector<BYTE> coil = readSample("coil-20211230.coil");
    std::vector<BYTE> badCoil = coil;
    badCoil.at(22) = 0;  // a version no coil has
    constexpr int kThreads = 4;
    constexpr int kRounds = 150;
    std::atomic<int> process{0};
    const AfxMessageBoxHandler previous =
        AfxSetMessageBoxHandler([&process](const CString&, UINT, UINT) {
            ++process;
            return IDOK;
        });
    std::vector<int> wrong(kThreads, 0);
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            int& mistakes = wrong[static_cast<std::size_t>(t)];
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round) {
                const auto loaded = fluxgrid::loadBytes(t % 2 == 0 ? good : coil);
                mistakes += loaded.ok() ? 0 : 1;
                const auto sensor = fluxgrid::loadBytes(refused);
                mistakes += !sensor.ok() && sensor.error().boxes ==
                                                std::vector<std::string>{"Wrong file format!!?"}
                                ? 0
                                : 1;
                const auto bad = fluxgrid::loadBytes(badCoil);
                mistakes += !bad.ok() && bad.error().failure == FileFailure::refusedVersion &&
                                    bad.error().boxes.size() == 1
                                ? 0
                                : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    AfxSetMessageBoxHandler(previous);
    EXPECT_EQ(wrong, std::vector<int>(kThreads, 0));
    EXPECT_EQ(process, 0);
}

}  // namespace
