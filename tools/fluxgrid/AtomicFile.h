/// \file AtomicFile.h
/// Writes a file so that its name only ever shows the old content or the
/// whole new one: the bytes go to a hidden temporary file in the same
/// folder, which is flushed to the disk and then renamed over the target.
#pragma once

#include <fluxgrid/platform/Types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace fluxgrid::tool {

/// A failure to put in the way of a write, so that tests can see what a
/// crash or a full disk leaves behind. Never set in normal use.
struct WriteFault {
    enum class Kind { none, kill, noSpace };
    Kind kind = Kind::none;
    /// The fault strikes once this many bytes of a file have been written.
    std::size_t afterBytes = 0;
};

/// Parses "kill:N" or "nospace:N"; false for anything else.
bool parseWriteFault(const std::string& text, WriteFault& fault);

/// Sets the fault for every later write of this process.
void setWriteFault(const WriteFault& fault);

/// Writes `bytes` as the whole content of `path` through a temporary file
/// and a rename. An existing target keeps its permissions. On failure the
/// temporary file is removed, the target is left as it was, and
/// `ToolError` says why.
void writeAtomically(const std::string& path, const std::vector<BYTE>& bytes);

}  // namespace fluxgrid::tool
