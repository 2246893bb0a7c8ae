#include "ArrayCheck.h"

#include <fluxgrid/io/Files.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace fluxgrid::tool {

namespace {

namespace fs = std::filesystem;

Finding fileFinding(Severity severity, std::string code, std::string file, std::string message) {
    Finding finding;
    finding.severity = severity;
    finding.code = std::move(code);
    finding.file = std::move(file);
    finding.message = std::move(message);
    return finding;
}

// The loader's own words, and the texts of the message boxes it caught.
Finding loadFailure(const FileError& error) {
    std::string message = error.message;
    for (const std::string& box : error.boxes) {
        message += "; the library said: " + box;
    }
    return fileFinding(Severity::error, "load-" + std::string(failureCode(error.failure)),
                       error.file, std::move(message));
}

// Takes what a file held into the array, or says why it is left out.
void take(LoadedFile& loaded, bool headGiven, CheckedArray& array, std::vector<Finding>& found) {
    if (auto* held = std::get_if<std::unique_ptr<CMEGSensorqv>>(&loaded.object)) {
        array.sensors.push_back(std::move(*held));
        array.sensorFiles.push_back(loaded.file);
        return;
    }
    if (auto* held = std::get_if<std::unique_ptr<CHeadLocalizationqv>>(&loaded.object)) {
        HeadLocalizationPtr head(held->release());
        if (headGiven || array.head) {
            found.push_back(fileFinding(Severity::warning, "headloc-extra", loaded.file,
                                        "a second head localization among the inputs; the "
                                        "one of " +
                                            (array.headFile) + " is judged"));
            return;
        }
        array.head = std::move(head);
        array.headFile = loaded.file;
        return;
    }
    const std::string_view title = fileKindInfo(loaded.kind).title;
    const bool vowel = std::string_view("AEIOUaeiou").find(title.front()) != std::string_view::npos;
    found.push_back(fileFinding(
        Severity::note, "not-a-sensor", loaded.file,
        (vowel ? "an " : "a ") + std::string(title) + " is no channel of an array; left out"));
}

void prepend(std::vector<Finding> found, GeometryReport& report) {
    for (const Finding& finding : found) {
        switch (finding.severity) {
            case Severity::error:
                ++report.errors;
                break;
            case Severity::warning:
                ++report.warnings;
                break;
            case Severity::note:
                ++report.notes;
                break;
        }
    }
    found.insert(found.end(), std::make_move_iterator(report.findings.begin()),
                 std::make_move_iterator(report.findings.end()));
    report.findings = std::move(found);
}

}  // namespace

ValueWords addArrayOptions(CLI::App& command, ArrayInputs& inputs) {
    std::vector<std::string> frames;
    for (SensorFrame frame : {SensorFrame::dewar, SensorFrame::head, SensorFrame::work}) {
        frames.emplace_back(sensorFrameWord(frame));
    }
    command
        .add_option("PATH", inputs.paths, "Sensor files, or folders of them (walked in name order)")
        ->required();
    command
        .add_option("--headloc", inputs.headloc,
                    "Head localization file; its fiducials stand in the sensors' frame")
        ->type_name("FILE");
    command
        .add_option_function<std::string>(
            "--frame",
            [&inputs](const std::string& word) { inputs.frame = *sensorFrameFromWord(word); },
            "The element frame to judge")
        ->check(CLI::IsMember(frames))
        ->default_str(std::string(sensorFrameWord(inputs.frame)))
        ->type_name("ELEMENTS");
    return {{"ELEMENTS", frames}};
}

void HeadLocalizationRelease::operator()(CHeadLocalizationqv* head) const {
    if (head == nullptr) {
        return;
    }
    head->cleanFiducialPA();
    head->cleanFiducialPARaw();
    head->cleanFiducialPt();
    delete head;
}

std::vector<std::string> expandInputs(const std::vector<std::string>& paths) {
    std::vector<std::string> files;
    for (const std::string& path : paths) {
        std::error_code error;
        if (!fs::is_directory(path, error)) {
            files.push_back(path);
            continue;
        }
        std::vector<std::string> found;
        for (fs::recursive_directory_iterator it(path, error), end; !error && it != end;
             it.increment(error)) {
            if (it->is_regular_file(error)) {
                found.push_back(it->path().string());
            }
        }
        std::sort(found.begin(), found.end());
        files.insert(files.end(), found.begin(), found.end());
    }
    return files;
}

CheckedArray checkArray(const ArrayInputs& inputs) {
    CheckedArray array;
    std::vector<Finding> found;
    if (inputs.headloc) {
        LoadOptions options;
        options.as = FileKind::headloc;
        FileResult<LoadedFile> loaded = loadFile(*inputs.headloc, options);
        ++array.files;
        if (loaded) {
            take(*loaded, false, array, found);
        } else {
            found.push_back(loadFailure(loaded.error()));
        }
    }
    for (const std::string& file : expandInputs(inputs.paths)) {
        FileResult<LoadedFile> loaded = loadFile(file);
        ++array.files;
        if (loaded) {
            take(*loaded, inputs.headloc.has_value(), array, found);
        } else {
            found.push_back(loadFailure(loaded.error()));
        }
    }
    if (array.sensors.empty()) {
        found.push_back(fileFinding(Severity::error, "no-sensors", {},
                                    "no sensor file among the inputs: nothing to judge"));
    }

    std::vector<CheckedSensor> set;
    set.reserve(array.sensors.size());
    for (std::size_t i = 0; i < array.sensors.size(); ++i) {
        set.push_back({*array.sensors[i], array.sensorFiles[i]});
    }
    const CheckOptions options{.frame = inputs.frame, .unit = inputs.unit};
    array.report = array.head ? checkGeometry(set, {*array.head, array.headFile}, options)
                              : checkGeometry(set, options);
    prepend(std::move(found), array.report);
    return array;
}

}  // namespace fluxgrid::tool
