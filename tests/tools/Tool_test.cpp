// Runs the built fluxgrid tool against the sample files of examples/data
// and checks what it prints, what it writes and what it leaves alone. Every
// object the tool reports on is loaded here a second time through the
// library, so that the tool's output is held against the library's view.
#include <fluxgrid/fluxgrid.h>

#include "support/HardwareRecords.h"
#include "support/Harness.h"
#include "support/ProgramRun.h"
#include "support/ScratchDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using fluxgrid::test::ScratchDir;
using nlohmann::json;

const std::string kTool = FLUXGRID_TOOL_PATH;
const fs::path kData = FLUXGRID_SAMPLE_DATA;
const fs::path kOutput = FLUXGRID_TOOL_OUTPUT;

std::string sample(const std::string& name) {
    return (kData / name).string();
}

using ToolRun = fluxgrid::test::ProgramRun;
using fluxgrid::test::linesOf;
using fluxgrid::test::runProgram;

std::vector<BYTE> bytesOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<BYTE>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

ToolRun tool(const std::vector<std::string>& args) {
    return runProgram(kTool, args);
}

// ---------------------------------------------------------------------------
// Loading through the library, here in the test.

template <class Entry>
int loadWith(const fs::path& path, Entry entry) {
    fluxgrid::test::MessageBoxRecorder boxes;
    CFile file(path.c_str(), CFile::modeRead);
    CArchive ar(&file, CArchive::load);
    const int result = entry(ar);
    EXPECT_TRUE(boxes.boxes().empty()) << path;
    return result;
}

// ---------------------------------------------------------------------------
// JSON against objects, field by field.

void expectNumber(const json& j, double value, const std::string& where) {
    SCOPED_TRACE(where);
    if (std::isnan(value)) {
        EXPECT_EQ(j, "NaN");
    } else if (std::isinf(value)) {
        EXPECT_EQ(j, value > 0 ? "Infinity" : "-Infinity");
    } else {
        ASSERT_TRUE(j.is_number()) << j;
        EXPECT_EQ(std::bit_cast<std::uint64_t>(j.get<double>()),
                  std::bit_cast<std::uint64_t>(value))
            << j << " against " << value;
    }
}

template <std::size_t N>
void expectNumbers(const json& j, const double (&values)[N], const std::string& where) {
    ASSERT_EQ(j.size(), N) << where;
    for (std::size_t i = 0; i < N; ++i) {
        expectNumber(j.at(i), values[i], where + "[" + std::to_string(i) + "]");
    }
}

template <std::size_t N>
void expectInts(const json& j, const int (&values)[N], const std::string& where) {
    ASSERT_EQ(j.size(), N) << where;
    for (std::size_t i = 0; i < N; ++i) {
        EXPECT_EQ(j.at(i).get<int>(), values[i]) << where << "[" << i << "]";
    }
}

void expectText(const json& j, const CString& text, const std::string& where) {
    EXPECT_EQ(j.get<std::string>(), text.ToUtf8()) << where;
}

void expectPairs(const json& j, const double (&table)[12][2][3], const std::string& where) {
    ASSERT_EQ(j.size(), 12u) << where;
    for (int g = 0; g < 12; ++g) {
        for (int k = 0; k < 2; ++k) {
            expectNumbers(j.at(g).at(k), table[g][k],
                          where + "[" + std::to_string(g) + "][" + std::to_string(k) + "]");
        }
    }
}

void expectElement(const json& j, const CBscMagSns& e, const std::string& where) {
    expectNumbers(j.at("vctXYRD"), e.vctXYRD, where + ".vctXYRD");
    expectText(j.at("coilName"), e.coilName, where + ".coilName");
    expectNumbers(j.at("posP4"), e.posP4, where + ".posP4");
    expectNumbers(j.at("oriP4"), e.oriP4, where + ".oriP4");
    expectNumbers(j.at("nmlDirXYZW"), e.nmlDirXYZW, where + ".nmlDirXYZW");
    expectNumbers(j.at("axisRotate"), e.axisRotate, where + ".axisRotate");
    expectNumber(j.at("rotateRad"), e.rotateRad, where + ".rotateRad");
    expectNumber(j.at("rotateDeg"), e.rotateDeg, where + ".rotateDeg");
    for (int r = 0; r < 4; ++r) {
        expectNumbers(j.at("auxRows").at(r), e.auxRows[r], where + ".auxRows");
    }
    EXPECT_EQ(j.at("coilAuxNo").get<int>(), e.coilAuxNo) << where;
    expectPairs(j.at("pairTable"), e.pairTable, where + ".pairTable");
    EXPECT_EQ(j.at("coilAuxNo2").get<int>(), e.coilAuxNo2) << where;
    EXPECT_EQ(j.at("coilTurns").get<int>(), e.coilTurns) << where;
    expectNumber(j.at("coilAuxValue"), e.coilAuxValue, where + ".coilAuxValue");
    expectNumber(j.at("coilArea"), e.coilArea, where + ".coilArea");
    expectNumber(j.at("magApha"), e.magApha, where + ".magApha");
    expectNumber(j.at("unitScale"), e.unitScale, where + ".unitScale");
    EXPECT_EQ(j.at("coilShape").get<int>(), e.coilShape) << where;
    expectNumber(j.at("coilAuxValue2"), e.coilAuxValue2, where + ".coilAuxValue2");
    expectNumber(j.at("coilAuxValue3"), e.coilAuxValue3, where + ".coilAuxValue3");
}

void expectVapor(const json& j, const CMagVapor& v, const std::string& where) {
    expectElement(j, v, where);
    EXPECT_EQ(j.at("vaporAuxNo").get<int>(), v.vaporAuxNo) << where;
    EXPECT_EQ(j.at("vaporShape").get<int>(), v.vaporShape) << where;
    expectPairs(j.at("vaporPairTable"), v.vaporPairTable, where + ".vaporPairTable");
    EXPECT_EQ(j.at("vaporAuxNo2").get<int>(), v.vaporAuxNo2) << where;
}

void expectBlock(const json& j, const CMegGrdBsc& b) {
    expectText(j.at("hardwareName"), b.hardwareName, "hardwareName");
    EXPECT_EQ(j.at("hardwareNo").get<int>(), b.hardwareNo);
    expectNumber(j.at("neuromagFactor"), b.neuromagFactor, "neuromagFactor");
    expectNumber(j.at("gainOffset"), b.gainOffset, "gainOffset");
    expectNumber(j.at("scaleConstant"), b.scaleConstant, "scaleConstant");
    expectNumber(j.at("properGain"), b.properGain, "properGain");
    expectNumber(j.at("secondGain"), b.secondGain, "secondGain");
    expectNumber(j.at("thirdGain"), b.thirdGain, "thirdGain");
    expectNumber(j.at("totalGain"), b.totalGain, "totalGain");
    EXPECT_EQ(j.at("gradOrderNo").get<int>(), b.gradOrderNo);
    EXPECT_EQ(j.at("gradAuxNo").get<int>(), b.gradAuxNo);
    EXPECT_EQ(j.at("realIdealCoefMode").get<bool>(), b.realIdealCoefMode);
    EXPECT_EQ(j.at("adaptiveBalance").get<bool>(), b.adaptiveBalance);
    expectNumber(j.at("auxValue1"), b.auxValue1, "auxValue1");
    expectNumber(j.at("auxValue2"), b.auxValue2, "auxValue2");
    expectNumbers(j.at("auxVectorA"), b.auxVectorA, "auxVectorA");
    expectNumbers(j.at("auxVectorB"), b.auxVectorB, "auxVectorB");
    expectInts(j.at("auxFlags"), b.auxFlags, "auxFlags");
}

