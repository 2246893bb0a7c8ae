// The geometry check: a set of sensors, given as objects, files or folders,
// and a head localization beside it, judged by the library's rules. Files
// that do not load, and what is no sensor, are findings of their own, in the
// words and codes of the tool's `check`, so that the rest is still judged.
#include "Bindings.h"

#include <fluxgrid/geometry/Check.h>
#include <fluxgrid/io/Files.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

namespace fluxgrid::python {

namespace {

namespace fs = std::filesystem;

struct RuleName {
    static constexpr auto text = py::detail::const_name("GeometryRule");
};

struct ElementsName {
    static constexpr auto text =
        py::detail::const_name("Tuple[npt.NDArray[np.float64], npt.NDArray[np.float64]]");
};

// What the set is made of: the sensors and the head localization, whether
// given as objects or loaded here, and what was found about the inputs.
struct CheckInputs {
    int files = 0;
    std::vector<std::shared_ptr<CMEGSensorqv>> sensors;
    std::vector<std::string> sensorFiles;
    std::shared_ptr<CHeadLocalizationqv> head;
    std::string headFile;
    bool headGiven = false;
    std::vector<Finding> found;
};

constexpr std::array<Severity, 3> kSeverities = {Severity::error, Severity::warning,
                                                 Severity::note};

Severity severityFromWord(const std::string& word) {
    for (const Severity severity : kSeverities) {
        if (severityWord(severity) == word) {
            return severity;
        }
    }
    throw py::value_error("no severity is called '" + word + "'");
}

template <class T, class FromWord>
T fromWord(const std::string& word, FromWord fromWordOf, const char* what,
           const std::initializer_list<T>& values, std::string_view (*wordOf)(T)) {
    if (const std::optional<T> value = fromWordOf(word)) {
        return *value;
    }
    std::string words;
    for (const T value : values) {
        words += (words.empty() ? "" : ", ") + std::string(wordOf(value));
    }
    throw py::value_error(std::string(what) + " must be one of " + words + ", not " +
                          py::repr(py::str(word)).cast<std::string>());
}

SensorFrame frameOf(const std::string& word) {
    return fromWord(word, sensorFrameFromWord, "frame",
                    {SensorFrame::dewar, SensorFrame::head, SensorFrame::work}, sensorFrameWord);
}

LengthUnit unitOf(const std::string& word) {
    return fromWord(word, lengthUnitFromWord, "unit",
                    {LengthUnit::mm, LengthUnit::cm, LengthUnit::m}, lengthUnitWord);
}

Finding inputFinding(Severity severity, std::string code, std::string file, std::string message) {
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
    return inputFinding(Severity::error, "load-" + std::string(failureCode(error.failure)),
                        error.file, std::move(message));
}

void takeHead(std::shared_ptr<CHeadLocalizationqv> head, const std::string& file,
              CheckInputs& inputs) {
    if (inputs.headGiven || inputs.head) {
        const std::string judged = inputs.headFile.empty() ? "the one given" : inputs.headFile;
        inputs.found.push_back(inputFinding(Severity::warning, "headloc-extra", file,
                                            "a second head localization among the inputs; the "
                                            "one of " +
                                                judged + " is judged"));
        return;
    }
    inputs.head = std::move(head);
    inputs.headFile = file;
}

// Takes what a file held into the set, or says why it is left out.
void takeLoaded(LoadedFile& loaded, CheckInputs& inputs) {
    if (auto* held = std::get_if<std::unique_ptr<CMEGSensorqv>>(&loaded.object)) {
        inputs.sensors.emplace_back(std::move(*held));
        inputs.sensorFiles.push_back(loaded.file);
        return;
    }
    if (auto* held = std::get_if<std::unique_ptr<CHeadLocalizationqv>>(&loaded.object)) {
        takeHead(std::shared_ptr<CHeadLocalizationqv>(std::move(*held)), loaded.file, inputs);
        return;
    }
    const std::string_view title = fileKindInfo(loaded.kind).title;
    const bool vowel = std::string_view("AEIOUaeiou").find(title.front()) != std::string_view::npos;
    inputs.found.push_back(inputFinding(
        Severity::note, "not-a-sensor", loaded.file,
        (vowel ? "an " : "a ") + std::string(title) + " is no channel of an array; left out"));
}

FileResult<LoadedFile> loadWithoutLock(const std::string& file, const LoadOptions& options) {
    py::gil_scoped_release release;
    return loadFile(file, options);
}

void loadInto(const std::string& file, const LoadOptions& options, CheckInputs& inputs) {
    FileResult<LoadedFile> loaded = loadWithoutLock(file, options);
    ++inputs.files;
    if (loaded) {
        takeLoaded(*loaded, inputs);
    } else {
        inputs.found.push_back(loadFailure(loaded.error()));
    }
}

// A file as it is named; a folder as the regular files in it and below it,
// sorted by name. A name that is neither is kept, so that its load says why.
std::vector<std::string> filesOf(const std::string& path) {
    std::error_code error;
    if (!fs::is_directory(path, error)) {
        return {path};
    }
    std::vector<std::string> found;
    for (fs::recursive_directory_iterator it(path, error), end; !error && it != end;
         it.increment(error)) {
        if (it->is_regular_file(error)) {
            found.push_back(it->path().string());
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

bool isPath(const py::handle& item) {
    return py::isinstance<py::str>(item) ||
           py::isinstance(item, py::module_::import("os").attr("PathLike"));
}

void takeItem(const py::handle& item, CheckInputs& inputs) {
    if (py::isinstance<CMEGSensorqv>(item)) {
        inputs.sensors.push_back(item.cast<std::shared_ptr<CMEGSensorqv>>());
        inputs.sensorFiles.emplace_back();
    } else if (py::isinstance<CHeadLocalizationqv>(item)) {
        takeHead(item.cast<std::shared_ptr<CHeadLocalizationqv>>(), {}, inputs);
    } else if (isPath(item)) {
        for (const std::string& file : filesOf(fileBytes(item))) {
            loadInto(file, {}, inputs);
        }
    } else {
        throw py::type_error(
            "a Sensor, a HeadLocalization or the path of a file or folder "
            "is checked, not a " +
            py::str(py::type::of(item).attr("__name__")).cast<std::string>());
    }
}

CheckInputs gather(const py::iterable& items, const py::object& headloc) {
    CheckInputs inputs;
    if (!headloc.is_none()) {
        if (py::isinstance<CHeadLocalizationqv>(headloc)) {
            inputs.head = headloc.cast<std::shared_ptr<CHeadLocalizationqv>>();
        } else if (isPath(headloc)) {
            LoadOptions options;
            options.as = FileKind::headloc;
            loadInto(fileBytes(headloc), options, inputs);
        } else {
            throw py::type_error("headloc is a HeadLocalization or the path of one");
        }
        inputs.headGiven = true;
    }
    for (const py::handle item : items) {
        takeItem(item, inputs);
    }
    if (inputs.sensors.empty()) {
        inputs.found.push_back(inputFinding(Severity::error, "no-sensors", {},
                                            "no sensor file among the inputs: nothing to judge"));
    }
    return inputs;
}

// The findings about the inputs go first, and count with the rest.
void prepend(std::vector<Finding> found, GeometryReport& report) {
    for (const Finding& finding : found) {
        ++(finding.severity == Severity::error     ? report.errors
           : finding.severity == Severity::warning ? report.warnings
                                                   : report.notes);
    }
    found.insert(found.end(), std::make_move_iterator(report.findings.begin()),
                 std::make_move_iterator(report.findings.end()));
    report.findings = std::move(found);
}

py::object findingTuple(const Finding& finding, const py::object& findingClass,
                        const py::object& valueClass) {
    py::list values;
    for (const FindingValue& value : finding.values) {
        values.append(valueClass(value.name, value.value, value.unit));
    }
    const py::object index =
        finding.channel >= 0 ? py::object(py::int_(finding.channel)) : py::object(py::none());
    return findingClass(std::string(severityWord(finding.severity)), finding.code, finding.name,
                        fileText(finding.file), fileText(finding.message), index,
                        py::tuple(values));
}

// A finding back from its tuple, for the library to word it.
Finding findingOf(const py::handle& tuple) {
    Finding finding;
    finding.severity = severityFromWord(tuple.attr("severity").cast<std::string>());
    finding.code = tuple.attr("code").cast<std::string>();
    finding.name = tuple.attr("channel").cast<std::string>();
    finding.file = fileBytes(tuple.attr("file"));
    finding.message = fileBytes(tuple.attr("message"));
    const py::object index = tuple.attr("index");
    finding.channel = index.is_none() ? -1 : index.cast<int>();
    for (const py::handle value : tuple.attr("values")) {
        finding.values.push_back({value.attr("name").cast<std::string>(),
                                  value.attr("value").cast<double>(),
                                  value.attr("unit").cast<std::string>()});
    }
    return finding;
}

py::object sphereTuple(const SphereFit& sphere, const py::object& sphereClass) {
    return sphereClass(sphere.fitted,
                       py::make_tuple(sphere.centre[0], sphere.centre[1], sphere.centre[2]),
                       sphere.radius, sphere.rms, sphere.points, sphere.reason);
}

py::object wordOrNone(const std::optional<LengthUnit>& unit) {
    return unit ? py::object(py::str(std::string(lengthUnitWord(*unit)))) : py::none();
}

// Rows of x, y, z of a four-value field of the elements.
py::array_t<double> rowsOf(const std::vector<const CBscMagSns*>& elements,
                           double (CBscMagSns::*field)[4]) {
    py::array_t<double> rows(
        std::vector<py::ssize_t>{static_cast<py::ssize_t>(elements.size()), 3});
    auto out = rows.mutable_unchecked<2>();
    for (py::ssize_t i = 0; i < out.shape(0); ++i) {
        for (py::ssize_t k = 0; k < 3; ++k) {
            out(i, k) = (elements[i]->*field)[k];
        }
    }
    return rows;
}

}  // namespace

void bindCheck(py::module_& m) {
    const py::object valueClass = defineNamedTuple(
        m, "FindingValue", {{"name", "str"}, {"value", "float"}, {"unit", "str"}},
        "One number behind a finding: its name (\"length\", \"distance\", ...), its value and its "
        "unit (\"mm\", \"cm\", \"m\", \"deg\", or empty for a plain number).");
    const py::object findingClass = defineNamedTuple(
        m, "Finding",
        {{"severity", "str"},
         {"code", "str"},
         {"channel", "str"},
         {"file", "str"},
         {"message", "str"},
         {"index", "Optional[int]"},
         {"values", "Tuple[FindingValue, ...]"}},
        "One finding of the geometry check: its severity (\"error\", \"warning\" or \"note\"); "
        "the rule's code (\"orientation-inward\", \"load-truncated\", ...); the channel's name "
        "(empty without one); the file of the channel or of the head localization (empty for "
        "none); what was found; the channel's index in the set (None for the set as a whole, "
        "the head localization or a file); and the values behind it. str() gives one line.");
    findingClass.attr("__str__") = py::cpp_function(
        [](const py::handle& self) { return fileText(formatFinding(findingOf(self))); },
        py::is_method(findingClass), py::name("__str__"));
    const py::object sphereClass = defineNamedTuple(
        m, "SphereFit",
        {{"fitted", "bool"},
         {"centre", "Tuple[float, float, float]"},
         {"radius", "float"},
         {"rms", "float"},
         {"points", "int"},
         {"reason", "str"}},
        "The sphere fitted to the first elements of the MEG channels, in the sensors' frame and "
        "unit: whether the points determine one, its centre and radius, the root mean square of "
        "the points' distances from it, how many points it was given, and why there is none.");
    const py::object ruleClass = defineNamedTuple(
        m, "GeometryRule",
        {{"code", "str"}, {"severity", "str"}, {"scope", "str"}, {"summary", "str"}},
        "One rule of the geometry check: its code, the severity of its findings, what it is "
        "about (\"channel\", \"set\" or \"head\") and one sentence of what it finds.");

    m.def(
        "_check",
        [findingClass, valueClass, sphereClass](
            const py::iterable& items, const py::object& headloc, const std::string& frame,
            const std::string& unit, const std::optional<std::string>& headlocUnit) {
            const CheckOptions options{.frame = frameOf(frame), .unit = unitOf(unit)};
            const std::optional<LengthUnit> headUnit =
                headlocUnit ? std::optional(unitOf(*headlocUnit)) : std::nullopt;
            CheckInputs inputs = gather(items, headloc);
            std::vector<CheckedSensor> set;
            set.reserve(inputs.sensors.size());
            for (std::size_t i = 0; i < inputs.sensors.size(); ++i) {
                set.push_back({*inputs.sensors[i], inputs.sensorFiles[i]});
            }
            GeometryReport report = withBoxesAsWarnings([&] {
                return inputs.head
                           ? checkGeometry(set, {*inputs.head, inputs.headFile, headUnit}, options)
                           : checkGeometry(set, options);
            });
            prepend(std::move(inputs.found), report);
            py::list findings;
            for (const Finding& finding : report.findings) {
                findings.append(findingTuple(finding, findingClass, valueClass));
            }
            py::dict parts;
            parts["findings"] = py::tuple(findings);
            parts["frame"] = std::string(sensorFrameWord(report.frame));
            parts["unit"] = std::string(lengthUnitWord(report.unit));
            parts["head_unit"] = wordOrNone(report.headUnit);
            parts["files"] = inputs.files;
            parts["channels"] = report.channels;
            parts["meg_channels"] = report.megChannels;
            parts["reference_channels"] = report.referenceChannels;
            parts["sphere"] = sphereTuple(report.sphere, sphereClass);
            parts["errors"] = report.errors;
            parts["warnings"] = report.warnings;
            parts["notes"] = report.notes;
            parts["sensors"] = py::tuple(py::cast(inputs.sensors));
            py::list sensorFiles;
            for (const std::string& file : inputs.sensorFiles) {
                sensorFiles.append(fileText(file));
            }
            parts["sensor_files"] = py::tuple(sensorFiles);
            parts["headloc"] = inputs.head ? py::cast(inputs.head) : py::none();
            parts["headloc_file"] = fileText(inputs.headFile);
            return parts;
        },
        py::arg("items"), py::arg("headloc"), py::arg("frame"), py::arg("unit"),
        py::arg("headloc_unit"),
        "The parts of a CheckReport of the sensors, files and folders of `items`.");
    m.def(
        "geometry_rules",
        [ruleClass] {
            py::list rules;
            for (const GeometryRule& rule : geometryRules()) {
                rules.append(
                    ruleClass(std::string(rule.code), std::string(severityWord(rule.severity)),
                              std::string(ruleScopeWord(rule.scope)), std::string(rule.summary)));
            }
            return rules.cast<std::vector<TypedTuple<RuleName>>>();
        },
        "Every rule of the geometry check, in the order in which they run.");
    m.def(
        "_checked_elements",
        [](const CMEGSensorqv& sensor, const std::string& frame) -> TypedTuple<ElementsName> {
            const std::vector<const CBscMagSns*> elements = elementsInUse(sensor, frameOf(frame));
            return py::make_tuple(rowsOf(elements, &CBscMagSns::posP4),
                                  rowsOf(elements, &CBscMagSns::oriP4));
        },
        py::arg("sensor"), py::arg("frame"),
        "Positions and orientations of the elements in use of `frame` that the check judges.");
}

}  // namespace fluxgrid::python
