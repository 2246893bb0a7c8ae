#include "Inputs.h"

#include <unistd.h>

namespace fluxgrid::tool {

FileResult<LoadedFile> loadInput(const std::string& name, const LoadOptions& options) {
    if (name == kStandardInput) {
        return loadDescriptor(STDIN_FILENO, name, options);
    }
    return loadFile(name, options);
}

}  // namespace fluxgrid::tool
