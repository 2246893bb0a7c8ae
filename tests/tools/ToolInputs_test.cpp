// Runs the built fluxgrid tool on inputs a careful user might hand it:
// folders, devices, FIFOs that never end, standard input, names that are
// not UTF-8, and a standard output that cannot take what is written to it.
// Each input stands on its own: a failure is one line naming it (and one
// JSON entry), the run goes on, and the exit status tells that something
// failed.
#include "support/ChildRun.h"

#include <fluxgrid/fluxgrid.h>

#include "support/Harness.h"
#include "support/ScratchDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using fluxgrid::test::ChildRun;
using fluxgrid::test::ChildStreams;
using fluxgrid::test::FifoFeeder;
using fluxgrid::test::ScratchDir;
using nlohmann::json;

const std::string kTool = FLUXGRID_TOOL_PATH;
const fs::path kData = FLUXGRID_SAMPLE_DATA;

const std::string kCoil = "coil-20080102.coil";
const std::string kOldSensor = "sensor-squid-20080101.sensor";
const std::string kRefusedSensor = "sensor-opm-20190201-refused.sensor";
const std::string kTruncatedSensor = "truncated-sensor-20140513.sensor";
const std::string kWrongKind = "wrong-kind-fiducial-set.bin";

// The address sanitizer reserves far more address space than a limit on
// it allows, and keeps freed memory aside for a while.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kAddressSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kAddressSanitizer = true;
#else
constexpr bool kAddressSanitizer = false;
#endif
#else
constexpr bool kAddressSanitizer = false;
#endif

// Peak memory a run may reach; loading a sample file takes a few MiB, more
// under the sanitizer.
constexpr long kBoundedKiB = (kAddressSanitizer ? 256 : 64) * 1024;

std::string sample(const std::string& name) {
    return (kData / name).string();
}

ChildRun tool(const std::vector<std::string>& args, const ChildStreams& streams = {}) {
    return fluxgrid::test::runChild(kTool, args, streams);
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::string line;
    for (const char c : text) {
        if (c == '\n') {
            lines.push_back(line);
            line.clear();
        } else {
            line += c;
        }
    }
    if (!line.empty()) {
        lines.push_back(line);
    }
    return lines;
}

bool hasLine(const std::string& text, const std::string& line) {
    const std::vector<std::string> lines = linesOf(text);
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

// The document of `info --json`, which must parse as strict JSON.
json parsed(const ChildRun& run) {
    try {
        return json::parse(run.out);
    } catch (const json::exception& e) {
        ADD_FAILURE() << "not valid JSON (" << e.what() << "):\n" << run.out;
        return json::array();
    }
}

std::string makeFifo(const ScratchDir& scratch, const std::string& name) {
    const std::string path = scratch.file(name);
    if (::mkfifo(path.c_str(), 0600) != 0) {
        throw std::runtime_error("cannot make the FIFO " + path);
    }
    return path;
}

std::vector<BYTE> bytesOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<BYTE>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// ---------------------------------------------------------------------------
// What is not a regular file

TEST(ToolInputs, DeviceIsRefusedAtOnceWithALineNamingIt) {
    const ChildRun run =
        tool({"info", "/dev/zero"}, ChildStreams().within(std::chrono::seconds(10)));
    ASSERT_FALSE(run.timedOut);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "fluxgrid: /dev/zero: not a regular file: a device\n");
    EXPECT_LT(run.maxResidentKiB, kBoundedKiB);
}

TEST(ToolInputs, FifoFedForeverIsRefusedAtOnceWithALineNamingIt) {
    ScratchDir scratch;
    const std::string fifo = makeFifo(scratch, "endless");
    const FifoFeeder yes(fifo);
    const ChildRun run = tool({"info", fifo}, ChildStreams().within(std::chrono::seconds(10)));
    ASSERT_FALSE(run.timedOut);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "fluxgrid: " + fifo + ": not a regular file: a FIFO\n");
    EXPECT_LT(run.maxResidentKiB, kBoundedKiB);
}

// ---------------------------------------------------------------------------
// One failing input among others

