/// \file Info.h
/// `fluxgrid info`: what is inside files of any kind.
#pragma once

#include <string>
#include <vector>

namespace fluxgrid::tool {

/// Prints the kind, version and a summary of each file, or with `json` one
/// JSON array with every field of every file, written as each file is
/// loaded. Returns the exit status: 0 when every file loaded, 1 otherwise.
int runInfo(const std::vector<std::string>& files, bool json);

}  // namespace fluxgrid::tool
