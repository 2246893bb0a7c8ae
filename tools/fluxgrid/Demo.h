/// \file Demo.h
/// `fluxgrid demo`: the library's main road on built-in data.
#pragma once

#include <string>

namespace fluxgrid::tool {

/// Builds a 32-channel OPM set from `megLayout32` and a 21-channel set of
/// axial SQUID gradiometers from `megLayout21`, writes one sensor file per
/// channel into `dir`, loads every file back and checks every filed field;
/// fills a head localization from the default fiducials, averages and
/// registers them and writes its file, checked the same way; draws both
/// layouts. Prints a summary and where each output went. Returns the exit
/// status: 1 when anything could not be written or did not come back.
int runDemo(const std::string& dir);

}  // namespace fluxgrid::tool