TEST(ToolInputs, FolderBetweenTwoFilesIsReportedAndTheNextFileStillShown) {
    ScratchDir scratch;
    const std::string first = sample(kCoil);
    const std::string folder = scratch.path().string();
    const std::string second = sample(kOldSensor);
    const ChildRun run = tool({"info", first, folder, second});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "fluxgrid: " + folder + ": not a regular file: a folder\n");
    EXPECT_TRUE(hasLine(run.out, first));
    EXPECT_TRUE(hasLine(run.out, second));
}

TEST(ToolInputs, JsonIsOneCompleteArrayWithAnEntryAndACodeForEveryFailure) {
    ScratchDir scratch;
    const std::string fifo = makeFifo(scratch, "fifo");
    const FifoFeeder yes(fifo);
    const std::string empty = scratch.write("empty.coil", {});
    const std::vector<std::pair<std::string, std::string>> inputs = {
        {sample(kCoil), ""},
        {sample("no-such-file.coil"), "missing"},
        {scratch.path().string(), "not-regular-file"},
        {"/dev/zero", "not-regular-file"},
        {fifo, "not-regular-file"},
        {empty, "bad-magic"},
        {sample(kWrongKind), "bad-magic"},
        {sample(kRefusedSensor), "refused-version"},
        {sample(kTruncatedSensor), "truncated"},
        {sample(kOldSensor), ""},
    };
    std::vector<std::string> args = {"info", "--json"};
    for (const auto& input : inputs) {
        args.push_back(input.first);
    }
    const ChildRun run = tool(args, ChildStreams().within(std::chrono::seconds(20)));
    ASSERT_FALSE(run.timedOut);
    EXPECT_EQ(run.status, 1);
    const json all = parsed(run);
    ASSERT_EQ(all.size(), inputs.size());
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const auto& [file, code] = inputs[i];
        SCOPED_TRACE(file);
        const json& entry = all.at(i);
        EXPECT_EQ(entry.at("file"), file);
        if (code.empty()) {
            EXPECT_FALSE(entry.contains("code"));
            EXPECT_TRUE(entry.at("object").is_object());
        } else {
            EXPECT_EQ(entry.at("code"), code);
            EXPECT_TRUE(entry.at("error").is_string());
            // The same failure is one line on standard error.
            EXPECT_NE(run.err.find("fluxgrid: " + file + ": "), std::string::npos);
        }
    }
}

// The text output names the kind and version of a refused file; its JSON
// entry carries them too, with the library's message box.
TEST(ToolInputs, JsonOfARefusedFileCarriesItsKindMagicVersionAndBoxes) {
    const std::string refused = sample(kRefusedSensor);
    const ChildRun run = tool({"info", "--json", refused});
    EXPECT_EQ(run.status, 1);
    const json all = parsed(run);
    ASSERT_EQ(all.size(), 1u);
    const json& entry = all.at(0);
    EXPECT_EQ(entry.at("code"), "refused-version");
    EXPECT_EQ(entry.at("kind"), "sensor");
    EXPECT_EQ(entry.at("magic"), "MEGSENSORQV");
    EXPECT_EQ(entry.at("version"), 20190201);
    EXPECT_EQ(entry.at("boxes"), json::array({"Wrong file format!!?"}));
    EXPECT_TRUE(hasLine(run.err, "fluxgrid: " + refused +
                                     ": version 20190201 of a sensor file is refused (accepted: "
                                     "20080101, 20091117, 20140513 and 20200210)"));
}

TEST(ToolInputs, JsonOfATruncatedFileCarriesTheKindAndVersionOfItsFrame) {
    const ChildRun run = tool({"info", "--json", sample(kTruncatedSensor)});
    const json all = parsed(run);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all.at(0).at("code"), "truncated");
    EXPECT_EQ(all.at(0).at("kind"), "sensor");
    EXPECT_EQ(all.at(0).at("version"), 20140513);
}