void expectSquid(const json& j, const CMegSquid& r) {
    expectBlock(j, r);
    EXPECT_EQ(j.at("squidAuxNo").get<int>(), r.squidAuxNo);
    EXPECT_EQ(j.at("totalCoils").get<int>(), r.totalCoils);
    EXPECT_EQ(j.at("currentCoilID").get<int>(), r.currentCoilID);
    for (int i = 0; i < 8; ++i) {
        expectElement(j.at("coilDewar").at(i), r.coilDewar[i], "coilDewar");
        expectElement(j.at("coilHead").at(i), r.coilHead[i], "coilHead");
        expectElement(j.at("coilWork").at(i), r.coilWork[i], "coilWork");
    }
}

void expectOpm(const json& j, const CMegOpm& r) {
    expectBlock(j, r);
    EXPECT_EQ(j.at("totalVapors").get<int>(), r.totalVapors);
    EXPECT_EQ(j.at("currentVaporID").get<int>(), r.currentVaporID);
    for (int i = 0; i < 8; ++i) {
        expectVapor(j.at("vaporDewar").at(i), r.vaporDewar[i], "vaporDewar");
        expectVapor(j.at("vaporHead").at(i), r.vaporHead[i], "vaporHead");
        expectVapor(j.at("vaporWork").at(i), r.vaporWork[i], "vaporWork");
    }
}

void expectSensor(const json& j, const CMEGSensor& s) {
    const json& geom = j.at("geom");
    EXPECT_EQ(geom.at("geomWordA").get<int>(), s.geomWordA);
    EXPECT_EQ(geom.at("geomWordB").get<int>(), s.geomWordB);
    EXPECT_EQ(geom.at("geomWordC").get<int>(), s.geomWordC);
    EXPECT_EQ(geom.at("geomFlag").get<int>(), s.geomFlag);
    expectText(geom.at("geomTextA"), s.geomTextA, "geomTextA");
    expectText(geom.at("geomTextB"), s.geomTextB, "geomTextB");
    expectText(geom.at("geomTextC"), s.geomTextC, "geomTextC");
    expectText(geom.at("geomTextD"), s.geomTextD, "geomTextD");
    EXPECT_EQ(geom.at("geomTailA").get<int>(), s.geomTailA);
    EXPECT_EQ(geom.at("geomTailB").get<int>(), s.geomTailB);
    EXPECT_EQ(geom.at("geomTailC").get<int>(), s.geomTailC);
    EXPECT_EQ(j.at("backupNo").get<int>(), s.backupNo);
    expectText(j.at("snsRawName"), s.snsRawName, "snsRawName");
    expectText(j.at("snsShowName"), s.snsShowName, "snsShowName");
    expectText(j.at("snsAuxName"), s.snsAuxName, "snsAuxName");
    EXPECT_EQ(j.at("snsAuxNo").get<int>(), s.snsAuxNo);
    EXPECT_EQ(j.at("snsFileNo").get<int>(), s.snsFileNo);
    EXPECT_EQ(j.at("sensorType").get<int>(), s.sensorType);
    EXPECT_EQ(j.at("hardwareType").get<int>(), s.hardwareType);
    expectNumbers(j.at("snsPos4"), s.snsPos4, "snsPos4");
    expectNumbers(j.at("snsOri4"), s.snsOri4, "snsOri4");
    expectNumbers(j.at("locSph"), s.locSph, "locSph");
    EXPECT_EQ(j.at("w12Evaluate").get<int>(), s.w12Evaluate);
    EXPECT_EQ(j.at("w12AuxNo").get<int>(), s.w12AuxNo);
    EXPECT_EQ(j.at("coefAuxNo").get<int>(), s.coefAuxNo);
    expectNumbers(j.at("w12Values"), s.w12Values, "w12Values");
    ASSERT_TRUE(s.getBscSns() != nullptr);
    if (s.hardwareType == 0) {
        EXPECT_EQ(j.at("hardware").at("recordKind"), "squid");
        expectSquid(j.at("hardware"), static_cast<const CMegSquidqv&>(*s.getBscSns()));
    } else {
        EXPECT_EQ(j.at("hardware").at("recordKind"), "opm");
        expectOpm(j.at("hardware"), static_cast<const CMegOpmqv&>(*s.getBscSns()));
    }
}

void expectFiducial(const json& j, const CFiducial& set) {
    for (int p = 0; p < 6; ++p) {
        const json& point = j.at("fidPts").at(p);
        const CFiduciaryPt& pt = set.fidPts[p];
        expectNumbers(point.at("ptValues"), pt.ptValues, "ptValues");
        expectNumber(point.at("ptExtra1"), pt.ptExtra1, "ptExtra1");
        expectNumber(point.at("ptExtra2"), pt.ptExtra2, "ptExtra2");
        expectNumbers(point.at("ptVector"), pt.ptVector, "ptVector");
        EXPECT_EQ(point.at("ptState1").get<int>(), pt.ptState1);
        EXPECT_EQ(point.at("ptState2").get<int>(), pt.ptState2);
        EXPECT_EQ(point.at("ptState3").get<int>(), pt.ptState3);
        expectNumber(point.at("ptExtra3"), pt.ptExtra3, "ptExtra3");
        EXPECT_EQ(point.at("ptState4").get<int>(), pt.ptState4);
        expectText(point.at("ptName"), pt.ptName, "ptName");
    }
    expectInts(j.at("fidState"), set.fidState, "fidState");
    expectNumber(j.at("fidExtra1"), set.fidExtra1, "fidExtra1");
    EXPECT_EQ(j.at("fidState5").get<int>(), set.fidState5);
    expectNumber(j.at("fidExtra2"), set.fidExtra2, "fidExtra2");
}

void expectSphere(const json& j, const CSphere& sphere) {
    expectNumbers(j.at("sphereValues"), sphere.sphereValues, "sphereValues");
    EXPECT_EQ(j.at("sphereState1").get<int>(), sphere.sphereState1);
    EXPECT_EQ(j.at("sphereState2").get<int>(), sphere.sphereState2);
    expectText(j.at("sphereName"), sphere.sphereName, "sphereName");
}

