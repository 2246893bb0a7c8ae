// The pure parts of the fluxgrid tool, without running it: the streamed
// JSON writer against nlohmann-json's own `dump(2)`, the JSON of model
// objects walked through the field table, the exporters over rows of
// sensors and of tables, and the parsing of the injected write fault.
#include "ChannelExport.h"
#include "Inputs.h"
#include "JsonWriter.h"
#include "ObjectJson.h"
#include "Output.h"

#include <fluxgrid/fluxgrid.h>

#include "support/Harness.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using fluxgrid::tool::JsonWriter;
using nlohmann::json;

// Writes `value` through the writer, members in the order the json object
// holds them (byte order of the keys).
void replay(JsonWriter& out, const json& value) {
    switch (value.type()) {
        case json::value_t::object:
            out.beginObject();
            for (const auto& [key, member] : value.items()) {
                out.key(key);
                replay(out, member);
            }
            out.endObject();
            break;
        case json::value_t::array:
            out.beginArray();
            for (const json& element : value) {
                replay(out, element);
            }
            out.endArray();
            break;
        case json::value_t::string:
            out.string(value.get<std::string>());
            break;
        case json::value_t::boolean:
            out.boolean(value.get<bool>());
            break;
        case json::value_t::number_integer:
            out.integer(value.get<std::int64_t>());
            break;
        case json::value_t::number_unsigned:
            out.unsignedInteger(value.get<std::uint64_t>());
            break;
        case json::value_t::number_float:
            out.real(value.get<double>());
            break;
        default:
            out.null();
            break;
    }
}

std::string written(const json& value) {
    std::ostringstream text;
    JsonWriter out(text);
    replay(out, value);
    EXPECT_EQ(out.depth(), 0u);
    return text.str();
}

TEST(JsonWriter, WritesWhatDumpTwoWritesForEveryShape) {
    const json document = json::array({
        json::object(),
        json::array(),
        json::array({json::array(), json::object(), nullptr}),
        {{"zeta", 1},
         {"alpha", -2},
         {"Beta", 3u},
         {"empty", json::array()},
         {"nested", {{"b", json::array({1.5, -0.0, 0.1, 1e300, 5e-324, 100.0})}, {"a", true}}},
         {"text", "quote \" backslash \\ tab \t newline \n control \x01 umlaut \xC3\xBC"},
         {"none", nullptr},
         {"no", false}},
        std::numeric_limits<std::int64_t>::min(),
        std::numeric_limits<std::uint64_t>::max(),
        "",
    });
    EXPECT_EQ(written(document), document.dump(2));
}

TEST(JsonWriter, WritesScalarsAndEmptyContainersAtTopLevel) {
    for (const json& value : {json(42), json(-0.5), json("x"), json(nullptr), json::array(),
                              json::object(), json::array({json::array({json::array()})})}) {
        EXPECT_EQ(written(value), value.dump(2)) << value.dump();
    }
}

TEST(JsonWriter, ReplacesBytesThatAreNotUtf8) {
    std::ostringstream text;
    JsonWriter out(text);
    out.string(
        "a\xFF"
        "b");
    EXPECT_EQ(text.str(),
              "\"a\xEF\xBF\xBD"
              "b\"");
}

TEST(JsonWriter, RefusesAKeyOutsideAnObjectAndAMismatchedClose) {
    std::ostringstream text;
    JsonWriter out(text);
    EXPECT_THROW(out.key("a"), std::logic_error);
    out.beginArray();
    EXPECT_THROW(out.key("a"), std::logic_error);
    EXPECT_THROW(out.endObject(), std::logic_error);
    out.endArray();
    EXPECT_THROW(out.endArray(), std::logic_error);
}

// ---------------------------------------------------------------------------
// JSON of objects

std::string objectJson(fluxgrid::FileObjectPtr object) {
    std::ostringstream text;
    JsonWriter out(text);
    fluxgrid::tool::writeObjectJson(out, object);
    return text.str();
}

// What the tool writes must be what nlohmann-json writes for the same
// document: the keys of every object in byte order, dump(2)'s layout.
void expectCanonical(const std::string& text) {
    EXPECT_EQ(json::parse(text).dump(2), text);
}

TEST(ObjectJson, SensorWithoutRecordHasNullHardwareAndItsGeometryNested) {
    auto sensor = std::make_unique<CMEGSensorqv>();
    sensor->snsRawName = "MLC3";
    sensor->geomWordB = 7;
    sensor->snsPos4[2] = std::numeric_limits<double>::infinity();
    ASSERT_EQ(sensor->hardware, nullptr);
    const std::string text = objectJson(std::move(sensor));
    expectCanonical(text);
    const json j = json::parse(text);
    EXPECT_TRUE(j.at("hardware").is_null());
    EXPECT_EQ(j.at("geom").at("geomWordB"), 7);
    EXPECT_FALSE(j.contains("geomWordB"));
    EXPECT_EQ(j.at("snsRawName"), "MLC3");
    EXPECT_EQ(j.at("snsPos4").at(2), "Infinity");
    EXPECT_EQ(j.at("w12Values").size(), 12u);
}

