// A test seam of the atomic writes, kept out of the installed headers: a
// failure put in the way of every later write of the process, so that tests
// (and the tool's hidden --inject-write-fault option) can see what a crash
// or a full disk leaves behind. The function is exported by the library;
// only code of this project, which has src/ on its include path, sees it.
#pragma once

#include <cstddef>

namespace fluxgrid {

/// A failure put in the way of every later atomic write of this process, so
/// that tests can see what a crash or a full disk leaves behind. Never set
/// in normal use.
struct WriteFault {
    enum class Kind { none, kill, noSpace, stop };
    Kind kind = Kind::none;
    /// The fault strikes once this many bytes of a file have been written:
    /// `kill` ends the process at once with SIGKILL, `noSpace` fails the
    /// write as a full disk does, `stop` stops the process with SIGSTOP (so
    /// that a test can signal it in the middle of a write) and then goes
    /// on.
    std::size_t afterBytes = 0;
};
void setWriteFault(const WriteFault& fault);

}  // namespace fluxgrid