void expectList(const json& j, const CFiducialPtrArray& list) {
    ASSERT_EQ(j.size(), static_cast<std::size_t>(list.GetSize()));
    for (INT_PTR i = 0; i < list.GetSize(); ++i) {
        const HEAD_LOCATION_TRIAL* record = list.GetRecordAt(i);
        ASSERT_NE(record, nullptr);  // a file read builds records only
        const json& entry = j.at(i);
        EXPECT_EQ(entry.at("kind"), "record");
        expectNumber(entry.at("trialValue1"), record->trialValue1, "trialValue1");
        expectNumber(entry.at("trialValue2"), record->trialValue2, "trialValue2");
        expectNumber(entry.at("trialValue3"), record->trialValue3, "trialValue3");
        EXPECT_EQ(entry.at("trialTag").get<int>(), record->trialTag);
        expectFiducial(entry.at("trialFiducial"), record->trialFiducial);
    }
}

void expectHeadLocalization(const json& j, const CHeadLocalization& h) {
    EXPECT_EQ(j.at("headLocalType").get<int>(), h.headLocalType);
    EXPECT_EQ(j.at("headLocalParam").get<int>(), h.headLocalParam);
    EXPECT_EQ(j.at("fidWorkMode").get<int>(), h.fidWorkMode);
    expectFiducial(j.at("fiducialFirst"), h.fiducialFirst);
    expectFiducial(j.at("fiducialSecond"), h.fiducialSecond);
    expectFiducial(j.at("fiducialThird"), h.fiducialThird);
    expectList(j.at("fiducialPtRaw"), h.fiducialPtRaw);
    expectList(j.at("fiducialPARaw"), h.fiducialPARaw);
    expectList(j.at("fiducialPt"), h.fiducialPt);
    expectList(j.at("fiducialPA"), h.fiducialPA);
    EXPECT_EQ(j.at("headLocalizeTime").get<int>(), h.headLocalizeTime);
    EXPECT_EQ(j.at("fiducialAveraged").get<int>(), h.fiducialAveraged);
    expectFiducial(j.at("fiducialCurrent"), h.fiducialCurrent);
    expectSphere(j.at("sensorLocation"), h.sensorLocation);
    expectSphere(j.at("sensorRotation"), h.sensorRotation);
    expectNumber(j.at("headLocalSlot"), h.headLocalSlot, "headLocalSlot");
    expectSphere(j.at("sphereA"), h.sphereA);
    expectSphere(j.at("sphereB"), h.sphereB);
    for (int i = 0; i < 3; ++i) {
        expectSphere(j.at("spheresA").at(i), h.spheresA[i]);
        expectSphere(j.at("spheresB").at(i), h.spheresB[i]);
    }
    expectNumber(j.at("headLocalValue"), h.headLocalValue, "headLocalValue");
    expectText(j.at("headLocalText"), h.headLocalText, "headLocalText");
    ASSERT_EQ(j.at("headLocalLabels").size(),
              static_cast<std::size_t>(h.headLocalLabels.GetSize()));
    for (INT_PTR i = 0; i < h.headLocalLabels.GetSize(); ++i) {
        expectText(j.at("headLocalLabels").at(i), h.headLocalLabels[i], "headLocalLabels");
    }
}

// The one JSON document of `info --json` for one file.
json infoJson(const std::string& path) {
    const ToolRun run = tool({"info", "--json", path});
    EXPECT_EQ(run.status, 0) << run.err;
    const json all = json::parse(run.out);
    EXPECT_EQ(all.size(), 1u);
    EXPECT_EQ(all.at(0).at("file"), path);
    return all.at(0);
}

// Every filed field of two sensors, through the test support's checks.
void expectSameSensorFields(const CMEGSensor& expected, const CMEGSensor& actual) {
    EXPECT_EQ(expected.backupNo, actual.backupNo);
    EXPECT_EQ(expected.snsRawName, actual.snsRawName);
    EXPECT_EQ(expected.snsShowName, actual.snsShowName);
    EXPECT_EQ(expected.snsAuxName, actual.snsAuxName);
    EXPECT_EQ(expected.snsFileNo, actual.snsFileNo);
    EXPECT_EQ(expected.sensorType, actual.sensorType);
    EXPECT_EQ(expected.snsAuxNo, actual.snsAuxNo);
    for (int i = 0; i < 4; ++i) {
        EXPECT_BITS_EQ(expected.snsPos4[i], actual.snsPos4[i]);
        EXPECT_BITS_EQ(expected.snsOri4[i], actual.snsOri4[i]);
        EXPECT_BITS_EQ(expected.locSph[i], actual.locSph[i]);
    }
    EXPECT_EQ(expected.w12Evaluate, actual.w12Evaluate);
    EXPECT_EQ(expected.w12AuxNo, actual.w12AuxNo);
    EXPECT_EQ(expected.coefAuxNo, actual.coefAuxNo);
    for (int i = 0; i < 12; ++i) {
        EXPECT_BITS_EQ(expected.w12Values[i], actual.w12Values[i]);
    }
    EXPECT_EQ(expected.geomFlag, actual.geomFlag);
    ASSERT_EQ(expected.hardwareType, actual.hardwareType);
    ASSERT_NE(expected.getBscSns(), nullptr);
    ASSERT_NE(actual.getBscSns(), nullptr);
    if (expected.hardwareType == 0) {
        fluxgrid::test::expectSquidFiledFieldsEq(
            static_cast<const CMegSquidqv&>(*expected.getBscSns()),
            static_cast<const CMegSquidqv&>(*actual.getBscSns()));
    } else {
        fluxgrid::test::expectOpmFiledFieldsEq(static_cast<const CMegOpmqv&>(*expected.getBscSns()),
                                               static_cast<const CMegOpmqv&>(*actual.getBscSns()));
    }
}

std::int32_t versionInFile(const std::vector<BYTE>& bytes, std::size_t offset) {
    return static_cast<std::int32_t>(bytes.at(offset) | bytes.at(offset + 1) << 8 |
                                     bytes.at(offset + 2) << 16 |
                                     static_cast<std::uint32_t>(bytes.at(offset + 3)) << 24);
}

const std::vector<std::string> kOldSensors = {
    "sensor-squid-20080101.sensor", "sensor-squid-20091117.sensor", "sensor-squid-20140513.sensor"};
const std::vector<std::string> kCurrentSensors = {"sensor-squid-20200210.sensor",
                                                  "sensor-opm-20200210.sensor"};

// ---------------------------------------------------------------------------
// info

struct KindCase {
    const char* file;
    const char* kindLine;
    const char* versionLine;
};

