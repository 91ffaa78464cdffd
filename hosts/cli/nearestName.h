#pragma once

#include <span>
#include <string_view>

namespace qov::cli {

/// The candidate that takes the fewest insertions, deletions and replacements to become `name`,
/// if that is at most two or a third of its length; else empty.
std::string_view nearestName(std::string_view name, std::span<const std::string_view> candidates);

}  // namespace qov::cli
