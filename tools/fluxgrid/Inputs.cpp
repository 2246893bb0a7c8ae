#include "Inputs.h"

#include <charconv>
#include <new>
#include <string>
#include <system_error>

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

std::optional<std::uint64_t> parseByteCount(std::string_view text) {
    // from_chars would take a sign of its own; only digits start a count.
    if (text.empty() || text.front() < '0' || text.front() > '9') {
        return std::nullopt;
    }
    std::uint64_t count = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, count, 10);
    if (error != std::errc{}) {
        return std::nullopt;
    }
    const std::string_view suffix(stop, static_cast<std::size_t>(end - stop));
    if (suffix.empty()) {
        return count;
    }
    constexpr std::string_view kSuffixes = "KMGT";
    const char upper = suffix.front() >= 'a' && suffix.front() <= 'z'
                           ? static_cast<char>(suffix.front() - 'a' + 'A')
                           : suffix.front();
    const std::size_t power = kSuffixes.find(upper);
    if (suffix.size() != 1 || power == std::string_view::npos) {
        return std::nullopt;
    }
    const unsigned shift = 10 * static_cast<unsigned>(power + 1);
    if (count > (UINT64_MAX >> shift)) {
        return std::nullopt;
    }
    return count << shift;
}

}  // namespace fluxgrid::tool
