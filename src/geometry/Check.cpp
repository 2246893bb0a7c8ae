// The driver of the geometry rules: reads the set once, runs the tables of
// the three scopes and puts the findings in the report's order.
#include <fluxgrid/geometry/Check.h>

#include "geometry/CheckContext.h"

#include <algorithm>
#include <array>
#include <utility>

namespace fluxgrid {

namespace {

using geometry::CheckContext;
using geometry::Emitter;
using geometry::PlacedFinding;

template <class Word, std::size_t N>
std::optional<Word> fromWord(const std::array<std::pair<Word, std::string_view>, N>& words,
                             std::string_view word) {
    for (const auto& [value, text] : words) {
        if (text == word) {
            return value;
        }
    }
    return std::nullopt;
}

template <class Word, std::size_t N>
std::string_view wordOf(const std::array<std::pair<Word, std::string_view>, N>& words, Word value) {
    for (const auto& [candidate, text] : words) {
        if (candidate == value) {
            return text;
        }
    }
    return words.front().second;
}

constexpr std::array<std::pair<Severity, std::string_view>, 3> kSeverityWords{{
    {Severity::error, "error"},
    {Severity::warning, "warning"},
    {Severity::note, "note"},
}};

constexpr std::array<std::pair<SensorFrame, std::string_view>, 3> kFrameWords{{
    {SensorFrame::dewar, "dewar"},
    {SensorFrame::head, "head"},
    {SensorFrame::work, "work"},
}};

constexpr std::array<std::pair<LengthUnit, std::string_view>, 3> kUnitWords{{
    {LengthUnit::mm, "mm"},
    {LengthUnit::cm, "cm"},
    {LengthUnit::m, "m"},
}};

constexpr std::array<std::pair<RuleScope, std::string_view>, 3> kScopeWords{{
    {RuleScope::channel, "channel"},
    {RuleScope::set, "set"},
    {RuleScope::head, "head"},
}};

// Runs every rule, numbering them across the three tables in order.
std::vector<PlacedFinding> runRules(const CheckContext& context) {
    std::vector<PlacedFinding> placed;
    int rule = 0;
    for (const auto& entry : geometry::channelRules()) {
        Emitter out(placed, context, entry.code, entry.severity, rule++);
        for (const geometry::ChannelView& channel : context.channels) {
            entry.check(channel, context, out);
        }
    }
    for (const auto& entry : geometry::setRules()) {
        Emitter out(placed, context, entry.code, entry.severity, rule++);
        entry.check(context, out);
    }
    for (const auto& entry : geometry::headRules()) {
        Emitter out(placed, context, entry.code, entry.severity, rule++);
        if (context.head) {
            entry.check(*context.head, context, out);
        }
    }
    std::ranges::stable_sort(placed, {},
                             [](const PlacedFinding& p) { return std::pair(p.place, p.rule); });
    return placed;
}

GeometryReport check(std::span<const CheckedSensor> sensors, const CheckedHead* head,
                     const CheckOptions& options) {
    const CheckContext context = geometry::makeContext(sensors, head, options);
    GeometryReport report;
    report.frame = options.frame;
    report.unit = options.unit;
    report.channels = static_cast<int>(context.channels.size());
    for (const geometry::ChannelView& channel : context.channels) {
        report.megChannels += channel.isMeg() ? 1 : 0;
        report.referenceChannels += channel.isReference() ? 1 : 0;
    }
    report.sphere = context.sphere;
    if (context.head) {
        report.headUnit = context.head->unit;
    }
    for (PlacedFinding& placed : runRules(context)) {
        report.findings.push_back(std::move(placed.finding));
    }
    report.errors = report.count(Severity::error);
    report.warnings = report.count(Severity::warning);
    report.notes = report.count(Severity::note);
    return report;
}

template <class Check>
void describe(std::vector<GeometryRule>& rules, std::span<const geometry::Rule<Check>> table,
              RuleScope scope) {
    for (const auto& entry : table) {
        rules.push_back({entry.code, entry.severity, scope, entry.summary});
    }
}

}  // namespace

std::string_view severityWord(Severity severity) {
    return wordOf(kSeverityWords, severity);
}

std::string_view sensorFrameWord(SensorFrame frame) {
    return wordOf(kFrameWords, frame);
}

std::optional<SensorFrame> sensorFrameFromWord(std::string_view word) {
    return fromWord(kFrameWords, word);
}

std::string_view lengthUnitWord(LengthUnit unit) {
    return wordOf(kUnitWords, unit);
}

std::optional<LengthUnit> lengthUnitFromWord(std::string_view word) {
    return fromWord(kUnitWords, word);
}

double millimetresPer(LengthUnit unit) {
    switch (unit) {
        case LengthUnit::cm:
            return 10.0;
        case LengthUnit::m:
            return 1000.0;
        case LengthUnit::mm:
            break;
    }
    return 1.0;
}

std::string_view ruleScopeWord(RuleScope scope) {
    return wordOf(kScopeWords, scope);
}

std::string formatFinding(const Finding& finding) {
    std::string line(severityWord(finding.severity));
    line += " " + finding.code;
    if (!finding.name.empty()) {
        line += " " + finding.name;
    } else if (finding.channel >= 0) {
        line += " #" + std::to_string(finding.channel);
    }
    if (!finding.file.empty()) {
        line += " (" + finding.file + ")";
    }
    line += ": " + finding.message;
    return line;
}

int GeometryReport::count(Severity severity) const {
    return static_cast<int>(std::ranges::count(findings, severity, &Finding::severity));
}

GeometryReport checkGeometry(std::span<const CheckedSensor> sensors, const CheckOptions& options) {
    return check(sensors, nullptr, options);
}

GeometryReport checkGeometry(std::span<const CheckedSensor> sensors, const CheckedHead& head,
                             const CheckOptions& options) {
    return check(sensors, &head, options);
}

std::vector<GeometryRule> geometryRules() {
    std::vector<GeometryRule> rules;
    describe(rules, geometry::channelRules(), RuleScope::channel);
    describe(rules, geometry::setRules(), RuleScope::set);
    describe(rules, geometry::headRules(), RuleScope::head);
    return rules;
}

}  // namespace fluxgrid
