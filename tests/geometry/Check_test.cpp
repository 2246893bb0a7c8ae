// The driver of the geometry rules: its words, the order of its findings,
// the frame and unit it reads in, the rule catalogue, and that the objects
// it judges stay untouched.
#include <fluxgrid/geometry/Check.h>
#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/platform/File.h>

#include "support/SensorSets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <set>
#include <string>
#include <vector>

namespace {

using fluxgrid::CheckedHead;
using fluxgrid::checkGeometry;
using fluxgrid::CheckOptions;
using fluxgrid::Finding;
using fluxgrid::GeometryReport;
using fluxgrid::LengthUnit;
using fluxgrid::SensorFrame;
using fluxgrid::Severity;
using fluxgrid::test::codesOf;
using fluxgrid::test::holds;
using fluxgrid::test::squidOf;
using Codes = std::vector<std::string>;

TEST(GeometryWords, SeverityFrameAndUnitWords) {
    EXPECT_EQ(fluxgrid::severityWord(Severity::error), "error");
    EXPECT_EQ(fluxgrid::severityWord(Severity::warning), "warning");
    EXPECT_EQ(fluxgrid::severityWord(Severity::note), "note");
    for (SensorFrame frame : {SensorFrame::dewar, SensorFrame::head, SensorFrame::work}) {
        EXPECT_EQ(fluxgrid::sensorFrameFromWord(fluxgrid::sensorFrameWord(frame)), frame);
    }
    EXPECT_EQ(fluxgrid::sensorFrameWord(SensorFrame::dewar), "dewar");
    EXPECT_EQ(fluxgrid::sensorFrameFromWord("Work"), std::nullopt);
    EXPECT_EQ(fluxgrid::lengthUnitFromWord("cm"), LengthUnit::cm);
    EXPECT_EQ(fluxgrid::lengthUnitFromWord("m"), LengthUnit::m);
    EXPECT_EQ(fluxgrid::lengthUnitFromWord("mm"), LengthUnit::mm);
    EXPECT_EQ(fluxgrid::lengthUnitFromWord("in"), std::nullopt);
    EXPECT_EQ(fluxgrid::millimetresPer(LengthUnit::mm), 1.0);
    EXPECT_EQ(fluxgrid::millimetresPer(LengthUnit::cm), 10.0);
    EXPECT_EQ(fluxgrid::millimetresPer(LengthUnit::m), 1000.0);
}

TEST(GeometryWords, AFindingOnOneLine) {
    Finding finding;
    finding.severity = Severity::error;
    finding.code = "orientation-inward";
    finding.channel = 4;
    finding.name = "MLF7";
    finding.file = "sensor-MLF7.sensor";
    finding.message = "orientation points 150 degrees from outward";
    EXPECT_EQ(fluxgrid::formatFinding(finding),
              "error orientation-inward MLF7 (sensor-MLF7.sensor): orientation points 150 "
              "degrees from outward");
    finding.file.clear();
    EXPECT_EQ(fluxgrid::formatFinding(finding),
              "error orientation-inward MLF7: orientation points 150 degrees from outward");
    finding.name.clear();
    EXPECT_EQ(fluxgrid::formatFinding(finding),
              "error orientation-inward #4: orientation points 150 degrees from outward");
    finding.channel = -1;
    finding.severity = Severity::note;
    EXPECT_EQ(fluxgrid::formatFinding(finding),
              "note orientation-inward: orientation points 150 degrees from outward");
}

TEST(GeometryRules, CodesAreUniqueWordsJoinedByHyphens) {
    const std::vector<fluxgrid::GeometryRule> rules = fluxgrid::geometryRules();
    std::set<std::string> codes;
    for (const fluxgrid::GeometryRule& rule : rules) {
        EXPECT_TRUE(codes.insert(std::string(rule.code)).second) << rule.code;
        EXPECT_TRUE(std::ranges::all_of(rule.code, [](char c) {
            return std::islower(static_cast<unsigned char>(c)) || c == '-';
        })) << rule.code;
        EXPECT_FALSE(rule.summary.empty()) << rule.code;
    }
    EXPECT_EQ(rules.size(), 34u);
    EXPECT_EQ(rules.front().code, "name-empty");
    EXPECT_EQ(rules.front().scope, fluxgrid::RuleScope::channel);
    EXPECT_EQ(rules.back().code, "fiducial-outside-helmet");
    EXPECT_EQ(rules.back().scope, fluxgrid::RuleScope::head);
    EXPECT_EQ(fluxgrid::ruleScopeWord(fluxgrid::RuleScope::set), "set");
}

TEST(GeometryRules, EveryFindingCarriesTheSeverityOfItsRule) {
    // A set with a finding of each scope.
    std::vector<CMEGSensorqv> sensors = fluxgrid::test::squidHelmet(20, 100.0, 50.0);
    sensors[3].snsRawName = CString("MEG0113ABCDEFGHIJ");
    squidOf(sensors[4]).totalGain = 0.0;
    sensors[5].snsRawName = CString("MEG001");
    CHeadLocalizationqv head;
    const GeometryReport report =
        checkGeometry(fluxgrid::test::checkedSet(sensors), CheckedHead{head, "h"});
    ASSERT_EQ(codesOf(report),
              (Codes{"name-too-long", "gain-zero", "name-duplicate", "fiducials-empty"}));
    const std::vector<fluxgrid::GeometryRule> rules = fluxgrid::geometryRules();
    for (const Finding& finding : report.findings) {
        const auto rule = std::ranges::find(rules, finding.code, &fluxgrid::GeometryRule::code);
        ASSERT_NE(rule, rules.end());
        EXPECT_EQ(finding.severity, rule->severity) << finding.code;
    }
    EXPECT_EQ(report.errors, 2);
    EXPECT_EQ(report.warnings, 1);
    EXPECT_EQ(report.notes, 1);
    EXPECT_EQ(report.count(Severity::error), 2);
}

TEST(GeometryOrder, FindingsFollowTheChannelsThenTheRulesThenTheSetThenTheHead) {
    std::vector<CMEGSensorqv> sensors = fluxgrid::test::squidHelmet(20, 200.0, 50.0);
    // Channel 9: an unknown type (a channel rule) and a duplicate name (a
    // set rule); channel 2: a zero gain; channel 9 comes second although
    // its duplicate rule is found by the set.
    sensors[9].sensorType = 102;
    sensors[9].snsRawName = CString("MEG002");
    squidOf(sensors[9]).totalGain = -1.0;
    squidOf(sensors[2]).totalGain = 0.0;
    CHeadLocalizationqv head;
    fluxgrid::test::setFiducials(head, {0, 80, -10}, {-20, 0, -20}, {20, 0, -20});
    const GeometryReport report =
        checkGeometry(fluxgrid::test::checkedSet(sensors), CheckedHead{head, "h"});
    EXPECT_EQ(codesOf(report), (Codes{"gain-zero", "gain-negative", "name-duplicate",
                                      "sphere-radius", "ears-too-close"}));
    std::vector<int> channels;
    for (const Finding& finding : report.findings) {
        channels.push_back(finding.channel);
    }
    EXPECT_EQ(channels, (std::vector<int>{2, 9, 9, -1, -1}));
    EXPECT_EQ(report.findings[4].file, "h");
}

TEST(GeometryFrames, TheFrameChoosesTheElementArrayThatIsRead) {
    std::vector<CMEGSensorqv> sensors = fluxgrid::test::squidHelmet(20, 100.0, 50.0);
    // A zero orientation in the dewar frame only.
    double* dewar = sensors[6].getCoilWkHdDw(2, 1)->oriP4;
    dewar[0] = dewar[1] = dewar[2] = 0.0;
    const auto set = fluxgrid::test::checkedSet(sensors);
    EXPECT_EQ(codesOf(checkGeometry(set, {.frame = SensorFrame::work})), Codes{});
    EXPECT_EQ(codesOf(checkGeometry(set, {.frame = SensorFrame::head})), Codes{});
    const GeometryReport report = checkGeometry(set, {.frame = SensorFrame::dewar});
    ASSERT_EQ(codesOf(report), Codes{"orientation-zero"});
    EXPECT_TRUE(holds(report.findings[0].message, "element 1 (dewar frame)"));
    EXPECT_EQ(report.frame, SensorFrame::dewar);
}

TEST(GeometryFrames, TheHeadFrameOfAnOpmRecordIsItsVaporHead) {
    std::vector<CMEGSensorqv> sensors = fluxgrid::test::opmHelmet(20, 100.0);
    fluxgrid::test::opmOf(sensors[3]).vaporHead[0].posP4[0] = std::nan("");
    EXPECT_EQ(
        codesOf(checkGeometry(fluxgrid::test::checkedSet(sensors), {.frame = SensorFrame::head})),
        Codes{"position-not-finite"});
    EXPECT_EQ(codesOf(checkGeometry(fluxgrid::test::checkedSet(sensors))), Codes{});
}

TEST(GeometryUnits, LimitsScaleWithTheUnit) {
    // The helmet of 10 cm, with a second coil 0.15 cm (1.5 mm) off its line.
    std::vector<CMEGSensorqv> sensors = fluxgrid::test::squidHelmet(20, 10.0, 5.0);
    sensors[7].getCoilWkHdDw(0, 1)->posP4[2] += 0.15;
    const GeometryReport report =
        checkGeometry(fluxgrid::test::checkedSet(sensors), {.unit = LengthUnit::cm});
    ASSERT_EQ(codesOf(report), Codes{"gradiometer-off-axis"});
    EXPECT_EQ(report.findings[0].values[0].unit, "cm");
    EXPECT_TRUE(holds(report.findings[0].message, "(limit 0.1 cm)"));
    EXPECT_EQ(report.unit, LengthUnit::cm);
}

TEST(GeometryUntouched, ASensorWithATypeAndNoRecordGetsNone) {
    // A getter with a hardware type would make the record; the check must
    // not.
    std::vector<CMEGSensorqv> sensors(1);
    sensors[0].hardwareType = 0;
    sensors[0].sensorType = 100;
    const GeometryReport report = checkGeometry(fluxgrid::test::checkedSet(sensors));
    EXPECT_EQ(codesOf(report), (Codes{"record-missing", "no-elements", "sphere-not-fitted"}));
    EXPECT_FALSE(sensors[0].hardware);
    EXPECT_EQ(sensors[0].hardwareType, 0);
}

// The bytes of an object's file, which hold every field it files.
template <class Object>
std::vector<BYTE> stored(Object& object) {
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        object.serializeqv(ar);
    }
    return file.Data();
}