TEST(ToolInfo, NamesTheKindAndVersionOfEverySampleFile) {
    const std::vector<KindCase> cases = {
        {"coil-20080102.coil", "coil record MEGCOILQV", "20080102 (newest is 20211230)"},
        {"coil-20091117.coil", "coil record MEGCOILQV", "20091117 (newest is 20211230)"},
        {"coil-20140513.coil", "coil record MEGCOILQV", "20140513 (newest is 20211230)"},
        {"coil-20211230.coil", "coil record MEGCOILQV", "20211230 (newest)"},
        {"vapor-20190121.vapor", "vapor cell record AMOPMQV", "20190121 (newest is 20211230)"},
        {"vapor-20211230.vapor", "vapor cell record AMOPMQV", "20211230 (newest)"},
        {"squid-20190201.squid", "SQUID record MSQUIDQV", "20190201 (newest)"},
        {"opm-20190201.opm", "OPM record MEGOPMQV", "20190201 (newest)"},
        {"sensor-squid-20080101.sensor", "sensor file MEGSENSORQV",
         "20080101 (newest is 20200210)"},
        {"sensor-squid-20091117.sensor", "sensor file MEGSENSORQV",
         "20091117 (newest is 20200210)"},
        {"sensor-squid-20140513.sensor", "sensor file MEGSENSORQV",
         "20140513 (newest is 20200210)"},
        {"sensor-squid-20200210.sensor", "sensor file MEGSENSORQV", "20200210 (newest)"},
        {"sensor-opm-20200210.sensor", "sensor file MEGSENSORQV", "20200210 (newest)"},
        {"headloc-20090606.headloc", "head localization file HEADLOCATIONTRIAL",
         "20090606 (newest is 20160320)"},
        {"headloc-20110217.headloc", "head localization file HEADLOCATIONTRIAL",
         "20110217 (newest is 20160320)"},
        {"headloc-20160320.headloc", "head localization file HEADLOCATIONTRIAL",
         "20160320 (newest)"},
    };
    for (const KindCase& c : cases) {
        SCOPED_TRACE(c.file);
        const ToolRun run = tool({"info", sample(c.file)});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, "");
        const auto lines = linesOf(run.out);
        ASSERT_GE(lines.size(), 3u);
        EXPECT_EQ(lines[0], sample(c.file));
        EXPECT_EQ(lines[1], std::string("  kind:          ") + c.kindLine);
        EXPECT_EQ(lines[2], std::string("  version:       ") + c.versionLine);
    }
}

// A file of `Kind` as the library stores a default object of its class.
template <fluxgrid::FileKind Kind>
std::vector<BYTE> defaultFileOf() {
    typename fluxgrid::FileObjectOf<Kind>::type object;
    fluxgrid::FileResult<std::vector<BYTE>> bytes = fluxgrid::storeBytes(object);
    if (!bytes) {
        throw std::runtime_error(bytes.error().describe());
    }
    return std::move(*bytes);
}

// One default file of every kind of the library's table, in its order.
std::vector<std::vector<BYTE>> defaultFileOfEveryKind() {
    return []<std::size_t... I>(std::index_sequence<I...>) {
        return std::vector<std::vector<BYTE>>{defaultFileOf<fluxgrid::kFileKinds[I].kind>()...};
    }
    (std::make_index_sequence<fluxgrid::kFileKinds.size()>{});
}

// The magics are ASCII letters.
std::string asciiOf(std::u16string_view text) {
    std::string ascii;
    for (char16_t c : text) {
        ascii += static_cast<char>(c);
    }
    return ascii;
}

TEST(ToolInfo, ShowsAFileOfEveryKindOfTheLibrarysTable) {
    const std::vector<std::vector<BYTE>> files = defaultFileOfEveryKind();
    ASSERT_EQ(files.size(), fluxgrid::kFileKinds.size());
    const ScratchDir dir;
    for (std::size_t i = 0; i < files.size(); ++i) {
        const fluxgrid::FileKindInfo& kind = fluxgrid::kFileKinds[i];
        SCOPED_TRACE(std::string(kind.word));
        const std::string path = dir.write("default." + std::string(kind.word), files[i]);

        const ToolRun text = tool({"info", path});
        EXPECT_EQ(text.status, 0) << text.err;
        EXPECT_EQ(text.err, "");
        const auto lines = linesOf(text.out);
        // The file's name, kind, version and size, then the summary of its
        // object.
        ASSERT_GT(lines.size(), 4u) << text.out;
        EXPECT_EQ(lines[0], path);
        EXPECT_EQ(lines[1],
                  "  kind:          " + std::string(kind.title) + " " + asciiOf(kind.magic));
        EXPECT_EQ(lines[2], "  version:       " + std::to_string(kind.written) + " (newest)");
        EXPECT_EQ(lines[3], "  size:          " + std::to_string(files[i].size()) + " bytes");

        const ToolRun asJson = tool({"info", "--json", path});
        EXPECT_EQ(asJson.status, 0) << asJson.err;
        const json entries = json::parse(asJson.out);
        ASSERT_EQ(entries.size(), 1u);
        EXPECT_EQ(entries.at(0).at("kind"), kind.word);
        EXPECT_EQ(entries.at(0).at("version"), kind.written);
    }
}

TEST(ToolInfo, SensorSummaryGivesNamesTypeHardwareGainsAndWorkFrame) {
    const ToolRun run = tool({"info", sample("sensor-squid-20140513.sensor")});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string expected[] = {
        "  names:         raw \"MLC3\", show \"MLC3\", aux \"megLayout21\"",
        "  type:          100 MEG_SNSR",
        "  hardware:      SQUID (hardwareType 0)",
        "  elements:      2 in use, current 0, shape Circle",
        "  gains:         proper 1.2, second 10, third 1, total 12 (as stored), offset 0.5",
        "  axial:         yes, baseline 50",
        "  work frame, 2 in use:",
        "    *0 \"MLC3.pickup\" pos (73.39218, 117.82791, 7.74994)       orn (0.8356284846, "
        "0.4800298732, -0.2670137761)",
    };
    const auto lines = linesOf(run.out);
    for (const std::string& line : expected) {
        EXPECT_NE(std::find(lines.begin(), lines.end(), line), lines.end()) << line;
    }
}

TEST(ToolInfo, HeadLocalizationSummaryGivesTypeStepsListsLocationAndRotation) {
    const ToolRun run = tool({"info", sample("headloc-20090606.headloc")});
    ASSERT_EQ(run.status, 0) << run.err;
    const auto lines = linesOf(run.out);
    const std::string expected[] = {
        "  type:          2, parameter 3, work mode 2",
        "  time steps:    3, current 2, averaged 1",
        "  lists:         fiducialPtRaw 0, fiducialPARaw 0, fiducialPt 0, fiducialPA 3, labels 3",
        "  location:      (0.025, -21.01, 0.015)",
    };
    for (const std::string& line : expected) {
        EXPECT_NE(std::find(lines.begin(), lines.end(), line), lines.end()) << line;
    }
}

