// The fluxgrid command-line tool. Exit status: 0 when the work is done, 1
// when some of it failed, 2 on bad usage.
#include "Demo.h"
#include "Info.h"
#include "Layout.h"
#include "Migrate.h"
#include "Output.h"

#include <fluxgrid/access/Files.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kUsage = 2;

}  // namespace

int main(int argc, char** argv) {
    using namespace fluxgrid::tool;

    CLI::App app{
        "fluxgrid: look inside MEG sensor, element and head localization files, migrate sensor "
        "files to the newest version, and print, export and draw the channel layout tables."};
    app.require_subcommand(1);

    std::vector<std::string> files;
    bool json = false;
    auto* info = app.add_subcommand(
        "info",
        "Kind, version and a summary of each file (coil, vapor cell, SQUID record, OPM "
        "record, sensor, head localization)");
    info->add_option("FILE", files, "Files to look into")->required();
    info->add_flag("--json", json, "Print every field of every object as one JSON array");

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

    std::string table;
    std::string format;
    std::string out;
    auto* layout = app.add_subcommand("layout", "The thirteen channel layout tables");
    layout->require_subcommand(1);
    auto* list = layout->add_subcommand("list", "Name, kind, row count and frame of each table");
    auto* show = layout->add_subcommand("show", "Every row of one table");
    show->add_option("NAME", table, "Table name, as `layout list` gives it")->required();
    auto* exportCommand =
        layout->add_subcommand("export", "One table as CSV, BESA/EEGLAB .sfp or ASA .elc text");
    exportCommand->add_option("NAME", table, "Table name")->required();
    exportCommand->add_option("--format", format, "csv, sfp or elc")
        ->required()
        ->check(CLI::IsMember({"csv", "sfp", "elc"}));
    exportCommand->add_option("-o,--output", out, "Output file (standard output if not given)");
    auto* plot = layout->add_subcommand(
        "plot", "One table drawn as a labelled top view, in SVG, coloured by channel type");
    plot->add_option("NAME", table, "Table name")->required();
    plot->add_option("-o,--output", out, "Output SVG file")->required();

    std::string demoDir = "./fluxgrid-demo";
    auto* demo = app.add_subcommand(
        "demo",
        "Build OPM and SQUID sensor sets and a head localization, write, reload and "
        "check them, and draw the layouts");
    demo->add_option("DIR", demoDir, "Output folder")->capture_default_str();

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
    } catch (const CLI::ParseError& e) {
        const int code = app.exit(e);
        return code == 0 ? 0 : kUsage;
    }

    fluxgrid::removeTemporariesOnSignals();
    try {
        if (info->parsed()) {
            return runInfo(files, json);
        }
        if (migrate->parsed()) {
            return runMigrate(files, migrateOptions);
        }
        if (list->parsed()) {
            return runLayoutList();
        }
        if (show->parsed()) {
            return runLayoutShow(table);
        }
        if (exportCommand->parsed()) {
            return runLayoutExport(table, format, out);
        }
        if (plot->parsed()) {
            return runLayoutPlot(table, out);
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
