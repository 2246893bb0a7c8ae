#include "Check.h"

#include "CommandLine.h"
#include "Commands.h"
#include "Format.h"

#include <iostream>
#include <memory>
#include <string>

namespace fluxgrid::tool {

namespace {

std::string plural(int count, const char* word) {
    return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

nlohmann::json findingJson(const Finding& finding) {
    nlohmann::json values = nlohmann::json::array();
    for (const FindingValue& value : finding.values) {
        values.push_back({{"name", value.name}, {"value", value.value}, {"unit", value.unit}});
    }
    nlohmann::json out = {{"severity", severityWord(finding.severity)},
                          {"code", finding.code},
                          {"file", finding.file},
                          {"channel", finding.name},
                          {"message", finding.message},
                          {"values", values}};
    if (finding.channel >= 0) {
        out["index"] = finding.channel;
    }
    return out;
}

nlohmann::json sphereJson(const SphereFit& sphere) {
    if (!sphere.fitted) {
        return nullptr;
    }
    return {{"centre", sphere.centre},
            {"radius", sphere.radius},
            {"rms", sphere.rms},
            {"points", sphere.points}};
}

}  // namespace

nlohmann::json checkJson(const CheckedArray& array) {
    const GeometryReport& report = array.report;
    nlohmann::json findings = nlohmann::json::array();
    for (const Finding& finding : report.findings) {
        findings.push_back(findingJson(finding));
    }
    return {{"files", array.files},
            {"channels", report.channels},
            {"frame", sensorFrameWord(report.frame)},
            {"unit", lengthUnitWord(report.unit)},
            {"errors", report.errors},
            {"warnings", report.warnings},
            {"notes", report.notes},
            {"sphere", sphereJson(report.sphere)},
            {"findings", findings}};
}

std::string checkSummary(const CheckedArray& array) {
    const GeometryReport& report = array.report;
    std::string text = plural(report.channels, "channel") + " in " + plural(array.files, "file") +
                       ", frame " + std::string(sensorFrameWord(report.frame)) + ", " +
                       std::string(lengthUnitWord(report.unit)) + ": " +
                       plural(report.errors, "error") + ", " + plural(report.warnings, "warning") +
                       ", " + plural(report.notes, "note");
    if (report.headUnit) {
        text += "; head localization in " + std::string(lengthUnitWord(*report.headUnit));
    }
    if (report.sphere.fitted) {
        text += "; helmet sphere radius " + number(report.sphere.radius) + " " +
                std::string(lengthUnitWord(report.unit));
    }
    return text;
}

int runCheck(const ArrayInputs& inputs, bool json, bool strict) {
    const CheckedArray array = checkArray(inputs);
    if (json) {
        // Names that are not UTF-8 come out with U+FFFD in place of the bad bytes.
        std::cout << checkJson(array).dump(2, ' ', false, nlohmann::json::error_handler_t::replace)
                  << '\n';
    } else {
        for (const Finding& finding : array.report.findings) {
            std::cout << formatFinding(finding) << '\n';
        }
        std::cout << checkSummary(array) << '\n';
    }
    const GeometryReport& report = array.report;
    return report.errors > 0 || (strict && report.warnings > 0) ? 1 : 0;
}

Command addCheckCommand(CLI::App& app) {
    struct Options {
        ArrayInputs inputs;
        bool json = false;
        bool strict = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* check = app.add_subcommand(
        "check",
        "Judge the geometry of a sensor array: orientations, coils, names, gains, and "
        "the head localization against the helmet");
    ValueWords words = addArrayOptions(*check, options->inputs);
    check->add_flag("--json", options->json,
                    "Print one JSON object: files, channels, errors, warnings, notes, sphere and "
                    "every finding with its severity, code, file, channel, message and values");
    check->add_flag("--strict", options->strict, "Fail on warnings too");
    check->footer(
        helpFooter({"fluxgrid check demo/sensors/opm32 --headloc demo/headloc/opm32.headloc",
                    "fluxgrid check --json recording/"}));
    return {check, [options] { return runCheck(options->inputs, options->json, options->strict); },
            words};
}

}  // namespace fluxgrid::tool