TEST(ToolInfo, JsonOfEverySensorFileIsTheLoadedSensor) {
    for (const auto& names : {kOldSensors, kCurrentSensors}) {
        for (const std::string& name : names) {
            SCOPED_TRACE(name);
            const json doc = infoJson(sample(name));
            EXPECT_EQ(doc.at("kind"), "sensor");
            EXPECT_EQ(doc.at("magic"), "MEGSENSORQV");
            CMEGSensorqv sensor;
            ASSERT_EQ(loadWith(sample(name), [&](CArchive& ar) { return sensor.serializeqv(ar); }),
                      1);
            EXPECT_EQ(doc.at("version").get<int>(), versionInFile(bytesOf(sample(name)), 26));
            expectSensor(doc.at("object"), sensor);
        }
    }
}

TEST(ToolInfo, JsonOfElementAndHardwareRecordsIsTheLoadedRecord) {
    for (const char* name :
         {"coil-20080102.coil", "coil-20091117.coil", "coil-20140513.coil", "coil-20211230.coil"}) {
        SCOPED_TRACE(name);
        CMagCoilqv coil;
        ASSERT_EQ(loadWith(sample(name), [&](CArchive& ar) { return coil.serializeqv(ar); }), 1);
        const json doc = infoJson(sample(name));
        EXPECT_EQ(doc.at("kind"), "coil");
        expectElement(doc.at("object"), coil, "coil");
    }
    for (const char* name : {"vapor-20190121.vapor", "vapor-20211230.vapor"}) {
        SCOPED_TRACE(name);
        CMagVaporqv cell;
        ASSERT_EQ(loadWith(sample(name), [&](CArchive& ar) { return cell.serializeqv(ar); }), 1);
        const json doc = infoJson(sample(name));
        EXPECT_EQ(doc.at("kind"), "vapor");
        expectVapor(doc.at("object"), cell, "vapor");
    }
    CMegSquidqv squid;
    ASSERT_EQ(
        loadWith(sample("squid-20190201.squid"), [&](CArchive& ar) { return squid.serialize(ar); }),
        1);
    expectSquid(infoJson(sample("squid-20190201.squid")).at("object"), squid);
    CMegOpmqv opm;
    ASSERT_EQ(loadWith(sample("opm-20190201.opm"), [&](CArchive& ar) { return opm.serialize(ar); }),
              1);
    expectOpm(infoJson(sample("opm-20190201.opm")).at("object"), opm);
}

TEST(ToolInfo, JsonOfEveryHeadLocalizationFileIsTheLoadedObject) {
    for (const char* name :
         {"headloc-20090606.headloc", "headloc-20110217.headloc", "headloc-20160320.headloc"}) {
        SCOPED_TRACE(name);
        CHeadLocalizationqv h;
        ASSERT_EQ(loadWith(sample(name), [&](CArchive& ar) { return h.serializeqv(ar); }), 1);
        const json doc = infoJson(sample(name));
        EXPECT_EQ(doc.at("kind"), "headloc");
        expectHeadLocalization(doc.at("object"), h);
    }
}

TEST(ToolInfo, JsonWritesNonFiniteDoublesAsNamedStrings) {
    ScratchDir scratch;
    CMagCoilqv coil;
    coil.coilAuxValue2 = std::numeric_limits<double>::quiet_NaN();
    coil.coilAuxValue3 = -std::numeric_limits<double>::infinity();
    coil.coilArea = -0.0;
    const std::vector<BYTE> bytes =
        fluxgrid::test::storeToBytes([&](CArchive& ar) { coil.serializeqv(ar); });
    const std::string path = scratch.write("odd.coil", bytes);
    const json object = infoJson(path).at("object");
    EXPECT_EQ(object.at("coilAuxValue2"), "NaN");
    EXPECT_EQ(object.at("coilAuxValue3"), "-Infinity");
    expectNumber(object.at("coilArea"), -0.0, "coilArea");
}

TEST(ToolInfo, MissingFileIsOneLineNamingTheFileAndExitOne) {
    const std::string path = sample("no-such-file.sensor");
    const ToolRun run = tool({"info", path});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "fluxgrid: " + path + ": cannot open: No such file or directory\n");
}

TEST(ToolInfo, WrongKindTruncatedAndRefusedVersionEachGiveAMessageNamingTheFile) {
    const std::string wrong = sample("wrong-kind-fiducial-set.bin");
    const std::string truncated = sample("truncated-sensor-20140513.sensor");
    const std::string refused = sample("sensor-opm-20190201-refused.sensor");
    const std::string good = sample("coil-20211230.coil");
    const ToolRun run = tool({"info", wrong, truncated, refused, good});
    EXPECT_EQ(run.status, 1);
    // The good file is still described.
    EXPECT_EQ(linesOf(run.out).at(0), good);
    const std::vector<std::string> expected = {
        "fluxgrid: " + wrong +
            ": wrong kind: its magic \"FIDUCIALQV\" is none of MEGCOILQV, AMOPMQV, MSQUIDQV, "
            "MEGOPMQV, MEGSENSORQV, HEADLOCATIONTRIAL",
        "fluxgrid: " + truncated +
            ": truncated: the file ends inside its body (end of file after 1000 bytes)",
        // The library's own message box, with the file's name in front.
        refused + ": Wrong file format!!?",
        "fluxgrid: " + refused +
            ": version 20190201 of a sensor file is refused (accepted: 20080101, 20091117, "
            "20140513 and 20200210)",
    };
    EXPECT_EQ(linesOf(run.err), expected);
}

TEST(ToolInfo, JsonOfAFailedFileCarriesItsError) {
    const std::string truncated = sample("truncated-sensor-20140513.sensor");
    const ToolRun run = tool({"info", "--json", truncated});
    EXPECT_EQ(run.status, 1);
    const json all = json::parse(run.out);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all.at(0).at("file"), truncated);
    EXPECT_EQ(all.at(0).at("error"),
              "truncated: the file ends inside its body (end of file after 1000 bytes)");
}

// ---------------------------------------------------------------------------
// usage

TEST(ToolUsage, HelpOnEveryCommandExitsZero) {
    const std::vector<std::vector<std::string>> commands = {{"--help"},
                                                            {"info", "--help"},
                                                            {"migrate", "--help"},
                                                            {"layout", "--help"},
                                                            {"layout", "list", "--help"},
                                                            {"layout", "show", "--help"},
                                                            {"layout", "export", "--help"},
                                                            {"layout", "plot", "--help"},
                                                            {"demo", "--help"}};
    for (const auto& command : commands) {
        const ToolRun run = tool(command);
        EXPECT_EQ(run.status, 0) << command.front();
        EXPECT_NE(run.out.find("Usage:"), std::string::npos) << command.front();
    }
}

TEST(ToolUsage, BadUsageExitsTwo) {
    const std::vector<std::vector<std::string>> commands = {
        {},
        {"frobnicate"},
        {"info"},
        {"migrate", sample("sensor-squid-20080101.sensor")},
        {"migrate", "--in-place", "--out-dir", "x", sample("sensor-squid-20080101.sensor")},
        {"layout"},
        {"layout", "export", "megLayout21", "--format", "pdf"},
        {"layout", "plot", "megLayout21"},
    };
    for (const auto& command : commands) {
        const ToolRun run = tool(command);
        EXPECT_EQ(run.status, 2) << (command.empty() ? "(nothing)" : command.front());
        EXPECT_NE(run.err, "");
    }
}

