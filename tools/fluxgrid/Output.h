/// \file Output.h
/// Where the commands' results go beyond their own lines: the failure of a
/// file on standard error, text to a file or to standard output, the check
/// that standard output took everything, and the fault that tests put in
/// the way of every write.
#pragma once

#include <fluxgrid/io/Files.h>

#include "io/WriteFault.h"

#include <optional>
#include <string>
#include <string_view>

namespace fluxgrid::tool {

/// Prints a failure on standard error as the tool has always shown it: each
/// message box that the library raised as "FILE: text", in order, then
/// "fluxgrid: FILE: message" with `tail` behind it.
void printFailure(const FileError& error, std::string_view tail = {});

/// Writes `text` to standard output when `out` is empty or "-", else
/// atomically as the whole content of the file `out`. Returns the exit
/// status: 0, or 1 after printing why the write failed.
int writeText(const std::string& text, const std::string& out);

/// Flushes what the commands printed on standard output, through both the
/// C and the C++ streams. False once any write to it has failed; the reason
/// of the first failure is kept for `finishStandardOutput`.
bool flushStandardOutput();

/// Keeps the reason of a write to standard output that failed outside the
/// tool's own code (CLI11 printing the help or the version), as errno
/// stands after it: the caller clears errno before that code runs. A full
/// disk is then named as such, not as an unknown error.
void noteStandardOutput();

/// Flushes standard output for the last time. Returns the exit status: 0,
/// or 1 after printing "fluxgrid: error writing standard output: REASON"
/// when any write to it failed (a full disk, a closed descriptor).
int finishStandardOutput();

/// "kill:N", "nospace:N" or "stop:N" as the fault it names; nothing for
/// any other text.
std::optional<WriteFault> parseWriteFault(std::string_view text);

}  // namespace fluxgrid::tool
