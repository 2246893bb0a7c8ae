/// \file Inputs.h
/// The files the commands read: each named on the command line, or "-" for
/// standard input, loaded through the library's facade with the size limit
/// of `--max-size`.
#pragma once

#include <fluxgrid/io/Files.h>

#include <cstdint>
#include <optional>
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

/// A number of bytes as `--max-size` takes it: decimal digits (a leading
/// zero is just a zero, never octal; no hex, sign or space), then at most
/// one of the suffixes K, M, G or T, in either case, for powers of 1024.
/// None when the text is not such a count or the count does not fit 64
/// bits.
std::optional<std::uint64_t> parseByteCount(std::string_view text);

}  // namespace fluxgrid::tool
