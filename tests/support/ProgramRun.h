// Runs a program as a user would from a shell, and keeps what it printed
// and how it ended, for tests of command-line tools.
#pragma once

#include <string>
#include <vector>

namespace fluxgrid::test {

struct ProgramRun {
    /// The exit status, or -1 when the program did not exit by itself.
    int status = -1;
    /// The signal that ended it, or 0.
    int signal = 0;
    std::string out;
    std::string err;
};

/// Runs `program` with `args`, standard input from /dev/null, standard
/// output and error caught.
ProgramRun runProgram(const std::string& program, const std::vector<std::string>& args);

/// The lines of `text`, without their line breaks.
std::vector<std::string> linesOf(const std::string& text);

}  // namespace fluxgrid::test
