// The temporary files of atomic writes: their names, the list of those in
// flight that a signal handler removes, and the removal of the ones that an
// ended process left behind.
#pragma once

#include <string>
#include <vector>

namespace fluxgrid::access {

/// A temporary file in a folder, listed as in flight until released.
struct Temporary {
    /// Open for writing; -1 when it could not be created.
    int fd = -1;
    /// Its name within the folder.
    std::string name;
    /// Its place in the in-flight list; -1 when the list was full, so that
    /// only a later run's sweep removes it after a signal.
    int slot = -1;
};

/// Creates ".fluxgrid-PID-XXXXXX.tmp" in the open folder `folder`, with the
/// permissions a new file gets there, and lists it as in flight. On failure
/// `fd` is -1 and errno says why; nothing is left listed.
Temporary createTemporary(int folder);

/// Takes `temporary` off the in-flight list, once it has been renamed or
/// removed.
void releaseTemporary(Temporary& temporary);

/// Removes the stale temporaries of the open folder `folder` the first time
/// this process writes there.
void sweepOnce(int folder);

/// The stale temporaries of the open folder `folder`, removed; their names.
std::vector<std::string> removeStale(int folder);

}  // namespace fluxgrid::access
