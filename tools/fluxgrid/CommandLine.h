/// \file CommandLine.h
/// What every command of the tool shares on its command line: the exit
/// statuses, the end of each `--help`, and the refusal of a command name
/// that does not exist, with the nearest one that does.
#pragma once

#include <CLI/CLI.hpp>

#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fluxgrid::tool {

/// Exit statuses: the work is done, some of it failed, bad usage.
constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;
/// `migrate` only: nothing failed, but files that another program changed
/// during the run were skipped.
constexpr int kSkipped = 3;

/// The exit statuses in words, as every `--help` and the manual give them.
std::string exitStatusHelp();

/// The end of a command's `--help`: its examples, then the exit statuses,
/// with `moreStatuses` (lines of the command's own statuses) after them.
std::string helpFooter(std::initializer_list<std::string_view> examples,
                       std::string_view moreStatuses = {});

/// The line that refuses `given` as a command under `parent` (a path such
/// as "fluxgrid layout"), with the nearest of `known` and all of them.
std::string unknownCommandLine(std::string_view parent, std::string_view given,
                               std::span<const std::string> known);

/// The line for the first word of `args` (the arguments after the program's
/// name) that stands where `app` or one of its subcommands expects a
/// subcommand but names none; nothing when every such word is known.
std::optional<std::string> checkCommandNames(const CLI::App& app,
                                             std::span<const std::string> args);

/// The subcommands of `app` that are shown in its help, in order.
std::vector<const CLI::App*> visibleCommands(const CLI::App& app);

}  // namespace fluxgrid::tool
