/// \file Migrate.h
/// `fluxgrid migrate`: sensor files of any accepted version stored again as
/// the newest.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace fluxgrid::tool {

/// Migrates each file into `outDir`, or over itself when `outDir` is empty.
/// A file that does not load is left untouched and reported; an output is
/// checked by loading it back before it is renamed into place. Prints a
/// summary and returns the exit status: 1 when any file failed, else 0.
int runMigrate(const std::vector<std::string>& files, const std::optional<std::string>& outDir);

}  // namespace fluxgrid::tool
