// `fluxgrid check` and `fluxgrid view` run as a user runs them, over sensor
// files built here with exactly the defects they should find.
#include <fluxgrid/fluxgrid.h>
#include <fluxgrid/geometry/Check.h>
#include <fluxgrid/io/Files.h>

#include "support/ProgramRun.h"
#include "support/ScratchDir.h"
#include "support/SensorSets.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using fluxgrid::test::ProgramRun;
using fluxgrid::test::ScratchDir;

const std::string kTool = FLUXGRID_TOOL_PATH;
const fs::path kData = FLUXGRID_SAMPLE_DATA;

ProgramRun tool(const std::vector<std::string>& args) {
    return fluxgrid::test::runProgram(kTool, args);
}

// Stores each sensor as "NAME.sensor" in `dir`.
void writeSet(const fs::path& dir, std::vector<CMEGSensorqv>& sensors) {
    fs::create_directories(dir);
    for (CMEGSensorqv& sensor : sensors) {
        const fs::path path = dir / (sensor.snsRawName.ToUtf8() + ".sensor");
        ASSERT_TRUE(fluxgrid::storeFile(path, sensor).ok()) << path;
    }
}

// Turns the first channel's first coil inward in the dewar frame.
void pointInward(CMEGSensorqv& sensor) {
    CMagCoilqv& coil = fluxgrid::test::squidOf(sensor).coilDewar[0];
    for (int k = 0; k < 3; ++k) {
        coil.oriP4[k] = -coil.oriP4[k];
    }
}

std::vector<std::string> codesOf(const nlohmann::json& report) {
    std::vector<std::string> codes;
    for (const nlohmann::json& finding : report["findings"]) {
        codes.push_back(finding["code"]);
    }
    return codes;
}

class ToolCheck : public ::testing::Test {
  protected:
    ScratchDir scratch;
    fs::path set = scratch.path() / "set";
    std::vector<CMEGSensorqv> helmet = fluxgrid::test::squidHelmet(24, 100.0, 50.0);
};

TEST_F(ToolCheck, ACleanSetExitsZeroWithASummaryAndNoFinding) {
    writeSet(set, helmet);
    const ProgramRun run = tool({"check", set.string()});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.substr(0, 6), "error ");
    EXPECT_EQ(run.out.find("\nerror "), std::string::npos);
    EXPECT_NE(
        run.out.find("24 channels in 24 files, frame dewar, mm: 0 errors, 0 warnings, 0 notes"),
        std::string::npos)
        << run.out;
}

