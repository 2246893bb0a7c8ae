/// \file Check.h
/// `fluxgrid check`: the geometry rules over a sensor array, one line a
/// finding and a summary, or one JSON object.
#pragma once

#include "ArrayCheck.h"

#include <nlohmann/json.hpp>

namespace fluxgrid::tool {

/// Prints the findings and returns the exit status: 0 without errors (and,
/// when `strict`, without warnings), 1 with any.
int runCheck(const ArrayInputs& inputs, bool json, bool strict);

/// The findings and what the rules computed, as `check --json` prints them.
nlohmann::json checkJson(const CheckedArray& array);

/// "N channels in F files, frame dewar, mm: E errors, W warnings, N notes".
std::string checkSummary(const CheckedArray& array);

}  // namespace fluxgrid::tool
