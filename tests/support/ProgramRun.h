// Runs a program as a user would from a shell, and keeps what it printed
// and how it ended, for tests of command-line tools.
#pragma once

#include "support/ChildRun.h"

#include <chrono>
#include <string>
#include <vector>

namespace fluxgrid::test {

using ProgramRun = ChildRun;

/// Runs `program` with `args`, standard input from /dev/null, standard
/// output and error caught; a program that hangs is ended after ten
/// minutes.
inline ProgramRun runProgram(const std::string& program, const std::vector<std::string>& args) {
    return runChild(program, args, ChildStreams().within(std::chrono::minutes(10)));
}

/// The lines of `text`, without their line breaks.
std::vector<std::string> linesOf(const std::string& text);

}  // namespace fluxgrid::test