TEST_F(ToolCheck, AnInwardChannelIsAnErrorLineAndExitOne) {
    pointInward(helmet[3]);
    writeSet(set, helmet);
    const ProgramRun run = tool({"check", set.string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.out.find("error orientation-inward MEG004 ("), std::string::npos) << run.out;
}

TEST_F(ToolCheck, JsonHoldsTheCountsAndEveryFindingWithItsFileAndChannel) {
    pointInward(helmet[3]);
    writeSet(set, helmet);
    const ProgramRun run = tool({"check", "--json", set.string()});
    EXPECT_EQ(run.status, 1);
    const nlohmann::json report = nlohmann::json::parse(run.out);
    EXPECT_EQ(report["files"], 24);
    EXPECT_EQ(report["channels"], 24);
    EXPECT_EQ(report["errors"], report["findings"].size() - report["warnings"].get<int>() -
                                    report["notes"].get<int>());
    ASSERT_FALSE(report["findings"].empty());
    const nlohmann::json& first = report["findings"][0];
    EXPECT_EQ(first["severity"], "error");
    EXPECT_EQ(first["code"], "orientation-inward");
    EXPECT_EQ(first["channel"], "MEG004");
    EXPECT_EQ(first["file"], (set / "MEG004.sensor").string());
    EXPECT_NE(first["message"].get<std::string>().find("degrees from outward"), std::string::npos);
    EXPECT_FALSE(first["values"].empty());
    EXPECT_DOUBLE_EQ(report["sphere"]["radius"].get<double>(), 100.0);
}

TEST_F(ToolCheck, AFileThatDoesNotLoadIsAnErrorAndTheRestIsStillChecked) {
    pointInward(helmet[0]);
    writeSet(set, helmet);
    fs::copy_file(kData / "truncated-sensor-20140513.sensor", set / "zz-truncated.sensor");
    const ProgramRun run = tool({"check", "--json", set.string()});
    EXPECT_EQ(run.status, 1);
    const std::vector<std::string> codes = codesOf(nlohmann::json::parse(run.out));
    ASSERT_EQ(codes.size(), 2u);
    EXPECT_EQ(codes[0], "load-truncated");
    EXPECT_EQ(codes[1], "orientation-inward");
}

TEST_F(ToolCheck, NoSensorAtAllIsAnErrorNeverACleanExit) {
    fs::create_directories(set);
    const ProgramRun run = tool({"check", set.string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.out.find("error no-sensors"), std::string::npos) << run.out;
}

TEST_F(ToolCheck, StrictFailsOnWarningsToo) {
    CMagCoilqv& coil = fluxgrid::test::squidOf(helmet[2]).coilDewar[0];
    coil.oriP4[0] *= 1.001;  // off unit length by about 1e-3: a warning
    writeSet(set, helmet);
    EXPECT_EQ(tool({"check", set.string()}).status, 0);
    const ProgramRun strict = tool({"check", "--strict", set.string()});
    EXPECT_EQ(strict.status, 1);
    EXPECT_NE(strict.out.find("warning orientation-not-normalised MEG003"), std::string::npos)
        << strict.out;
}

TEST_F(ToolCheck, TheFrameJudgedIsTheOneAsked) {
    // The dewar frame holds the defect, the work frame a copy of it made
    // before it: judged in the work frame, the set is clean.
    for (CMEGSensorqv& sensor : helmet) {
        sensor.setCoilsDewar2work();
    }
    pointInward(helmet[5]);
    writeSet(set, helmet);
    EXPECT_EQ(tool({"check", "--frame", "work", set.string()}).status, 0);
    EXPECT_EQ(tool({"check", "--frame", "dewar", set.string()}).status, 1);
}

TEST_F(ToolCheck, UnknownFrameIsAUsageError) {
    writeSet(set, helmet);
    EXPECT_EQ(tool({"check", "--frame", "mri", set.string()}).status, 2);
    EXPECT_EQ(tool({"check"}).status, 2);
}

TEST_F(ToolCheck, EverySampleSensorAndHeadLocalizationPassesAlone) {
    for (const auto& entry : fs::directory_iterator(kData)) {
        const std::string name = entry.path().filename().string();
        const bool sensor = entry.path().extension() == ".sensor";
        if (!sensor || name.find("refused") != std::string::npos ||
            name.find("truncated") != std::string::npos) {
            continue;
        }
        const ProgramRun run = tool({"check", entry.path().string()});
        EXPECT_EQ(run.status, 0) << name << "\n" << run.out;
    }
}

TEST_F(ToolCheck, EverySampleHeadLocalizationPassesInItsOwnUnit) {
    int judged = 0;
    for (const auto& entry : fs::directory_iterator(kData)) {
        if (entry.path().extension() != ".headloc") {
            continue;
        }
        auto loaded = fluxgrid::loadFile(entry.path());
        ASSERT_TRUE(loaded.ok()) << loaded.error().describe();
        auto* head = loaded->get<CHeadLocalizationqv>();
        ASSERT_NE(head, nullptr);
        const fluxgrid::GeometryReport report =
            fluxgrid::checkGeometry({}, fluxgrid::CheckedHead{*head, entry.path().string()});
        EXPECT_EQ(report.errors, 0) << entry.path();
        EXPECT_TRUE(report.headUnit.has_value());
        head->cleanFiducialPA();
        head->cleanFiducialPARaw();
        head->cleanFiducialPt();
        ++judged;
    }
    EXPECT_EQ(judged, 3);
}

TEST_F(ToolCheck, ViewOfThreeHundredSixChannelsIsOneSelfContainedPageUnderOneMegabyte) {
    std::vector<CMEGSensorqv> large = fluxgrid::test::squidHelmet(306, 100.0, 50.0);
    pointInward(large[7]);
    writeSet(set, large);
    const fs::path page = scratch.path() / "view.html";
    const ProgramRun run = tool({"view", set.string(), "-o", page.string()});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_LT(fs::file_size(page), 1u << 20);
    std::ifstream in(page);
    const std::string html((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(html.find("http://"), std::string::npos);
    EXPECT_EQ(html.find("https://"), std::string::npos);
    EXPECT_EQ(html.find("<script src"), std::string::npos);
    EXPECT_EQ(html.find("<link"), std::string::npos);
    EXPECT_NE(html.find("\"code\":\"orientation-inward\""), std::string::npos);
    EXPECT_NE(html.find("\"name\":\"MEG306\""), std::string::npos);
}

}  // namespace
