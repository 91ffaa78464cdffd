#include "hosts/cli/FigureLimit.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/nearestName.h"
#include "hosts/cli/parseWhole.h"

namespace qov::cli {
namespace {

using measure::allFigures;
using measure::FigureRow;

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(' ');
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

const FigureRow& figureNamed(std::string_view name, const std::string& limit) {
    const auto* const row = std::ranges::find(allFigures, name, &FigureRow::name);
    if (row != allFigures.end()) return *row;
    std::vector<std::string_view> names;
    names.reserve(allFigures.size());
    for (const auto& each : allFigures) names.push_back(each.name);
    const auto nearest = nearestName(name, names);
    throw Failure(
        fmt::format("--fail-if {}: '{}' is not a figure; {}", limit, name,
                    nearest.empty() ? fmt::format("the figures are {}", fmt::join(names, ", "))
                                    : fmt::format("did you mean '{}'?", nearest)),
        2);
}

}  // namespace

FigureLimit parseLimit(const std::string& text) {
    const auto at = std::min(text.find_first_of("<>"), text.size());
    const std::string_view all = text;
    const auto name = trimmed(all.substr(0, at));
    const auto comparison = all.substr(at);
    FigureLimit limit{text, &figureNamed(name, text), '<', comparison.substr(0, 2).ends_with('='),
                      0};
    if (!comparison.empty()) {
        limit.sign = comparison[0];
        const auto number = trimmed(comparison.substr(limit.isIncluded ? 2 : 1));
        if (parseWhole(number, limit.value) && !std::isnan(limit.value)) return limit;
    }
    throw Failure(
        fmt::format("--fail-if {}: takes a figure, <, <=, > or >=, and a number, as in \"{}<0\"",
                    text, name),
        2);
}

}  // namespace qov::cli
