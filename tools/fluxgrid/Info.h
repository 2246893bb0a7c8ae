/// \file Info.h
/// `fluxgrid info`: what is inside files of any kind.
#pragma once

#include <fluxgrid/io/Files.h>

#include <cstdint>
#include <string>
#include <vector>

namespace fluxgrid::tool {

/// Prints the kind, version and a summary of each file ("-" is standard
/// input), or with `json` one JSON array with every field of every file,
/// written as each file is loaded. A file that fails is reported and the
/// run goes on with the next. Files larger than `maxBytes` are refused.
/// Returns the exit status: 0 when every file loaded, 1 otherwise.
int runInfo(const std::vector<std::string>& files, bool json,
            std::uintmax_t maxBytes = kDefaultMaxFileBytes);

}  // namespace fluxgrid::tool
