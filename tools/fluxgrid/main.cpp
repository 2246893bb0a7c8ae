// The fluxgrid command-line tool. Exit status: 0 when the work is done, 1
// when some of it failed, 2 on bad usage.
#include "ChannelExport.h"
#include "Check.h"
#include "CommandLine.h"
#include "CommandLineDocs.h"
#include "Demo.h"
#include "Info.h"
#include "Layout.h"
#include "Migrate.h"
#include "Output.h"
#include "View.h"

#include <fluxgrid/io/Files.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

const std::string kVersion = std::string("fluxgrid ") + FLUXGRID_VERSION;

// Ends the parse once `text` is written: done, or failed after saying why.
[[noreturn]] void writeAndStop(const std::string& text, const std::string& path) {
    if (fluxgrid::tool::writeText(text, path) != 0) {
        throw CLI::RuntimeError(fluxgrid::tool::kFailed);
    }
    throw CLI::Success();
}

// Hidden options that write the manual page and the bash completion of the
// whole command line, as it stands when they run; the build runs them.
void addGenerators(CLI::App& app) {
    using namespace fluxgrid::tool;
    app.add_option_function<std::string>(
           "--generate-man",
           [&app](const std::string& path) { writeAndStop(manPage(app, kVersion), path); })
        ->group("");
    app.add_option_function<std::string>("--generate-completion",
                                         [&app](const std::string& path) {
                                             const ValueWords words = {
                                                 {"TABLE", layoutNames()},
                                                 {"FORMAT", exportFormatNames()},
                                                 {"FRAME", layoutFrameNames()}};
                                             writeAndStop(bashCompletion(app, words), path);
                                         })
        ->group("");
}

