/// \file Commands.h
/// The commands of the tool, one table of them. Each command lives in its
/// own file with its options, help, footer and run function, and shows
/// itself to the program through one function that adds it to the command
/// line; the program walks the table and knows no command by name. A new
/// command is one file and one row below.
#pragma once

#include "CommandLineDocs.h"

#include <CLI/CLI.hpp>

#include <functional>

namespace fluxgrid::tool {

/// A command added to the program's command line.
struct Command {
    /// The command as CLI11 holds it: `parsed()` tells whether it was given.
    CLI::App* app = nullptr;
    /// Does the work with the values that the parse gave the command's
    /// options; returns the exit status.
    std::function<int()> run;
    /// The words that the values of its options and arguments may take, for
    /// the bash completion.
    ValueWords words;
};

/// Adds one command, with its options, help and footer, under the
/// program's `app`. Checks that CLI11 cannot make (options that one of must
/// be given, values of hidden options) are made at the end of the parse, as
/// usage errors.
using AddCommand = Command (*)(CLI::App& app);

Command addInfoCommand(CLI::App& app);
Command addMigrateCommand(CLI::App& app);
Command addLayoutCommand(CLI::App& app);
Command addCheckCommand(CLI::App& app);
Command addViewCommand(CLI::App& app);
Command addDemoCommand(CLI::App& app);

/// Every command, in the order that `--help` lists them.
inline constexpr AddCommand kCommands[] = {addInfoCommand,  addMigrateCommand, addLayoutCommand,
                                           addCheckCommand, addViewCommand,    addDemoCommand};

}  // namespace fluxgrid::tool
