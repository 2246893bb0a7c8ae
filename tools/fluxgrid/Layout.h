/// \file Layout.h
/// `fluxgrid layout`: the thirteen constant channel layout tables, listed,
/// printed, exported and drawn.
#pragma once

#include <string>

namespace fluxgrid::tool {

/// The commands. Each returns the exit status; a name that is no table is
/// bad usage.
int runLayoutList(bool json);
int runLayoutShow(const std::string& name, bool json);
/// `format` is csv, tsv, sfp or elc, `frame` native or ras; the text goes
/// to `out`, or to standard output when `out` is empty or "-".
int runLayoutExport(const std::string& name, const std::string& format, const std::string& frame,
                    const std::string& out);
int runLayoutPlot(const std::string& name, const std::string& out);

}  // namespace fluxgrid::tool
