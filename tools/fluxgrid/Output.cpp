#include "Output.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <span>

namespace fluxgrid::tool {

void printFailure(const FileError& error, std::string_view tail) {
    for (const std::string& box : error.boxes) {
        std::cerr << error.file << ": " << box << '\n';
    }
    std::cerr << "fluxgrid: " << error.file << ": " << error.message << tail << '\n';
}

namespace {

// The reason of the first failed write to standard output, if any.
std::optional<int> outputError;

// Keeps the reason of a failure that the streams show, taken from errno
// just after the write or flush that failed: a stream that could keep what
// it failed to write meets the same failure at the next flush, but a large
// write that went past the buffer is lost with its reason.
bool recordOutputState() {
    if (!outputError && (std::ferror(stdout) != 0 || !std::cout)) {
        outputError = errno != 0 ? errno : EIO;
    }
    return !outputError;
}

}  // namespace

bool flushStandardOutput() {
    errno = 0;
    std::cout.flush();
    std::fflush(stdout);
    return recordOutputState();
}

void noteStandardOutput() {
    recordOutputState();
}

int finishStandardOutput() {
    if (flushStandardOutput()) {
        return 0;
    }
    std::cerr << "fluxgrid: error writing standard output: " << std::strerror(*outputError) << '\n';
    return 1;
}

int writeText(const std::string& text, const std::string& out) {
    if (out.empty() || out == "-") {
        errno = 0;
        std::cout << text;
        recordOutputState();
        return flushStandardOutput() ? 0 : 1;
    }
    const auto written = writeFileAtomically(
        out, std::span(reinterpret_cast<const BYTE*>(text.data()), text.size()));
    if (!written) {
        std::cerr << "fluxgrid: " << out << ": " << written.error().message << '\n';
        return 1;
    }
    return 0;
}

std::optional<WriteFault> parseWriteFault(std::string_view text) {
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view kind = text.substr(0, colon);
    const std::string_view count = text.substr(colon + 1);
    WriteFault fault;
    if (kind == "kill") {
        fault.kind = WriteFault::Kind::kill;
    } else if (kind == "nospace") {
        fault.kind = WriteFault::Kind::noSpace;
    } else if (kind == "stop") {
        fault.kind = WriteFault::Kind::stop;
    } else {
        return std::nullopt;
    }
    const char* end = count.data() + count.size();
    const auto [stop, error] = std::from_chars(count.data(), end, fault.afterBytes);
    if (count.empty() || error != std::errc{} || stop != end) {
        return std::nullopt;
    }
    return fault;
}

}  // namespace fluxgrid::tool
