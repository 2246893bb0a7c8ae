#include "Suggest.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <vector>

namespace fluxgrid::tool {

namespace {

bool sameLetter(char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) ==
           std::tolower(static_cast<unsigned char>(b));
}

}  // namespace

// Levenshtein's distance, one row of the table at a time.
std::size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t above = row[j];
            row[j] = std::min(
                {row[j] + 1, row[j - 1] + 1, diagonal + (sameLetter(a[i - 1], b[j - 1]) ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

std::string nearestName(std::string_view name, std::span<const std::string> known) {
    const auto nearest = std::min_element(known.begin(), known.end(),
                                          [&](const std::string& a, const std::string& b) {
                                              return editDistance(name, a) < editDistance(name, b);
                                          });
    return nearest == known.end() ? std::string() : *nearest;
}

}  // namespace fluxgrid::tool
