/// \file Migrate.h
/// `fluxgrid migrate`: sensor files of any accepted version stored again as
/// the newest.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace fluxgrid::tool {

struct MigrateOptions {
    /// The folder of the outputs; none to migrate each file over itself.
    std::optional<std::string> outDir;
    /// Files worked on at once.
    unsigned jobs = 1;
    /// Replace files with several hard links, splitting them.
    bool breakHardLinks = false;
};

/// Migrates each file into `outDir`, or over itself when `outDir` is empty,
/// `jobs` at a time, in batches whose outputs share their flushes to the
/// disk. A file that does not load or cannot be written is left untouched
/// and reported on a line of its own, and the run goes on; an output is
/// checked by loading it back before it is renamed into place. A file
/// migrated over itself is replaced only if it is still the file that was
/// read; one that another program changed meanwhile is skipped and named.
/// Prints a summary and returns the exit status: 1 when any file failed,
/// else 3 when any was skipped, else 0.
int runMigrate(const std::vector<std::string>& files, const MigrateOptions& options);

}  // namespace fluxgrid::tool
