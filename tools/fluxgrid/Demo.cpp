#include "Demo.h"

#include "ArrayCheck.h"
#include "Check.h"
#include "CommandLine.h"
#include "Commands.h"
#include "Format.h"
#include "LayoutSvg.h"
#include "Output.h"
#include "View.h"

#include <fluxgrid/channels/ChannelTypes.h>
#include <fluxgrid/fields/FieldTable.h>
#include <fluxgrid/fluxgrid.h>
#include <fluxgrid/geometry/SphereFit.h>
#include <fluxgrid/io/Files.h>
#include <fluxgrid/tables/Layouts.h>

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace fluxgrid::tool {

namespace {

namespace fs = std::filesystem;

// Axial gradiometer: pick-up and compensation coil, 5 cm apart along the
// channel's axis (the tables are in millimetres), wound against each other.
constexpr double kBaseline = 50.0;
constexpr double kCoilRadius = 9.0;
constexpr double kPi = 3.141592653589793;

struct SetReport {
    std::string label;
    std::string table;
    std::string hardware;
    std::string folder;
    int channels = 0;
    int written = 0;
    int verified = 0;
    int axial = 0;
    std::uintmax_t bytes = 0;
};

// Stores the object as the newest version of its kind into `path`, loads
// the file back and holds every filed field against the object. `bytes`
// counts what reached the disk, whatever the check finds. Returns the file
// as loaded back, or why it failed, under the name `path`.
template <FileObject T>
FileResult<LoadedFile> writeAndCheck(const std::string& path, T& object, fields::Body body,
                                     std::size_t& bytes) {
    auto failed = [&path](FileError error) {
        error.file = path;
        return FileResult<LoadedFile>(std::move(error));
    };
    FileResult<std::vector<BYTE>> stored = storeBytes(object);
    if (!stored) {
        return failed(stored.error());
    }
    FileResult<std::size_t> written = writeFileAtomically(path, *stored);
    if (!written) {
        return failed(written.error());
    }
    bytes = stored->size();
    FileResult<LoadedFile> back = loadFile(path);
    if (!back) {
        return failed(back.error());
    }
    const T* loaded = back->template get<T>();
    std::vector<std::string> differences;
    if (loaded != nullptr) {
        differences = fields::filedDifferences(object, *loaded, body);
    }
    if (loaded == nullptr || back->version != fileKindInfo(kFileKindOf<T>).written ||
        !differences.empty()) {
        FileError error;
        error.message = "loads back with a different " +
                        (differences.empty() ? std::string("version") : differences[0]);
        return failed(std::move(error));
    }
    return back;
}

std::string fileName(std::size_t row, const CString& name) {
    char prefix[8];
    std::snprintf(prefix, sizeof prefix, "%02zu-", row);
    return prefix + name.ToUtf8() + ".sensor";
}

// The helmet's sphere, fitted as the check fits it: to the positions of a
// table's MEG channels.
template <std::size_t N>
SphereFit helmetOf(const MEG_OPM_NAME_POS_TYPE (&rows)[N]) {
    std::vector<Point3> points;
    for (const MEG_OPM_NAME_POS_TYPE& row : rows) {
        if (channelType(row.sensorType).kind == ChannelKind::meg) {
            points.push_back({row.posX, row.posY, row.posZ});
        }
    }
    return fitSphere(points);
}

// A table row as a sensor is built from it: the tables give orientations to
// three decimals and some of them point into the head, so the orientation is
// made of unit length and turned outward from the helmet's centre.
MEG_OPM_NAME_POS_TYPE outwardUnitRow(const MEG_OPM_NAME_POS_TYPE& row, const SphereFit& helmet) {
    MEG_OPM_NAME_POS_TYPE param = row;
    const double length =
        std::sqrt(row.ornX * row.ornX + row.ornY * row.ornY + row.ornZ * row.ornZ);
    const double radial = (row.posX - helmet.centre[0]) * row.ornX +
                          (row.posY - helmet.centre[1]) * row.ornY +
                          (row.posZ - helmet.centre[2]) * row.ornZ;
    const double sign = radial < 0.0 ? -1.0 : 1.0;
    param.ornX = sign * row.ornX / length;
    param.ornY = sign * row.ornY / length;
    param.ornZ = sign * row.ornZ / length;
    return param;
}

void buildOpm(CMEGSensorqv& s, std::size_t row, const MEG_OPM_NAME_POS_TYPE& source) {
    static const SphereFit helmet = helmetOf(megLayout32);
    MEG_OPM_NAME_POS_TYPE param = outwardUnitRow(source, helmet);
    s.initSensorInfo(1, source.sensorType, 1000 + static_cast<int>(row), 0, 2.7, 1.0, 1.0, 0.0);
    s.setAcqSnsParam(1, 0, &param, 1, 1, 1, 1);
    auto* opm = static_cast<CMegOpmqv*>(s.getBscSns());
    opm->checkInitVapors(1);
    for (CMagVaporqv* cell : {&opm->vaporDewar[0], &opm->vaporHead[0], &opm->vaporWork[0]}) {
        cell->vaporShape = 2;
        cell->coilName = source.name;
    }
    s.snsAuxName = "megLayout32";
    s.snsFileNo = static_cast<int>(row);
    s.setCoilsDewar2work();
}

void buildSquid(CMEGSensorqv& s, std::size_t row, const MEG_OPM_NAME_POS_TYPE& source) {
    // The record is made by the first call and reset by the second, so that
    // its block starts from its defaults before the gains go in.
    s.initSensorInfo(0, source.sensorType, 0, 0, 1.0, 1.0, 1.0, 0.0);
    s.resetSensors();
    s.initSensorInfo(0, source.sensorType, 2000 + static_cast<int>(row), 1, 1.2, 10.0, 1.0, 0.0);
    static const SphereFit helmet = helmetOf(megLayout21);
    MEG_OPM_NAME_POS_TYPE pickup = outwardUnitRow(source, helmet);
    MEG_OPM_NAME_POS_TYPE compensation = pickup;
    compensation.posX += kBaseline * pickup.ornX;
    compensation.posY += kBaseline * pickup.ornY;
    compensation.posZ += kBaseline * pickup.ornZ;
    s.setAcqSnsParam(0, 1, &compensation, 1, 1, 0, 0);
    s.setAcqSnsParam(0, 0, &pickup, 1, 1, 0, 1);
    auto* squid = static_cast<CMegSquidqv*>(s.getBscSns());
    squid->totalCoils = 2;
    squid->currentCoilID = 0;
    for (int frame = 0; frame < 2; ++frame) {
        CMagCoilqv* coils = frame == 0 ? squid->coilDewar : squid->coilHead;
        for (int k = 0; k < 2; ++k) {
            coils[k].coilName = source.name + CString(k == 0 ? ".pickup" : ".compensation");
            coils[k].coilShape = 1;
            coils[k].coilTurns = k == 0 ? 1 : -1;
            coils[k].coilArea = kPi * kCoilRadius * kCoilRadius;
        }
    }
    s.snsAuxName = "megLayout21";
    s.snsFileNo = static_cast<int>(row);
    s.setCoilsDewar2work();
}

template <std::size_t N, class Build>
SetReport writeSet(const fs::path& dir, const char* label, const char* tableName,
                   const char* hardware, const MEG_OPM_NAME_POS_TYPE (&rows)[N], Build build,
                   int& failures) {
    SetReport report{label, tableName, hardware, (dir / label).string()};
    fs::create_directories(report.folder);
    for (std::size_t i = 0; i < N; ++i) {
        ++report.channels;
        const std::string path = (fs::path(report.folder) / fileName(i, rows[i].name)).string();
        CMEGSensorqv sensor;
        build(sensor, i, rows[i]);
        std::size_t bytes = 0;
        const FileResult<LoadedFile> back =
            writeAndCheck(path, sensor, fields::Body::sensor20200210, bytes);
        if (bytes > 0) {
            ++report.written;
            report.bytes += bytes;
        }
        if (!back) {
            ++failures;
            printFailure(back.error());
            continue;
        }
        ++report.verified;
        const CMEGSensorqv& loaded = *back->get<CMEGSensorqv>();
        report.axial += loaded.hardwareType == 0 && loaded.isAxialGrad() == 1;
    }
    return report;
}

struct HeadReport {
    std::string path;
    std::size_t bytes = 0;
    int steps = 0;
    bool verified = false;
    double location[3] = {};
    double rotation[3] = {};
};

// The default fiducials, seen in a 256-point MRI volume of 0.1 cm spacing
// centred on the head, over five time steps of a slowly drifting head.
void fillHeadLocalization(CHeadLocalizationqv& h, int steps) {
    h.initDefaultHeadLocalParams();
    constexpr int kSize = 256;
    constexpr double kStep = 0.1;
    const double centre = kSize * kStep * 0.5;
    for (int t = 0; t < steps; ++t) {
        auto* set = new CFiducialqv(h.fiducialFirst);
        for (CFiduciaryPtqv& point : set->fidPts) {
            point.setFidPtPosition(point.ptValues[4] + centre + 0.05 * t,
                                   point.ptValues[5] + centre - 0.02 * t,
                                   point.ptValues[6] + centre + 0.03 * t);
        }
        h.fiducialPA.Add(set);
        h.headLocalLabels.Add(CString("step ") + CString(std::to_string(t)));
    }
    h.headLocalText = "fluxgrid demo: default fiducials, averaged and registered";
    h.setHeadLocalizeTime(steps - 1);
    h.headLocalType = 2;
    CFiducialqv* average = h.getAverageFiducialPts();
    h.registerMEGFiducial2MRIFiducialPts(average, true, nullptr, kSize, kSize, kSize, kStep, kStep,
                                         kStep);
}

HeadReport writeHeadLocalization(const fs::path& dir, int& failures) {
    HeadReport report;
    fs::create_directories(dir / "headloc");
    report.path = (dir / "headloc" / "demo.headloc").string();
    CHeadLocalizationqv h;
    report.steps = 5;
    fillHeadLocalization(h, report.steps);
    h.getSensorLocation(report.location[0], report.location[1], report.location[2]);
    h.getSensorRotation(report.rotation[0], report.rotation[1], report.rotation[2]);
    const FileResult<LoadedFile> back =
        writeAndCheck(report.path, h, fields::Body::headloc, report.bytes);
    if (!back) {
        ++failures;
        printFailure(back.error());
    } else {
        report.verified = true;
    }
    return report;
}

// Where the fiducials of the OPM set point from the helmet's centre, in its
// own frame, the tables' head frame (x to the subject's left, y up, z to
// the back; millimetres): the ear points toward A1 and A2 of the EEG
// tables, the nasion toward 40 mm below FP1 and FP2.
constexpr std::array<Point3, 3> kOpmFiducialTargets = {{
    {0.0, 31.0, -105.0},
    {90.92224, 0.8736, -33.5347},
    {-90.92224, 0.8736, -33.5347},
}};
// A head sits inside the helmet: its fiducials lie at this part of the
// helmet's radius from its centre.
constexpr double kFiducialDepth = 0.85;

// A head localization of the OPM set: the current fiducial set in the
// sensors' frame, the head frame that the analysis packages are given.
std::string writeOpmHeadLocalization(const fs::path& dir, int& failures) {
    const SphereFit helmet = helmetOf(megLayout32);
    CHeadLocalizationqv h;
    const char* names[] = {"nasion", "left ear", "right ear"};
    for (std::size_t i = 0; i < kOpmFiducialTargets.size(); ++i) {
        Point3 toward{};
        double length = 0.0;
        for (int k = 0; k < 3; ++k) {
            toward[k] = kOpmFiducialTargets[i][k] - helmet.centre[k];
            length += toward[k] * toward[k];
        }
        const double scale = kFiducialDepth * helmet.radius / std::sqrt(length);
        CFiduciaryPtqv& point = h.fiducialCurrent.fidPts[i];
        point.setFidPtPosition(helmet.centre[0] + scale * toward[0],
                               helmet.centre[1] + scale * toward[1],
                               helmet.centre[2] + scale * toward[2]);
        point.ptName = names[i];
    }
    h.headLocalText = "fluxgrid demo: fiducials of the OPM set, in its frame";
    const std::string path = (dir / "headloc" / "opm32.headloc").string();
    std::size_t bytes = 0;
    const FileResult<LoadedFile> back = writeAndCheck(path, h, fields::Body::headloc, bytes);
    if (!back) {
        ++failures;
        printFailure(back.error());
    }
    return path;
}

struct CheckedSet {
    std::string label;
    std::string summary;
    std::string view;
    int errors = 0;
};

// Judges a set of sensor files as a user's `fluxgrid check` would, with the
// head localization whose fiducials stand in their frame, and draws it.
CheckedSet checkSet(const fs::path& dir, const std::string& label,
                    std::optional<std::string> headloc, int& failures) {
    ArrayInputs inputs;
    inputs.paths = {(dir / "sensors" / label).string()};
    inputs.headloc = std::move(headloc);
    const CheckedArray array = checkArray(inputs);
    CheckedSet set{label, checkSummary(array), (dir / "views" / (label + ".html")).string(),
                   array.report.errors};
    for (const Finding& finding : array.report.findings) {
        if (finding.severity == Severity::error) {
            std::cerr << "fluxgrid: " << formatFinding(finding) << '\n';
        }
    }
    failures += set.errors > 0 ? 1 : 0;
    if (writeText(viewPage(array, "LSP", "fluxgrid demo: " + label), set.view) != 0) {
        ++failures;
        set.view = "not written";
    }
    return set;
}

// The demo's own head localization alone, judged in its own unit.
CheckedSet checkHeadLocalization(const std::string& path, int& failures) {
    CheckedSet set{"headloc", "not loaded", "-", 1};
    FileResult<LoadedFile> loaded = loadFile(path);
    if (!loaded) {
        printFailure(loaded.error());
        ++failures;
        return set;
    }
    const auto* head = loaded->get<CHeadLocalizationqv>();
    const GeometryReport report = checkGeometry({}, CheckedHead{*head, path});
    for (const Finding& finding : report.findings) {
        if (finding.severity == Severity::error) {
            std::cerr << "fluxgrid: " << formatFinding(finding) << '\n';
        }
    }
    set.errors = report.errors;
    set.summary = std::to_string(report.errors) + " errors, " + std::to_string(report.warnings) +
                  " warnings, " + std::to_string(report.notes) + " notes; judged in " +
                  std::string(lengthUnitWord(report.headUnit.value_or(LengthUnit::mm)));
    failures += set.errors > 0 ? 1 : 0;
    return set;
}

// What of a program's output reaches ours.
enum class Shown { nothing, errors };

// Runs a program with its arguments, its standard output discarded and its
// errors shown as `shown` says; its exit status, or -1 when it could not run.
int runProgram(const std::vector<std::string>& args, Shown shown) {
    std::vector<char*> argv;
    for (const std::string& arg : args) {
        argv.push_back(const_cast<char*>(arg.c_str()));
    }
    argv.push_back(nullptr);
    std::fflush(stdout);
    const pid_t child = fork();
    if (child < 0) {
        return -1;
    }
    if (child == 0) {
        std::freopen("/dev/null", "w", stdout);
        if (shown == Shown::nothing) {
            std::freopen("/dev/null", "w", stderr);
        }
        execvp(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    if (waitpid(child, &status, 0) < 0 || !WIFEXITED(status)) {
        return -1;
    }
    return WEXITSTATUS(status);
}

// The interpreter of the Python module: FLUXGRID_PYTHON_EXECUTABLE, or the one the
// build was configured with.
std::string pythonInterpreter() {
    const char* chosen = std::getenv("FLUXGRID_PYTHON_EXECUTABLE");
    return chosen != nullptr && *chosen != '\0' ? chosen : FLUXGRID_DEMO_PYTHON;
}

// The measurement info of the OPM set with its head localization, as a FIF
// file of MNE-Python, written by the Python module where it and MNE are at
// hand. The line that reports it, or why there is none.
std::string writeMneInfo(const fs::path& dir, const std::string& headloc, int& failures) {
    const std::string python = pythonInterpreter();
    if (runProgram({python, "-c", "import fluxgrid.mne, mne"}, Shown::nothing) != 0) {
        return "not written: " + python + " cannot import the Python module fluxgrid and MNE";
    }
    const std::string path = (dir / "info.fif").string();
    const int status =
        runProgram({python, "-m", "fluxgrid", "export", "fif", (dir / "sensors" / "opm32").string(),
                    "--headloc", headloc, "--axes", "LSP", "--unit", "mm", "-o", path},
                   Shown::errors);
    if (status != 0) {
        ++failures;
        std::cerr << "fluxgrid: " << path << ": the Python module failed to write it\n";
        return "failed";
    }
    return path;
}

}  // namespace

int runDemo(const std::string& dirName) {
    const fs::path dir(dirName);
    int failures = 0;
    try {
        fs::create_directories(dir);
    } catch (const fs::filesystem_error& e) {
        std::cerr << "fluxgrid: " << dirName << ": cannot create the folder: " << e.code().message()
                  << '\n';
        return 1;
    }
    std::vector<SetReport> sets;
    try {
        sets.push_back(writeSet(dir / "sensors", "opm32", "megLayout32", "OPM", megLayout32,
                                buildOpm, failures));
        sets.push_back(writeSet(dir / "sensors", "squid21", "megLayout21", "SQUID", megLayout21,
                                buildSquid, failures));
    } catch (const fs::filesystem_error& e) {
        std::cerr << "fluxgrid: " << e.path1().string() << ": " << e.code().message() << '\n';
        return 1;
    }
    const HeadReport head = writeHeadLocalization(dir, failures);
    const std::string opmHeadloc = writeOpmHeadLocalization(dir, failures);
    const std::string info = writeMneInfo(dir, opmHeadloc, failures);
    fs::create_directories(dir / "views");
    const std::vector<CheckedSet> checked = {
        checkSet(dir, "opm32", opmHeadloc, failures),
        checkSet(dir, "squid21", std::nullopt, failures),
        checkHeadLocalization(head.path, failures),
    };

    std::vector<std::string> plots;
    fs::create_directories(dir / "layouts");
    for (const char* name : {"megLayout32", "megLayout21"}) {
        const std::string path = (dir / "layouts" / (std::string(name) + ".svg")).string();
        if (writeText(layoutSvg(*findLayoutTable(name)), path) == 0) {
            plots.push_back(path);
        } else {
            ++failures;
        }
    }

    std::printf("%-8s %-12s %-6s %8s %8s %9s %6s %9s\n", "set", "table", "kind", "channels",
                "written", "verified", "axial", "bytes");
    for (const SetReport& set : sets) {
        const std::string axial =
            set.hardware == std::string("SQUID") ? std::to_string(set.axial) : "-";
        std::printf("%-8s %-12s %-6s %8d %8d %9d %6s %9ju\n", set.label.c_str(), set.table.c_str(),
                    set.hardware.c_str(), set.channels, set.written, set.verified, axial.c_str(),
                    set.bytes);
    }
    std::printf("%-8s %-12s %-6s %8d %8d %9d %6s %9zu\n", "headloc", "defaults", "-", head.steps,
                head.bytes > 0 ? 1 : 0, head.verified ? 1 : 0, "-", head.bytes);
    std::printf("\nhead localization: location (%s, %s, %s), rotation (%s, %s, %s) degrees\n",
                number(head.location[0]).c_str(), number(head.location[1]).c_str(),
                number(head.location[2]).c_str(), number(head.rotation[0]).c_str(),
                number(head.rotation[1]).c_str(), number(head.rotation[2]).c_str());
    std::printf("\ngeometry check:\n");
    for (const CheckedSet& set : checked) {
        std::printf("  %-8s %s\n", set.label.c_str(), set.summary.c_str());
    }
    std::printf("\noutputs:\n");
    for (const SetReport& set : sets) {
        std::printf("  %-22s %s/\n", (set.hardware + " sensor files:").c_str(), set.folder.c_str());
    }
    std::printf("  %-22s %s\n", "head localization:", head.path.c_str());
    std::printf("  %-22s %s\n", "OPM set's fiducials:", opmHeadloc.c_str());
    std::printf("  %-22s %s\n", "MNE measurement info:", info.c_str());
    for (const CheckedSet& set : checked) {
        if (set.view != "-") {
            std::printf("  %-22s %s\n", (set.label + " view:").c_str(), set.view.c_str());
        }
    }
    for (const std::string& plot : plots) {
        std::printf("  %-22s %s\n", "layout plot:", plot.c_str());
    }
    if (failures > 0) {
        std::printf("\n%d output(s) failed; see the messages above\n", failures);
        return 1;
    }
    std::printf(
        "\nevery file was written, loaded back and checked field by field, and every set passed "
        "the geometry check\n");
    return 0;
}

Command addDemoCommand(CLI::App& app) {
    auto dir = std::make_shared<std::string>("./fluxgrid-demo");
    CLI::App* demo = app.add_subcommand(
        "demo",
        "Build OPM and SQUID sensor sets and a head localization, write, reload and "
        "check them, and draw the layouts");
    demo->add_option("DIR", *dir, "Output folder")->capture_default_str()->type_name("DIR");
    demo->footer(helpFooter({"fluxgrid demo /tmp/fluxgrid-demo"}));
    return {demo, [dir] { return runDemo(*dir); }, {}};
}

}  // namespace fluxgrid::tool
