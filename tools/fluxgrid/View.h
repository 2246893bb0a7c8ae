/// \file View.h
/// `fluxgrid view`: a sensor array in 3D as one self-contained HTML page,
/// with every finding of the check drawn and listed. All its script and
/// style are inline; it fetches nothing and works from a file.
#pragma once

#include "ArrayCheck.h"

#include <string>

namespace fluxgrid::tool {

/// The page of an array. `axes` is the orientation code of the sensors'
/// frame ("LSP" for the system's tables), so that the page labels the
/// subject's right, front and top.
std::string viewPage(const CheckedArray& array, const std::string& axes, const std::string& title);

/// Writes the page to `out` ("-" for standard output). Returns the exit
/// status: 0 when the page is written, 1 when it is not or the inputs gave
/// no sensor.
int runView(const ArrayInputs& inputs, const std::string& axes, const std::string& out);

}  // namespace fluxgrid::tool
