#include "View.h"

#include "Check.h"
#include "CommandLine.h"
#include "Commands.h"
#include "Format.h"
#include "Output.h"
#include "ViewPage.h"

#include <fluxgrid/channels/ChannelTypes.h>
#include <fluxgrid/tables/Layouts.h>

#include <iostream>
#include <memory>
#include <string_view>

namespace fluxgrid::tool {

namespace {

nlohmann::json triple(const double (&values)[4]) {
    return {values[0], values[1], values[2]};
}

nlohmann::json channelJson(const CMEGSensorqv& sensor, const std::string& file, SensorFrame frame) {
    const ChannelType type = channelTypeOf(sensor);
    nlohmann::json elements = nlohmann::json::array();
    for (const CBscMagSns* element : elementsInUse(sensor, frame)) {
        elements.push_back({{"pos", triple(element->posP4)}, {"ori", triple(element->oriP4)}});
    }
    // Two coils of a SQUID record are joined as one gradiometer.
    const bool gradiometer = sensor.hardwareType == 0 && sensor.hardware && elements.size() == 2;
    return {{"name", sensor.snsRawName.ToUtf8()},
            {"type", type.code},
            {"typeName", type.name},
            {"kind", channelKindWord(type.kind)},
            {"file", file},
            {"gain", sensor.getSensorGain()},
            {"elements", elements},
            {"gradiometer", gradiometer}};
}

nlohmann::json fiducialsJson(const CheckedArray& array) {
    nlohmann::json out = nlohmann::json::array();
    if (!array.head) {
        return out;
    }
    static constexpr const char* kLabels[] = {"nasion", "ear 1", "ear 2"};
    const std::array<Point3, 3> points = fiducialPoints(*array.head);
    for (std::size_t i = 0; i < points.size(); ++i) {
        out.push_back({{"label", kLabels[i]}, {"pos", points[i]}});
    }
    return out;
}

// The rows of the map from the file's axes to RAS; the identity for a code
// that is none, so that a page is drawn all the same.
nlohmann::json axesMatrix(const std::string& axes) {
    nlohmann::json rows = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    if (const std::optional<AxesMap> map = axesToRas(axes)) {
        for (int i = 0; i < 3; ++i) {
            rows[i] = {0, 0, 0};
            rows[i][map->source[i]] = map->sign[i];
        }
    }
    return rows;
}

// Inside a script element, "</" could end it early.
std::string scriptSafe(std::string text) {
    for (std::size_t at = text.find("</"); at != std::string::npos; at = text.find("</", at)) {
        text.replace(at, 2, "<\\/");
    }
    return text;
}

void replaceOnce(std::string& page, std::string_view marker, const std::string& text) {
    const std::size_t at = page.find(marker);
    if (at != std::string::npos) {
        page.replace(at, marker.size(), text);
    }
}

}  // namespace

std::string viewPage(const CheckedArray& array, const std::string& axes, const std::string& title) {
    const GeometryReport& report = array.report;
    nlohmann::json channels = nlohmann::json::array();
    for (std::size_t i = 0; i < array.sensors.size(); ++i) {
        channels.push_back(channelJson(*array.sensors[i], array.sensorFiles[i], report.frame));
    }
    const nlohmann::json check = checkJson(array);
    nlohmann::json data = {
        {"title", title},
        {"files", array.files},
        {"frame", sensorFrameWord(report.frame)},
        {"unit", lengthUnitWord(report.unit)},
        {"axes", axes},
        {"axesToRas", axesMatrix(axes)},
        {"channels", channels},
        {"sphere", nullptr},
        {"fiducials", fiducialsJson(array)},
        {"findings", check["findings"]},
        {"counts",
         {{"errors", report.errors}, {"warnings", report.warnings}, {"notes", report.notes}}}};
    if (report.sphere.fitted) {
        data["sphere"] = {{"center", report.sphere.centre}, {"radius", report.sphere.radius}};
    }
    std::string page(kViewPage);
    replaceOnce(page, "%%TITLE%%", markupEscaped(title));
    replaceOnce(page, "%%DATA%%",
                scriptSafe(data.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)));
    return page;
}

int runView(const ArrayInputs& inputs, const std::string& axes, const std::string& out) {
    const CheckedArray array = checkArray(inputs);
    std::string title = "fluxgrid view";
    if (!inputs.paths.empty()) {
        title += ": " + inputs.paths.front() + (inputs.paths.size() > 1 ? " ..." : "");
    }
    if (writeText(viewPage(array, axes, title), out) != 0) {
        return 1;
    }
    if (out != "-" && !out.empty()) {
        std::cerr << "fluxgrid: wrote " << out << " (" << checkSummary(array) << ")\n";
    }
    return array.sensors.empty() ? 1 : 0;
}

Command addViewCommand(CLI::App& app) {
    struct Options {
        ArrayInputs inputs;
        std::string axes = "LSP";
        std::string out = "view.html";
    };
    auto options = std::make_shared<Options>();
    CLI::App* view = app.add_subcommand(
        "view",
        "Draw a sensor array in 3D as one self-contained HTML page, with every finding "
        "of check drawn and listed");
    ValueWords words = addArrayOptions(*view, options->inputs);
    view->add_option("-o,--output", options->out, "The page to write; - for standard output")
        ->capture_default_str()
        ->type_name("FILE");
    view->add_option("--axes", options->axes,
                     "The orientation code of the sensors' frame, so that the page marks the "
                     "subject's right, front and top")
        ->capture_default_str()
        ->type_name("AXES");
    view->footer(helpFooter({"fluxgrid view demo/sensors/squid21 -o squid21.html"}));
    return {view, [options] { return runView(options->inputs, options->axes, options->out); },
            words};
}

}  // namespace fluxgrid::tool
