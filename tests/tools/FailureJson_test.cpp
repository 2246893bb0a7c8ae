// The JSON entry of a file that failed: its stable code, the kind, magic
// and version that the first bytes told, the library's message boxes, and
// a name that is not valid UTF-8.
#include "JsonWriter.h"
#include "ObjectJson.h"

#include <fluxgrid/io/Files.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using fluxgrid::tool::JsonWriter;
using nlohmann::json;

TEST(ObjectJson, FailedFileOfAKnownKindCarriesKindMagicAndVersion) {
    fluxgrid::FileError error;
    error.failure = fluxgrid::FileFailure::refusedVersion;
    error.file = "b.sensor";
    error.kind = fluxgrid::FileKind::sensor;
    error.version = 20190201;
    error.message = "version 20190201 of a sensor file is refused";
    error.boxes = {"Wrong file format!!?"};
    std::ostringstream text;
    JsonWriter out(text);
    fluxgrid::tool::writeFailureJson(out, error);
    const json expected = {{"file", "b.sensor"},     {"code", "refused-version"},
                           {"error", error.message}, {"boxes", {"Wrong file format!!?"}},
                           {"kind", "sensor"},       {"magic", "MEGSENSORQV"},
                           {"version", 20190201}};
    EXPECT_EQ(text.str(), expected.dump(2));
}

TEST(ObjectJson, EveryFailureHasItsOwnCode) {
    using fluxgrid::FileFailure;
    const std::vector<std::pair<FileFailure, std::string>> codes = {
        {FileFailure::missing, "missing"},     {FileFailure::notRegularFile, "not-regular-file"},
        {FileFailure::tooLarge, "too-large"},  {FileFailure::readError, "read-error"},
        {FileFailure::badMagic, "bad-magic"},  {FileFailure::refusedVersion, "refused-version"},
        {FileFailure::truncated, "truncated"}, {FileFailure::refused, "refused"},
        {FileFailure::corrupt, "corrupt"},     {FileFailure::writeError, "write-error"},
        {FileFailure::changed, "changed"},
    };
    for (const auto& [failure, code] : codes) {
        EXPECT_EQ(fluxgrid::failureCode(failure), code);
    }
}

TEST(ObjectJson, NameThatIsNotUtf8IsReplacedAndGivenWholeInHex) {
    fluxgrid::FileError error;
    error.file = "x\xff\xfey.coil";
    std::ostringstream text;
    JsonWriter out(text);
    fluxgrid::tool::writeFailureJson(out, error);
    const json written = json::parse(text.str());
    EXPECT_EQ(written.at("file"), "x\uFFFD\uFFFDy.coil");
    EXPECT_EQ(written.at("file_bytes"), "78fffe792e636f696c");
}

TEST(JsonWriter, TellsValidUtf8FromBrokenBytes) {
    EXPECT_TRUE(fluxgrid::tool::isValidUtf8("plain"));
    EXPECT_TRUE(fluxgrid::tool::isValidUtf8("M\xc3\xbcller"));
    EXPECT_FALSE(fluxgrid::tool::isValidUtf8("M\xfcller"));
    EXPECT_FALSE(fluxgrid::tool::isValidUtf8("cut \xc3"));
}

}  // namespace
