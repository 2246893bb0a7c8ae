/// \file Layout.h
/// `fluxgrid layout`: the thirteen constant channel layout tables, listed,
/// printed, exported and drawn.
#pragma once

#include <string>

namespace fluxgrid::tool {

/// The commands. Each returns the exit status.
int runLayoutList();
int runLayoutShow(const std::string& name);
/// `format` is csv, sfp or elc; the text goes to `out`, or to standard
/// output when `out` is empty or "-".
int runLayoutExport(const std::string& name, const std::string& format, const std::string& out);
int runLayoutPlot(const std::string& name, const std::string& out);

}  // namespace fluxgrid::tool
