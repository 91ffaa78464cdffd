#include "hosts/cli/nearestName.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

namespace qov::cli {
namespace {

/// Levenshtein distance, one row of the table at a time.
std::size_t editDistance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({row[j] + 1, diagonal + 1, replaced});
        }
    }
    return row.back();
}

}  // namespace

std::string_view nearestName(std::string_view name, std::span<const std::string_view> candidates) {
    std::string_view nearest;
    std::size_t least = 0;
    for (const auto candidate : candidates) {
        const std::size_t distance = editDistance(name, candidate);
        if (distance > std::max<std::size_t>(2, candidate.size() / 3)) continue;
        if (nearest.empty() || distance < least) {
            nearest = candidate;
            least = distance;
        }
    }
    return nearest;
}

}  // namespace qov::cli