TEST(ObjectJson, SensorRecordCarriesItsKind) {
    for (int hardwareType : {0, 1}) {
        auto sensor = std::make_unique<CMEGSensorqv>();
        sensor->initSensorInfo(hardwareType, 100, 5, 0, 1.0, 1.0, 1.0, 0.0);
        ASSERT_NE(sensor->hardware, nullptr);
        const std::string text = objectJson(std::move(sensor));
        expectCanonical(text);
        const json hardware = json::parse(text).at("hardware");
        EXPECT_EQ(hardware.at("recordKind"), hardwareType == 0 ? "squid" : "opm");
        EXPECT_EQ(hardware.at("hardwareNo"), 5);
        const char* frame = hardwareType == 0 ? "coilDewar" : "vaporDewar";
        ASSERT_EQ(hardware.at(frame).size(), 8u);
        EXPECT_TRUE(hardware.at(frame).at(0).contains("pairTable"));
        EXPECT_EQ(hardware.at(frame).at(0).at("pairTable").at(11).at(1).size(), 3u);
    }
}

TEST(ObjectJson, HeadLocalizationEntriesOfEveryKindAndItsLabels) {
    auto h = std::make_unique<CHeadLocalizationqv>();
    h->initDefaultHeadLocalParams();
    auto* record = new HEAD_LOCATION_TRIAL();
    record->trialValue2 = std::numeric_limits<double>::quiet_NaN();
    record->trialTag = 9;
    h->fiducialPA.Add(record);
    h->fiducialPA.Add(new CFiducialqv(h->fiducialFirst));
    h->fiducialPA.Add(nullptr);
    h->headLocalLabels.Add(CString("first"));
    const std::string text = objectJson(std::move(h));
    expectCanonical(text);
    const json j = json::parse(text);
    const json& entries = j.at("fiducialPA");
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries.at(0).at("kind"), "record");
    EXPECT_EQ(entries.at(0).at("trialValue2"), "NaN");
    EXPECT_EQ(entries.at(0).at("trialTag"), 9);
    EXPECT_EQ(entries.at(0).at("trialFiducial").at("fidPts").size(), 6u);
    EXPECT_EQ(entries.at(1).at("kind"), "object");
    EXPECT_EQ(entries.at(1).at("fiducial").at("fidPts").size(), 6u);
    EXPECT_TRUE(entries.at(2).is_null());
    EXPECT_EQ(j.at("headLocalLabels"), json::array({"first"}));
    EXPECT_EQ(j.at("fiducialPt"), json::array());
    EXPECT_EQ(j.at("spheresA").size(), 3u);
}

TEST(ObjectJson, FailedFileIsItsNameCodeErrorAndBoxes) {
    fluxgrid::FileError error;
    error.failure = fluxgrid::FileFailure::truncated;
    error.file = "a.sensor";
    error.message = "truncated: the file ends inside its body";
    std::ostringstream text;
    JsonWriter out(text);
    fluxgrid::tool::writeFailureJson(out, error);
    const json expected = {{"file", "a.sensor"},
                           {"code", "truncated"},
                           {"error", error.message},
                           {"boxes", json::array()}};
    EXPECT_EQ(text.str(), expected.dump(2));
}

// ---------------------------------------------------------------------------
// exporters

using fluxgrid::tool::ChannelRow;
using fluxgrid::tool::ExportFormat;
using fluxgrid::tool::ExportFrame;

TEST(ChannelExport, SensorsExportAsTheTableRowsTheyWereMadeFrom) {
    const fluxgrid::LayoutTableInfo* table = fluxgrid::findLayoutTable("megLayout32");
    ASSERT_NE(table, nullptr);
    const std::vector<ChannelRow> tableRows = fluxgrid::layoutRows(*table);
    std::vector<ChannelRow> fromSensors;
    for (const MEG_OPM_NAME_POS_TYPE& row : megLayout32) {
        CMEGSensorqv sensor;
        sensor.snsShowName = row.name;
        sensor.snsPos4[0] = row.posX;
        sensor.snsPos4[1] = row.posY;
        sensor.snsPos4[2] = row.posZ;
        sensor.snsOri4[0] = row.ornX;
        sensor.snsOri4[1] = row.ornY;
        sensor.snsOri4[2] = row.ornZ;
        sensor.sensorType = row.sensorType;
        fromSensors.push_back(fluxgrid::tool::channelRowOf(sensor));
    }
    const ExportFrame frame{"megLayout32", "head", "axes", "mm"};
    for (ExportFormat format : {ExportFormat::csv, ExportFormat::sfp, ExportFormat::elc}) {
        const std::string expected = fluxgrid::tool::exportRows(tableRows, format, frame);
        EXPECT_EQ(fluxgrid::tool::exportRows(fromSensors, format, frame), expected);
        EXPECT_GT(expected.size(), 32u * 10u);
    }
}

