#pragma once

#include <span>
#include <string_view>

namespace qov::cli {

/// The candidate that takes the fewest insertions, deletions and replacements to become `name`,
/// where that is at most a third of its length (and at least two are forgiven); empty where none is
/// so near.
std::string_view nearestName(std::string_view name, std::span<const std::string_view> candidates);

}  // namespace qov::cli
