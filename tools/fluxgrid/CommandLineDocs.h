/// \file CommandLineDocs.h
/// The manual page and the bash completion of the tool, both written from
/// its command line as CLI11 holds it, so that they never drift from it.
#pragma once

#include <CLI/CLI.hpp>

#include <map>
#include <string>
#include <vector>

namespace fluxgrid::tool {

/// The manual page (roff, section 1) of `app` and its visible commands:
/// name, synopsis, options, each command with its options and examples,
/// the exit statuses once, the examples of the whole program.
std::string manPage(const CLI::App& app, const std::string& version);

/// The words an option's value may take, by the option's type name
/// ("TABLE", "FORMAT", ...). Type names "DIR" complete folders; any other
/// completes file names.
using ValueWords = std::map<std::string, std::vector<std::string>>;

/// A bash script that completes the commands of `app`, their options, and
/// the values of options and positional arguments by `words`.
std::string bashCompletion(const CLI::App& app, const ValueWords& words);

}  // namespace fluxgrid::tool