TEST(ChannelExport, CsvOfRowsWithAndWithoutOrientationKeepsItsColumns) {
    const std::vector<ChannelRow> rows = {
        {"A", {1.0, 2.0, 0.1}, std::array<double, 3>{0.0, 0.0, 1.0}, 100},
        {"B", {-1.5, 0.0, 3.0}, std::nullopt, 1},
    };
    const std::string csv = fluxgrid::tool::exportRows(rows, ExportFormat::csv, {});
    EXPECT_EQ(csv,
              "name,x,y,z,ornX,ornY,ornZ,sensorType,typeName\n"
              "A,1.0,2.0,0.1,0.0,0.0,1.0,100,MEG_SNSR\n"
              "B,-1.5,0.0,3.0,,,,1,Unknown\n");
}

TEST(ChannelExport, ElcHeadingNamesTheSourceFrameAndUnit) {
    const std::vector<ChannelRow> rows = {{"Cz", {0.0, 0.0, 100.0}, std::nullopt, 1}};
    EXPECT_EQ(fluxgrid::tool::exportRows(rows, ExportFormat::elc,
                                         {"eegSphere25", "sphere", "x to the nose", ""}),
              "# ASA electrode file\n# eegSphere25, sphere frame: x to the nose\n"
              "ReferenceLabel\tavg\nUnitPosition\tmm\nNumberPositions=\t1\nPositions\n"
              "0.0 0.0 100.0\nLabels\nCz\n");
    EXPECT_EQ(fluxgrid::tool::exportRows(rows, ExportFormat::sfp, {}), "Cz\t0.0\t0.0\t100.0\n");
}

TEST(ChannelExport, FormatsByName) {
    EXPECT_EQ(fluxgrid::tool::exportFormatNamed("csv"), ExportFormat::csv);
    EXPECT_EQ(fluxgrid::tool::exportFormatNamed("sfp"), ExportFormat::sfp);
    EXPECT_EQ(fluxgrid::tool::exportFormatNamed("elc"), ExportFormat::elc);
    EXPECT_EQ(fluxgrid::tool::exportFormatNamed("tsv"), ExportFormat::tsv);
    EXPECT_EQ(fluxgrid::tool::exportFormatNamed("pdf"), std::nullopt);
}

// ---------------------------------------------------------------------------
// write fault

TEST(WriteFault, ParsesKillAndNoSpaceWithAByteCount) {
    const auto kill = fluxgrid::tool::parseWriteFault("kill:5000");
    ASSERT_TRUE(kill);
    EXPECT_EQ(kill->kind, fluxgrid::WriteFault::Kind::kill);
    EXPECT_EQ(kill->afterBytes, 5000u);
    const auto full = fluxgrid::tool::parseWriteFault("nospace:0");
    ASSERT_TRUE(full);
    EXPECT_EQ(full->kind, fluxgrid::WriteFault::Kind::noSpace);
    EXPECT_EQ(full->afterBytes, 0u);
    for (const char* bad : {"kill", "kill:", "kill:-1", "kill:+1", "kill:1x", "crash:1", ":1",
                            "nospace:99999999999999999999999"}) {
        EXPECT_EQ(fluxgrid::tool::parseWriteFault(bad), std::nullopt) << bad;
    }
}

// ---------------------------------------------------------------------------
// byte counts

TEST(ByteCount, IsDecimalWithAnOptionalSuffixOfPowersOf1024) {
    using fluxgrid::tool::parseByteCount;
    constexpr std::uint64_t kKi = 1024;
    EXPECT_EQ(parseByteCount("0"), 0u);
    EXPECT_EQ(parseByteCount("010"), 10u);
    EXPECT_EQ(parseByteCount("800"), 800u);
    EXPECT_EQ(parseByteCount("64K"), 64 * kKi);
    EXPECT_EQ(parseByteCount("64k"), 64 * kKi);
    EXPECT_EQ(parseByteCount("3M"), 3 * kKi * kKi);
    EXPECT_EQ(parseByteCount("2G"), 2 * kKi * kKi * kKi);
    EXPECT_EQ(parseByteCount("5t"), 5 * kKi * kKi * kKi * kKi);
    EXPECT_EQ(parseByteCount("18446744073709551615"), UINT64_MAX);
    EXPECT_EQ(parseByteCount("16777215T"), (kKi * kKi * kKi * kKi) * 16777215);
}

TEST(ByteCount, RefusesHexSignsSpacesOtherSuffixesAndOverflow) {
    for (const char* bad : {"", "K", "0x10", "0X1f", "1e3", "+1", "-1", " 1", "1 ", "1 K", "10KB",
                            "1KiB", "1P", "1.5", "18446744073709551616", "16777216T", "lots"}) {
        EXPECT_EQ(fluxgrid::tool::parseByteCount(bad), std::nullopt) << bad;
    }
}

}  // namespace
