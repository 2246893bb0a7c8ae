/// \file Suggest.h
/// The known name nearest to one that was mistyped, for the line that
/// refuses it.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace fluxgrid::tool {

/// Edits (insertions, deletions, substitutions of one character) that turn
/// `a` into `b`, letters compared without regard to case.
std::size_t editDistance(std::string_view a, std::string_view b);

/// The name of `known` with the fewest edits from `name`, the first of
/// equals; empty when `known` is.
std::string nearestName(std::string_view name, std::span<const std::string> known);

}  // namespace fluxgrid::tool