int runCommandLine(int argc, char** argv) {
    using namespace fluxgrid::tool;

    CLI::App app{
        "Look inside MEG sensor, element and head localization files, migrate sensor files to "
        "the newest version, and print, export and draw the channel layout tables.",
        "fluxgrid"};
    app.require_subcommand(1);
    app.set_version_flag("--version", kVersion, "Print the version of the library and exit");
    app.footer(helpFooter({"fluxgrid info examples/data/sensor-squid-20080101.sensor",
                           "fluxgrid layout export eegLayout32 --format elc --frame ras"}));
    addGenerators(app);

    std::vector<std::string> files;
    bool json = false;
    auto* info = app.add_subcommand(
        "info",
        "Kind, version and a summary of each file (coil, vapor cell, SQUID record, OPM "
        "record, sensor, head localization)");
    info->add_option("FILE", files, "Files to look into; - reads standard input")->required();
    info->add_flag("--json", json,
                   "Print every field of every object as one JSON array; a file that fails is "
                   "an entry with \"file\", \"code\" (missing, not-regular-file, too-large, "
                   "read-error, bad-magic, refused-version, truncated, refused, corrupt), "
                   "\"error\", \"boxes\", and \"kind\", \"magic\" and \"version\" where known; "
                   "a name that is not UTF-8 is also given whole in \"file_bytes\" as hex");
    std::uint64_t maxSize = fluxgrid::kDefaultMaxFileBytes;
    info->add_option("--max-size", maxSize,
                     "Refuse files and standard input larger than this (suffixes K, M, G: "
                     "powers of 1024)")
        ->check(CLI::Validator(
            [](const std::string& text) {
                return !text.empty() && std::isdigit(static_cast<unsigned char>(text.front()))
                           ? std::string()
                           : "expects a number of bytes, such as 800, 64K or 2G";
            },
            ""))
        ->transform(CLI::AsSizeValue(false).description(""))
        ->type_name("BYTES")
        ->default_str("1G");
    info->footer(helpFooter({"fluxgrid info --json examples/data/sensor-opm-20200210.sensor",
                             "fluxgrid info - < recording.sensor"}));

    MigrateOptions migrateOptions;
    migrateOptions.jobs = std::max(1u, std::thread::hardware_concurrency());
    bool inPlace = false;
    std::string fault;
    auto* migrate = app.add_subcommand(
        "migrate", "Load sensor files of any accepted version and store them as the newest");
    migrate->add_option("FILE", files, "Sensor files to migrate")->required();
    auto* outDirOption = migrate->add_option("--out-dir", migrateOptions.outDir,
                                             "Write the migrated files into this folder");
    auto* inPlaceOption = migrate->add_flag(
        "--in-place", inPlace,
        "Replace each file by its migrated form, keeping its permissions, owner, group and "
        "extended attributes; a symbolic link is followed to its target");
    outDirOption->excludes(inPlaceOption);
    migrate
        ->add_option("-j,--jobs", migrateOptions.jobs, "Files worked on at once (default: cores)")
        ->check(CLI::Range(1u, 1024u));
    migrate->add_flag("--break-hardlinks", migrateOptions.breakHardLinks,
                      "Replace a file that has several hard links anyway (its other names keep "
                      "the old content); by default such a file is left alone");
    // For tests only: makes every write fail after a number of bytes, by a
    // crash ("kill:N") or a full disk ("nospace:N"), or stops the process
    // there ("stop:N") so that a test can signal it.
    migrate->add_option("--inject-write-fault", fault)->group("");
    migrate->footer(helpFooter({"fluxgrid migrate --out-dir new old/*.sensor"}));

    const LayoutCommand layout(app);

    ArrayInputs arrayInputs;
    std::string frameWord = "dewar";
    bool strict = false;
    auto addArrayOptions = [&](CLI::App* command) {
        command->add_option("PATH", arrayInputs.paths, "Sensor files, or folders of them")
            ->required();
        command
            ->add_option("--headloc", arrayInputs.headloc,
                         "Head localization file whose fiducials stand in the sensors' frame")
            ->type_name("FILE");
        command->add_option("--frame", frameWord, "Element frame to judge")
            ->check(CLI::IsMember({"dewar", "head", "work"}))
            ->capture_default_str()
            ->type_name("FRAME");
    };
    auto* check = app.add_subcommand(
        "check",
        "Judge the geometry of a sensor array: orientations, coils, names, gains and "
        "the head localization against the helmet");
    addArrayOptions(check);
    check->add_flag("--json", json, "Print one JSON object with every finding");
    check->add_flag("--strict", strict, "Fail on warnings too");
    check->footer(
        helpFooter({"fluxgrid check demo/sensors/opm32 --headloc demo/headloc/opm32.headloc"}));

    std::string viewOut = "view.html";
    std::string viewAxes = "LSP";
    auto* view = app.add_subcommand(
        "view",
        "Draw a sensor array in 3D as one self-contained HTML page, with the findings "
        "of check");
    addArrayOptions(view);
    view->add_option("-o,--output", viewOut, "The page to write; - for standard output")
        ->capture_default_str();
    view->add_option("--axes", viewAxes, "Orientation code of the sensors' frame")
        ->capture_default_str();
    view->footer(helpFooter({"fluxgrid view demo/sensors/squid21 -o squid21.html"}));

    std::string demoDir = "./fluxgrid-demo";
    auto* demo = app.add_subcommand(
        "demo",
        "Build OPM and SQUID sensor sets and a head localization, write, reload and "
        "check them, and draw the layouts");
    demo->add_option("DIR", demoDir, "Output folder")->capture_default_str()->type_name("DIR");
    demo->footer(helpFooter({"fluxgrid demo /tmp/fluxgrid-demo"}));

    const std::vector<std::string> args(argv + std::min(argc, 1), argv + argc);
    if (const std::optional<std::string> unknown = checkCommandNames(app, args)) {
        std::cerr << *unknown << '\n';
        return kUsage;
    }
    try {
        app.parse(argc, argv);
        if (migrate->parsed() && !migrateOptions.outDir && !inPlace) {
            throw CLI::ValidationError("migrate", "one of --out-dir DIR or --in-place is required");
        }
        if (!fault.empty()) {
            const std::optional<fluxgrid::WriteFault> parsed = parseWriteFault(fault);
            if (!parsed) {
                throw CLI::ValidationError("--inject-write-fault",
                                           "expects kill:N, nospace:N or stop:N");
            }
            fluxgrid::setWriteFault(*parsed);
        }
    } catch (const CLI::RuntimeError& e) {
        return e.get_exit_code();  // said why already
    } catch (const CLI::ParseError& e) {
        const int code = app.exit(e);
        return code == 0 ? 0 : kUsage;
    }

    fluxgrid::removeTemporariesOnSignals();
    try {
        if (info->parsed()) {
            return runInfo(files, json, maxSize);
        }
        if (migrate->parsed()) {
            return runMigrate(files, migrateOptions);
        }
        if (layout.parsed()) {
            return layout.run();
        }
        if (check->parsed() || view->parsed()) {
            arrayInputs.frame = *fluxgrid::sensorFrameFromWord(frameWord);
            return check->parsed() ? runCheck(arrayInputs, json, strict)
                                   : runView(arrayInputs, viewAxes, viewOut);
        }
        if (demo->parsed()) {
            return runDemo(demoDir);
        }
    } catch (const std::exception& e) {
        std::cerr << "fluxgrid: " << e.what() << '\n';
        return 1;
    }
    return kUsage;
}

}  // namespace

int main(int argc, char** argv) {
    const int status = runCommandLine(argc, argv);
    // Whatever the command did, output that never arrived is a failure.
    const int written = fluxgrid::tool::finishStandardOutput();
    return status != 0 ? status : written;
}