// ---------------------------------------------------------------------------
// migrate

TEST(ToolMigrate, OldFilesLoadAsTheNewestWithTheSameFieldsAndCurrentOnesAreKept) {
    ScratchDir scratch;
    const std::string out = scratch.file("out");
    std::vector<std::string> args = {"migrate", "--out-dir", out};
    for (const auto& names : {kOldSensors, kCurrentSensors}) {
        for (const std::string& name : names) {
            args.push_back(sample(name));
        }
    }
    const ToolRun run = tool(args);
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(linesOf(run.out).back(), "3 migrated, 2 already current, 0 failed");
    EXPECT_NE(
        run.out.find("migrated  " + sample("sensor-squid-20080101.sensor") +
                     " (version 20080101 -> 20200210) -> " + out + "/sensor-squid-20080101.sensor"),
        std::string::npos);
    for (const auto& names : {kOldSensors, kCurrentSensors}) {
        for (const std::string& name : names) {
            SCOPED_TRACE(name);
            const fs::path migrated = fs::path(out) / name;
            EXPECT_EQ(versionInFile(bytesOf(migrated), 26), 20200210);
            CMEGSensorqv before;
            CMEGSensorqv after;
            ASSERT_EQ(loadWith(sample(name), [&](CArchive& ar) { return before.serializeqv(ar); }),
                      1);
            ASSERT_EQ(loadWith(migrated, [&](CArchive& ar) { return after.serializeqv(ar); }), 1);
            expectSameSensorFields(before, after);
        }
    }
    // A file that was current comes out byte for byte as it went in.
    EXPECT_EQ(bytesOf(fs::path(out) / "sensor-opm-20200210.sensor"),
              bytesOf(sample("sensor-opm-20200210.sensor")));
}

TEST(ToolMigrate, InPlaceRewritesOldFilesAndLeavesCurrentOnesAlone) {
    ScratchDir scratch;
    const std::string old = scratch.write("old.sensor", bytesOf(sample(kOldSensors[2])));
    const std::string current =
        scratch.write("current.sensor", bytesOf(sample(kCurrentSensors[0])));
    const auto modified = fs::last_write_time(current);
    const ToolRun run = tool({"migrate", "--in-place", old, current});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(linesOf(run.out).back(), "1 migrated, 1 already current, 0 failed");
    EXPECT_EQ(versionInFile(scratch.read("old.sensor"), 26), 20200210);
    EXPECT_EQ(scratch.read("current.sensor"), bytesOf(sample(kCurrentSensors[0])));
    EXPECT_EQ(fs::last_write_time(current), modified);
    // Nothing but the two files is left in the folder.
    EXPECT_EQ(std::distance(fs::directory_iterator(scratch.path()), fs::directory_iterator()), 2);
}

TEST(ToolMigrate, FailedInputsAreLeftByteForByteAndReportedInTheLibrarysWords) {
    ScratchDir scratch;
    const std::vector<std::string> bad = {"sensor-opm-20190201-refused.sensor",
                                          "truncated-sensor-20140513.sensor",
                                          "wrong-kind-fiducial-set.bin", "coil-20211230.coil"};
    std::vector<std::string> args = {"migrate", "--in-place"};
    for (const std::string& name : bad) {
        args.push_back(scratch.write(name, bytesOf(sample(name))));
    }
    args.push_back(scratch.write("good.sensor", bytesOf(sample(kOldSensors[0]))));
    const ToolRun run = tool(args);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(linesOf(run.out).back(), "1 migrated, 0 already current, 4 failed");
    for (const std::string& name : bad) {
        EXPECT_EQ(scratch.read(name), bytesOf(sample(name))) << name;
    }
    const auto err = linesOf(run.err);
    auto has = [&](const std::string& line) {
        return std::find(err.begin(), err.end(), line) != err.end();
    };
    EXPECT_TRUE(has(scratch.file(bad[0]) + ": Wrong file format!!?"));
    EXPECT_TRUE(
        has(scratch.file(bad[2]) + ": The opened file is not MEG sensor file or corrupted!"));
    EXPECT_TRUE(
        has(scratch.file(bad[3]) + ": The opened file is not MEG sensor file or corrupted!"));
    EXPECT_TRUE(has("fluxgrid: " + scratch.file(bad[1]) +
                    ": truncated: the file ends inside its body (end of file after 1000 "
                    "bytes); left untouched"));
    EXPECT_TRUE(has("fluxgrid: " + scratch.file(bad[3]) +
                    ": refused by the library: The opened file is not MEG sensor file or "
                    "corrupted!; left untouched"));
    EXPECT_EQ(versionInFile(scratch.read("good.sensor"), 26), 20200210);
}

// What CLI11 cannot check is still bad usage, said before any file is
// touched: where the outputs go, and the fault that a test puts in the way.
TEST(ToolMigrate, NeedsAPlaceForTheOutputsAndAFaultItKnows) {
    ScratchDir scratch;
    const std::vector<BYTE> original = bytesOf(sample(kOldSensors[0]));
    const std::string path = scratch.write("channel.sensor", original);
    const ToolRun nowhere = tool({"migrate", path});
    EXPECT_EQ(nowhere.status, 2);
    EXPECT_EQ(nowhere.out, "");
    EXPECT_EQ(nowhere.err,
              "migrate: one of --out-dir DIR or --in-place is required\n"
              "Run with --help for more information.\n");

    const std::string out = scratch.file("out");
    const ToolRun unknownFault =
        tool({"migrate", "--out-dir", out, "--inject-write-fault", "crash:10", path});
    EXPECT_EQ(unknownFault.status, 2);
    EXPECT_EQ(unknownFault.out, "");
    EXPECT_EQ(unknownFault.err,
              "--inject-write-fault: expects kill:N, nospace:N or stop:N\n"
              "Run with --help for more information.\n");
    EXPECT_FALSE(fs::exists(out));
    EXPECT_EQ(scratch.read("channel.sensor"), original);
}

// The write is interrupted by the process being killed (SIGKILL, so that
// no handler and no cleanup runs) after part of the new content has reached
// the temporary file: the file's name must still show the old content.
TEST(ToolMigrate, KilledWhileWritingLeavesTheOldFileWhole) {
    ScratchDir scratch;
    const std::vector<BYTE> original = bytesOf(sample(kOldSensors[1]));
    const std::string path = scratch.write("channel.sensor", original);
    const ToolRun run = tool({"migrate", "--in-place", "--inject-write-fault", "kill:5000", path});
    EXPECT_EQ(run.signal, SIGKILL);
    EXPECT_EQ(scratch.read("channel.sensor"), original);
    // What the crash left is the partial temporary file, under a hidden name.
    std::vector<std::string> others;
    for (const auto& entry : fs::directory_iterator(scratch.path())) {
        if (entry.path().filename() != "channel.sensor") {
            others.push_back(entry.path().filename().string());
        }
    }
    ASSERT_EQ(others.size(), 1u);
    EXPECT_EQ(others[0].rfind(".fluxgrid-", 0), 0u) << others[0];
    EXPECT_EQ(fs::file_size(scratch.path() / others[0]), 5000u);
}