TEST(ToolInputs, MigrateGoesOnPastAFolderAndAFifoAndPrintsItsSummary) {
    ScratchDir scratch;
    const std::string fifo = makeFifo(scratch, "fifo.sensor");
    const FifoFeeder yes(fifo);
    const std::string folder = scratch.file("folder.sensor");
    fs::create_directory(folder);
    const std::string first = scratch.write("first.sensor", bytesOf(sample(kOldSensor)));
    const std::string second = scratch.write("second.sensor", bytesOf(sample(kOldSensor)));
    const ChildRun run =
        tool({"migrate", "--out-dir", scratch.file("out"), first, folder, fifo, second},
             ChildStreams().within(std::chrono::seconds(20)));
    ASSERT_FALSE(run.timedOut);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(linesOf(run.out).back(), "2 migrated, 0 already current, 2 failed");
    EXPECT_TRUE(
        hasLine(run.err, "fluxgrid: " + folder + ": not a regular file: a folder; left untouched"));
    EXPECT_TRUE(
        hasLine(run.err, "fluxgrid: " + fifo + ": not a regular file: a FIFO; left untouched"));
    EXPECT_TRUE(fs::is_regular_file(scratch.file("out/second.sensor")));
}

// ---------------------------------------------------------------------------
// Standard input

TEST(ToolInputs, DashReadsAFileHandedThroughAPipe) {
    const std::string coil = fluxgrid::test::slurpText(sample(kCoil));
    const ChildRun fromPipe = tool({"info", "--json", "-"}, ChildStreams().piped(coil));
    const ChildRun fromName = tool({"info", "--json", sample(kCoil)});
    EXPECT_EQ(fromPipe.status, 0) << fromPipe.err;
    json piped = parsed(fromPipe);
    json named = parsed(fromName);
    ASSERT_EQ(piped.size(), 1u);
    ASSERT_EQ(named.size(), 1u);
    EXPECT_EQ(piped.at(0).at("file"), "-");
    piped.at(0).erase("file");
    named.at(0).erase("file");
    EXPECT_EQ(piped, named);
}

TEST(ToolInputs, DashReadsStandardInputRedirectedFromAFile) {
    const ChildRun run = tool({"info", "-"}, ChildStreams().input(sample(kOldSensor)));
    EXPECT_EQ(run.status, 0) << run.err;
    const std::vector<std::string> lines = linesOf(run.out);
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines.at(0), "-");
    EXPECT_EQ(lines.at(2), "  version:       20080101 (newest is 20200210)");
}

TEST(ToolInputs, EndlessStandardInputStopsAtTheLimitWithBoundedMemory) {
    const ChildRun run = tool({"info", "--max-size", "4M", "-"},
                              ChildStreams().input("/dev/zero").within(std::chrono::seconds(20)));
    ASSERT_FALSE(run.timedOut);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "fluxgrid: -: larger than the limit of 4194304 bytes\n");
    EXPECT_LT(run.maxResidentKiB, kBoundedKiB);
}

TEST(ToolInputs, StandardInputFromAFifoFedForeverStopsAtTheLimit) {
    ScratchDir scratch;
    const std::string fifo = makeFifo(scratch, "endless");
    const FifoFeeder yes(fifo);
    const ChildRun run = tool({"info", "--json", "--max-size", "64K", "-", sample(kCoil)},
                              ChildStreams().input(fifo).within(std::chrono::seconds(20)));
    ASSERT_FALSE(run.timedOut);
    EXPECT_EQ(run.status, 1);
    const json all = parsed(run);
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all.at(0).at("file"), "-");
    EXPECT_EQ(all.at(0).at("code"), "too-large");
    EXPECT_EQ(all.at(0).at("error"), "larger than the limit of 65536 bytes");
    EXPECT_EQ(all.at(1).at("kind"), "coil");
}

