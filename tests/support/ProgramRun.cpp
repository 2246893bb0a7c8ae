#include "support/ProgramRun.h"

#include <sstream>

namespace fluxgrid::test {

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace fluxgrid::test