TEST(ToolMigrate, KilledWhileWritingIntoAnOutputFolderLeavesNoOutput) {
    ScratchDir scratch;
    const std::string out = scratch.file("out");
    const ToolRun run = tool(
        {"migrate", "--out-dir", out, "--inject-write-fault", "kill:100", sample(kOldSensors[0])});
    EXPECT_EQ(run.signal, SIGKILL);
    EXPECT_FALSE(fs::exists(fs::path(out) / kOldSensors[0]));
}

TEST(ToolMigrate, FullDiskFailsTheFileRemovesTheTemporaryAndLeavesTheOldFile) {
    ScratchDir scratch;
    const std::vector<BYTE> original = bytesOf(sample(kOldSensors[2]));
    const std::string path = scratch.write("channel.sensor", original);
    const ToolRun run =
        tool({"migrate", "--in-place", "--inject-write-fault", "nospace:3000", path});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err,
              "fluxgrid: " + path + ": cannot write: No space left on device; left untouched\n");
    EXPECT_EQ(linesOf(run.out).back(), "0 migrated, 0 already current, 1 failed");
    EXPECT_EQ(scratch.read("channel.sensor"), original);
    EXPECT_EQ(std::distance(fs::directory_iterator(scratch.path()), fs::directory_iterator()), 1);
}

// ---------------------------------------------------------------------------
// layout

TEST(ToolLayout, ListNamesTheThirteenTables) {
    const ToolRun run = tool({"layout", "list"});
    ASSERT_EQ(run.status, 0);
    const auto lines = linesOf(run.out);
    ASSERT_EQ(lines.size(), 14u);
    EXPECT_EQ(lines[1].substr(0, 26), "eegLayout10     EEG     10");
    EXPECT_EQ(lines[10].substr(0, 26), "eegNet260       EEG    260");
    EXPECT_EQ(lines[13].substr(0, 26), "megTriaxial33   MEG     33");
}

TEST(ToolLayout, ShowPrintsEveryRowWithItsTypeName) {
    const ToolRun run = tool({"layout", "show", "megLayout21"});
    ASSERT_EQ(run.status, 0);
    const auto lines = linesOf(run.out);
    ASSERT_EQ(lines.size(), 2u + 21u);
    EXPECT_NE(lines[2 + 8].find("MZC0"), std::string::npos);
    EXPECT_NE(lines[2 + 19].find("MGL0"), std::string::npos);
    EXPECT_EQ(lines[2 + 19].substr(lines[2 + 19].size() - 10), "10 MEG_REF");
}