TEST(ToolInputs, RunningOutOfMemoryFailsThatInputAloneAndNamesIt) {
    if (kAddressSanitizer) {
        GTEST_SKIP() << "a limit on the address space stops the address sanitizer";
    }
    const ChildRun run = tool({"info", "--max-size", "4G", "-", sample(kCoil)},
                              ChildStreams()
                                  .input("/dev/zero")
                                  .memoryLimit(rlim_t{256} << 20)
                                  .within(std::chrono::seconds(60)));
    ASSERT_FALSE(run.timedOut);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err,
              "fluxgrid: -: not enough memory to read it (within the limit of 4294967296 "
              "bytes)\n");
    EXPECT_TRUE(hasLine(run.out, sample(kCoil)));
}

TEST(ToolInputs, MaxSizeRefusesLargerFilesAndTakesSuffixes) {
    // The sample coil is 824 bytes long.
    const ChildRun under = tool({"info", "--max-size", "823", sample(kCoil)});
    EXPECT_EQ(under.status, 1);
    EXPECT_EQ(under.err, "fluxgrid: " + sample(kCoil) + ": larger than the limit of 823 bytes\n");
    const ChildRun exact = tool({"info", "--max-size", "824", sample(kCoil)});
    EXPECT_EQ(exact.status, 0) << exact.err;
    const ChildRun suffixed =
        tool({"info", "--max-size", "1K", "-"}, ChildStreams().input(sample(kCoil)));
    EXPECT_EQ(suffixed.status, 0) << suffixed.err;
    const ChildRun small =
        tool({"info", "--max-size", "0k", "-"}, ChildStreams().input(sample(kCoil)));
    EXPECT_EQ(small.err, "fluxgrid: -: larger than the limit of 0 bytes\n");
}

TEST(ToolInputs, MaxSizeIsDecimalEvenWithLeadingZeros) {
    // 010 is ten bytes, not eight: the sample coil (824 bytes) is refused
    // with the limit in decimal.
    const ChildRun run = tool({"info", "--max-size", "010", sample(kCoil)});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "fluxgrid: " + sample(kCoil) + ": larger than the limit of 10 bytes\n");
    const ChildRun padded = tool({"info", "--max-size", "0824", sample(kCoil)});
    EXPECT_EQ(padded.status, 0) << padded.err;
}

TEST(ToolInputs, MaxSizeSuffixesArePowersOf1024InEitherCase) {
    const std::vector<std::pair<std::string, std::string>> sizes = {
        {"1k", "1024"}, {"1K", "1024"}, {"2m", "2097152"}, {"2M", "2097152"}};
    for (const auto& [size, bytes] : sizes) {
        // /dev/zero as standard input goes on past the limit, which the
        // refusal names.
        const ChildRun run =
            tool({"info", "--max-size", size, "-"},
                 ChildStreams().input("/dev/zero").within(std::chrono::seconds(60)));
        EXPECT_EQ(run.status, 1) << size;
        EXPECT_EQ(run.err, "fluxgrid: -: larger than the limit of " + bytes + " bytes\n") << size;
    }
    for (const std::string size : {"1g", "1G", "1t", "1T"}) {
        EXPECT_EQ(tool({"info", "--max-size", size, sample(kCoil)}).status, 0) << size;
    }
}

TEST(ToolInputs, MaxSizeInHexOrWithAnUnknownSuffixIsBadUsage) {
    for (const std::string size : {"0x10", "0X10", "1e3", "10KB", "10 K", "+10", "1P", "10.5",
                                   "18446744073709551616", "17179869184G"}) {
        const ChildRun run = tool({"info", "--max-size", size, sample(kCoil)});
        EXPECT_EQ(run.status, 2) << size;
        EXPECT_TRUE(run.err.find("expects a number of bytes") != std::string::npos)
            << size << ": " << run.err;
    }
}

TEST(ToolInputs, MaxSizeThatIsNoSizeIsBadUsage) {
    for (const std::string size : {"lots", "-5", "12 parsecs", ""}) {
        const ChildRun run = tool({"info", "--max-size", size, sample(kCoil)});
        EXPECT_EQ(run.status, 2) << size;
        EXPECT_NE(run.err, "") << size;
    }
}

// ---------------------------------------------------------------------------
// Names and contents that are not plain text

