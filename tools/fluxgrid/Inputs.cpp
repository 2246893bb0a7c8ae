#include "Inputs.h"

#include <new>
#include <string>

#include <unistd.h>

namespace fluxgrid::tool {

FileResult<LoadedFile> loadInput(const std::string& name, const LoadOptions& options) {
    try {
        if (name == kStandardInput) {
            return loadDescriptor(STDIN_FILENO, name, options);
        }
        return loadFile(name, options);
    } catch (const std::bad_alloc&) {
        // Under a memory limit tighter than --max-size: this input fails,
        // named, and the next one is tried with the memory given back.
        FileError error;
        error.failure = FileFailure::readError;
        error.file = name;
        error.message = "not enough memory to read it (within the limit of " +
                        std::to_string(options.maxBytes) + " bytes)";
        return error;
    }
}

}  // namespace fluxgrid::tool