TEST(ToolLayout, UnknownTableIsBadUsage) {
    const ToolRun run = tool({"layout", "show", "megLayout99"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err,
              "fluxgrid: no layout table called \"megLayout99\"; did you mean \"megLayout21\"? "
              "(`fluxgrid layout list` names them all)\n");
}

std::vector<std::string> fieldsOf(const std::string& line, char separator) {
    std::vector<std::string> fields;
    std::istringstream in(line);
    for (std::string field; std::getline(in, field, separator);) {
        if (!field.empty()) {
            fields.push_back(field);
        }
    }
    return fields;
}

TEST(ToolLayout, CsvExportHoldsEveryRowExactly) {
    const ToolRun run = tool({"layout", "export", "megLayout32", "--format", "csv"});
    ASSERT_EQ(run.status, 0);
    const auto lines = linesOf(run.out);
    ASSERT_EQ(lines.size(), 33u);
    EXPECT_EQ(lines[0], "name,x,y,z,ornX,ornY,ornZ,sensorType,typeName");
    for (int i = 0; i < 32; ++i) {
        const auto f = fieldsOf(lines[1 + i], ',');
        ASSERT_EQ(f.size(), 9u);
        const MEG_OPM_NAME_POS_TYPE& row = megLayout32[i];
        EXPECT_EQ(f[0], row.name.ToUtf8());
        EXPECT_BITS_EQ(std::strtod(f[1].c_str(), nullptr), row.posX);
        EXPECT_BITS_EQ(std::strtod(f[2].c_str(), nullptr), row.posY);
        EXPECT_BITS_EQ(std::strtod(f[3].c_str(), nullptr), row.posZ);
        EXPECT_BITS_EQ(std::strtod(f[4].c_str(), nullptr), row.ornX);
        EXPECT_BITS_EQ(std::strtod(f[5].c_str(), nullptr), row.ornY);
        EXPECT_BITS_EQ(std::strtod(f[6].c_str(), nullptr), row.ornZ);
        EXPECT_EQ(std::stoi(f[7]), row.sensorType);
        EXPECT_EQ(f[8], row.sensorType == 100 ? "MEG_SNSR" : "Unknown");
    }
}

TEST(ToolLayout, SfpAndElcExportsHoldEveryRowExactly) {
    ScratchDir scratch;
    const std::string sfpPath = scratch.file("net.sfp");
    ASSERT_EQ(tool({"layout", "export", "eegNet260", "--format", "sfp", "-o", sfpPath}).status, 0);
    const auto sfp = linesOf(fluxgrid::test::slurpText(sfpPath));
    ASSERT_EQ(sfp.size(), 260u);
    for (int i = 0; i < 260; ++i) {
        const auto f = fieldsOf(sfp[i], '\t');
        ASSERT_EQ(f.size(), 4u);
        EXPECT_EQ(f[0], eegNet260[i].name.ToUtf8());
        EXPECT_BITS_EQ(std::strtod(f[1].c_str(), nullptr), eegNet260[i].posX);
        EXPECT_BITS_EQ(std::strtod(f[2].c_str(), nullptr), eegNet260[i].posY);
        EXPECT_BITS_EQ(std::strtod(f[3].c_str(), nullptr), eegNet260[i].posZ);
    }
    const ToolRun elc = tool({"layout", "export", "eegLayout10", "--format", "elc"});
    ASSERT_EQ(elc.status, 0);
    const auto lines = linesOf(elc.out);
    ASSERT_EQ(lines.size(), 6u + 10u + 1u + 10u);
    EXPECT_EQ(lines[3], "UnitPosition\tmm");
    EXPECT_EQ(lines[4], "NumberPositions=\t10");
    EXPECT_EQ(lines[5], "Positions");
    EXPECT_EQ(lines[16], "Labels");
    for (int i = 0; i < 10; ++i) {
        const auto f = fieldsOf(lines[6 + i], ' ');
        ASSERT_EQ(f.size(), 3u);
        EXPECT_BITS_EQ(std::strtod(f[0].c_str(), nullptr), eegLayout10[i].posX);
        EXPECT_BITS_EQ(std::strtod(f[1].c_str(), nullptr), eegLayout10[i].posY);
        EXPECT_BITS_EQ(std::strtod(f[2].c_str(), nullptr), eegLayout10[i].posZ);
        EXPECT_EQ(lines[17 + i], eegLayout10[i].name.ToUtf8());
    }
}

std::size_t findRows(const std::string& table) {
    static const std::map<std::string, std::size_t> rows = {
        {"eegLayout10", std::size(eegLayout10)},     {"eegLayout18", std::size(eegLayout18)},
        {"eegLayout21", std::size(eegLayout21)},     {"eegLayout21Row", std::size(eegLayout21Row)},
        {"eegSphere25", std::size(eegSphere25)},     {"eegLayout32", std::size(eegLayout32)},
        {"eegSphere33", std::size(eegSphere33)},     {"eegSphere47", std::size(eegSphere47)},
        {"eegNet67", std::size(eegNet67)},           {"eegNet260", std::size(eegNet260)},
        {"megLayout21", std::size(megLayout21)},     {"megLayout32", std::size(megLayout32)},
        {"megTriaxial33", std::size(megTriaxial33)},
    };
    return rows.at(table);
}

TEST(ToolLayout, EveryPlotIsValidXmlAndRendersToPng) {
    fs::create_directories(kOutput);
    const std::vector<std::string> tables = {
        "eegLayout10", "eegLayout18", "eegLayout21",  "eegLayout21Row", "eegSphere25",
        "eegLayout32", "eegSphere33", "eegSphere47",  "eegNet67",       "eegNet260",
        "megLayout21", "megLayout32", "megTriaxial33"};
    for (const std::string& table : tables) {
        SCOPED_TRACE(table);
        const std::string svg = (kOutput / (table + ".svg")).string();
        const std::string png = (kOutput / (table + ".png")).string();
        fs::remove(svg);
        fs::remove(png);
        const ToolRun plot = tool({"layout", "plot", table, "-o", svg});
        ASSERT_EQ(plot.status, 0) << plot.err;
        EXPECT_EQ(plot.out, "wrote " + svg + "\n");
        const std::string text = fluxgrid::test::slurpText(svg);
        // One marker and one label per row.
        std::size_t titles = 0;
        for (std::size_t at = text.find("</title></circle>"); at != std::string::npos;
             at = text.find("</title></circle>", at + 1)) {
            ++titles;
        }
        EXPECT_EQ(titles, findRows(table));
        const ToolRun lint = runProgram(FLUXGRID_XMLLINT, {"--noout", svg});
        EXPECT_EQ(lint.status, 0) << lint.err;
        const ToolRun render = runProgram(FLUXGRID_RSVG_CONVERT, {"-o", png, svg});
        ASSERT_EQ(render.status, 0) << render.err;
        const std::vector<BYTE> image = bytesOf(png);
        ASSERT_GT(image.size(), 8u);
        EXPECT_EQ(std::vector<BYTE>(image.begin(), image.begin() + 8),
                  (std::vector<BYTE>{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A}));
    }
}

// ---------------------------------------------------------------------------
// demo

TEST(ToolDemo, WritesChecksAndReportsEveryOutput) {
    ScratchDir scratch;
    const fs::path dir = scratch.path() / "demo";
    const ToolRun run = tool({"demo", dir.string()});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const auto lines = linesOf(run.out);
    EXPECT_EQ(lines.at(1).substr(0, 56),
              "opm32    megLayout32  OPM          32       32        32");
    EXPECT_EQ(lines.at(2).substr(0, 56),
              "squid21  megLayout21  SQUID        21       21        21");
    EXPECT_EQ(lines.back(),
              "every file was written, loaded back and checked field by field, and every set "
              "passed the geometry check");
    EXPECT_NE(run.out.find("  opm32    32 channels in 33 files, frame dewar, mm: 0 errors"),
              std::string::npos);
    EXPECT_NE(run.out.find("  squid21  21 channels in 21 files, frame dewar, mm: 0 errors"),
              std::string::npos);
    for (const char* view : {"opm32.html", "squid21.html"}) {
        EXPECT_TRUE(fs::is_regular_file(dir / "views" / view)) << view;
    }

    std::size_t opm = 0;
    for (const auto& entry : fs::directory_iterator(dir / "sensors" / "opm32")) {
        CMEGSensorqv sensor;
        ASSERT_EQ(loadWith(entry.path(), [&](CArchive& ar) { return sensor.serializeqv(ar); }), 1);
        EXPECT_EQ(sensor.hardwareType, 1);
        EXPECT_EQ(sensor.getTotalCoils(), 1);
        ++opm;
    }
    EXPECT_EQ(opm, 32u);
    std::size_t squid = 0;
    for (const auto& entry : fs::directory_iterator(dir / "sensors" / "squid21")) {
        CMEGSensorqv sensor;
        ASSERT_EQ(loadWith(entry.path(), [&](CArchive& ar) { return sensor.serializeqv(ar); }), 1);
        EXPECT_EQ(sensor.hardwareType, 0);
        EXPECT_EQ(sensor.getTotalCoils(), 2);
        EXPECT_EQ(sensor.isAxialGrad(), 1);
        EXPECT_NEAR(sensor.getCoilBaseLine(), 50.0, 1e-9);
        ++squid;
    }
    EXPECT_EQ(squid, 21u);
    CMEGSensorqv first;
    ASSERT_EQ(loadWith(dir / "sensors" / "squid21" / "00-MLFP1.sensor",
                       [&](CArchive& ar) { return first.serializeqv(ar); }),
              1);
    EXPECT_EQ(first.getSensorName(), "MLFP1");
    EXPECT_EQ(first.getSensorTypeName(), "MEG_SNSR");

    CHeadLocalizationqv h;
    ASSERT_EQ(
        loadWith(dir / "headloc" / "demo.headloc", [&](CArchive& ar) { return h.serializeqv(ar); }),
        1);
    EXPECT_EQ(h.getHeadLocalizeTime(), 5);
    EXPECT_EQ(h.fiducialAveraged, 1);
    double x = 0, y = 0, z = 0;
    h.getSensorLocation(x, y, z);
    EXPECT_NEAR(x, 0.025, 1e-9);
    EXPECT_NEAR(y, -21.01, 1e-9);
    EXPECT_NEAR(z, 0.015, 1e-9);
    for (const char* plot : {"megLayout32.svg", "megLayout21.svg"}) {
        const ToolRun lint =
            runProgram(FLUXGRID_XMLLINT, {"--noout", (dir / "layouts" / plot).string()});
        EXPECT_EQ(lint.status, 0) << plot;
    }
}

}  // namespace