TEST(ToolInputs, JsonStaysValidForANameThatIsNotUtf8) {
    ScratchDir scratch;
    const std::string name = "odd\xff\xfe.coil";
    const std::string path = scratch.write(name, bytesOf(sample(kCoil)));
    const std::string missing = scratch.file("gone\xe9.coil");
    const ChildRun run = tool({"info", "--json", path, missing});
    EXPECT_EQ(run.status, 1);
    const json all = parsed(run);
    ASSERT_EQ(all.size(), 2u);
    const std::string shown = scratch.file("odd\xef\xbf\xbd\xef\xbf\xbd.coil");
    EXPECT_EQ(all.at(0).at("file"), shown);
    EXPECT_EQ(all.at(0).at("kind"), "coil");
    std::string hex;
    for (const unsigned char c : path) {
        static constexpr char kDigits[] = "0123456789abcdef";
        hex += kDigits[c >> 4];
        hex += kDigits[c & 0xf];
    }
    EXPECT_EQ(all.at(0).at("file_bytes"), hex);
    EXPECT_EQ(all.at(1).at("code"), "missing");
    EXPECT_TRUE(all.at(1).contains("file_bytes"));
}

TEST(ToolInputs, JsonOfAPlainNameHasNoRawBytes) {
    const json all = parsed(tool({"info", "--json", sample(kCoil)}));
    ASSERT_EQ(all.size(), 1u);
    EXPECT_FALSE(all.at(0).contains("file_bytes"));
}

TEST(ToolInputs, JsonStaysValidForTextFieldsWithBrokenSurrogatesAndControls) {
    ScratchDir scratch;
    CMagCoilqv coil;
    const char16_t name[] = {u'a', 0xD800, u'"', u'\\', u'\n', 0x0001, 0xDC00, u'z'};
    coil.coilName = CString(name, std::size(name));
    const std::string path = scratch.write(
        "odd.coil", fluxgrid::test::storeToBytes([&](CArchive& ar) { coil.serializeqv(ar); }));
    const ChildRun run = tool({"info", "--json", path});
    EXPECT_EQ(run.status, 0) << run.err;
    const json all = parsed(run);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all.at(0).at("object").at("coilName"), "a\xef\xbf\xbd\"\\\n\x01\xef\xbf\xbdz");
}

// ---------------------------------------------------------------------------
// A standard output that takes nothing

TEST(ToolInputs, EveryCommandWritingToAFullStandardOutputSaysSoAndFails) {
    ScratchDir scratch;
    const std::vector<std::vector<std::string>> commands = {
        {"--version"},
        {"--help"},
        {"migrate", "--help"},
        {"info", sample(kCoil)},
        {"info", "--json", sample(kCoil)},
        {"info", "--json", sample(kCoil), sample("no-such-file.coil")},
        {"layout", "list"},
        {"layout", "show", "megLayout32"},
        {"layout", "export", "megLayout32", "--format", "csv"},
        {"layout", "export", "eegNet260", "--format", "elc", "-o", "-"},
        {"migrate", "--out-dir", scratch.file("out"), sample(kOldSensor)},
    };
    for (const auto& command : commands) {
        std::string shown;
        for (const std::string& arg : command) {
            shown += arg + " ";
        }
        SCOPED_TRACE(shown);
        const ChildRun run = tool(command, ChildStreams().output("/dev/full"));
        EXPECT_EQ(run.status, 1);
        EXPECT_TRUE(
            hasLine(run.err, "fluxgrid: error writing standard output: No space left on device"))
            << run.err;
    }
}

TEST(ToolInputs, FullStandardOutputDuringMigrateStillMigratesTheFiles) {
    ScratchDir scratch;
    const ChildRun run = tool({"migrate", "--out-dir", scratch.file("out"), sample(kOldSensor)},
                              ChildStreams().output("/dev/full"));
    EXPECT_EQ(run.status, 1);
    const auto migrated = fluxgrid::loadFile(scratch.file("out/" + kOldSensor));
    ASSERT_TRUE(migrated.ok()) << migrated.error().describe();
    EXPECT_EQ(migrated->version, 20200210);
}

}  // namespace
