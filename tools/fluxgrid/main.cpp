// The fluxgrid command-line tool. Exit status: 0 when the work is done, 1
// when some of it failed, 2 on bad usage.
#include "CommandLine.h"
#include "CommandLineDocs.h"
#include "Commands.h"
#include "Output.h"

#include <fluxgrid/io/Files.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
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
// whole command line, as it stands when they run, with the values in
// `words`, which the commands fill in before the parse; the build runs them.
void addGenerators(CLI::App& app, const fluxgrid::tool::ValueWords& words) {
    using namespace fluxgrid::tool;
    app.add_option_function<std::string>(
           "--generate-man",
           [&app](const std::string& path) { writeAndStop(manPage(app, kVersion), path); })
        ->group("");
    app.add_option_function<std::string>("--generate-completion",
                                         [&app, &words](const std::string& path) {
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
    ValueWords words;
    addGenerators(app, words);

    std::vector<Command> commands;
    for (const AddCommand add : kCommands) {
        commands.push_back(add(app));
        words.insert(commands.back().words.begin(), commands.back().words.end());
    }

    const std::vector<std::string> args(argv + std::min(argc, 1), argv + argc);
    if (const std::optional<std::string> unknown = checkCommandNames(app, args)) {
        std::cerr << *unknown << '\n';
        return kUsage;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::RuntimeError& e) {
        return e.get_exit_code();  // said why already
    } catch (const CLI::ParseError& e) {
        errno = 0;
        const int code = app.exit(e);
        noteStandardOutput();
        return code == 0 ? 0 : kUsage;
    }

    fluxgrid::removeTemporariesOnSignals();
    try {
        for (const Command& command : commands) {
            if (command.app->parsed()) {
                return command.run();
            }
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