TEST(GeometryUntouched, EverySensorAndTheHeadLocalizationStoreAsBefore) {
    std::vector<CMEGSensorqv> sensors = fluxgrid::test::squidHelmet(20, 100.0, 50.0);
    sensors[4].getCoilWkHdDw(0, 0)->oriP4[0] *= 1.001;
    squidOf(sensors[5]).totalGain = 3.0;
    sensors[6].hardwareType = 7;
    CHeadLocalizationqv head;
    fluxgrid::test::setHeadInHelmet(head);
    std::vector<std::vector<BYTE>> before;
    for (CMEGSensorqv& sensor : sensors) {
        before.push_back(stored(sensor));
    }
    const std::vector<BYTE> headBefore = stored(head);

    const GeometryReport report =
        checkGeometry(fluxgrid::test::checkedSet(sensors), CheckedHead{head, "h"});
    EXPECT_EQ(codesOf(report), (Codes{"orientation-not-normalised", "record-unreachable"}));
    for (std::size_t i = 0; i < sensors.size(); ++i) {
        EXPECT_EQ(stored(sensors[i]), before[i]) << i;
        EXPECT_EQ(sensors[i].hardwareType, i == 6 ? 7 : 0) << i;
    }
    EXPECT_EQ(stored(head), headBefore);
}

TEST(GeometryReportCounts, ChannelsOfEachKindAreCounted) {
    std::vector<CMEGSensorqv> sensors = fluxgrid::test::squidHelmet(20, 100.0, 50.0);
    sensors.resize(23);
    fluxgrid::test::setUpSquid(sensors[20], "REF1", {0, 0, 300}, {0, 0, 1}, 0.0, 10);
    sensors[21].snsRawName = CString("STI1");
    sensors[21].sensorType = 600;
    sensors[22].snsRawName = CString("EEG1");
    sensors[22].sensorType = 302;
    const GeometryReport report = checkGeometry(fluxgrid::test::checkedSet(sensors));
    EXPECT_EQ(codesOf(report), Codes{});
    EXPECT_EQ(report.channels, 23);
    EXPECT_EQ(report.megChannels, 20);
    EXPECT_EQ(report.referenceChannels, 1);
}

TEST(GeometryReportCounts, AnEmptySetHasNoFindingAndNoSphere) {
    const GeometryReport report = checkGeometry({});
    EXPECT_EQ(codesOf(report), Codes{});
    EXPECT_EQ(report.channels, 0);
    EXPECT_FALSE(report.sphere.fitted);
}

}  // namespace
