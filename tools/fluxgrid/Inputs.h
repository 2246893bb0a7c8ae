/// \file Inputs.h
/// The files the commands read: each named on the command line, or "-" for
/// standard input, loaded through the library's facade with the size limit
/// of `--max-size`.
#pragma once

#include <fluxgrid/io/Files.h>

#include <string>
#include <string_view>

namespace fluxgrid::tool {

/// The name that stands for standard input.
inline constexpr std::string_view kStandardInput = "-";

/// Loads the file `name`, or standard input for "-". A file that is not a
/// regular one is refused; standard input may be anything that can be read
/// (a pipe, a FIFO, a terminal) and is read in pieces up to
/// `options.maxBytes`. Running out of memory while reading fails this input
/// alone, as a `readError`.
FileResult<LoadedFile> loadInput(const std::string& name, const LoadOptions& options = {});

}  // namespace fluxgrid::tool
