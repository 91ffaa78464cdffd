#include "hosts/instance/SavedState.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <system_error>

#include "audiounit/componentDescription.h"
#include "audiounit/parameters.h"
#include "platform/foundation/numberText.h"

namespace qov::hosts {
namespace {

using Values = std::map<platform::AUParameterAddress, platform::AUValue>;

constexpr std::string_view firstLine = "QOV Kelvane state 1";
constexpr std::string_view lastLine = "end";
constexpr std::string_view valueKey = "value.";
constexpr std::string_view presetKey = "preset";
constexpr std::string_view nameKey = "name";
constexpr std::size_t longestName = 1024;  // bytes

/// The whole text as a number; null for any other text.
template <class Number>
std::optional<Number> number(std::string_view text) {
    Number result{};
    const auto* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, result);
    if (read.ec != std::errc{} || read.ptr != end) return std::nullopt;
    return result;
}

/// A line feed in a name must not end its line.
std::string oneLine(std::string_view name) {
    std::string result(name.substr(0, longestName));
    std::replace_if(
        result.begin(), result.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return result;
}

/// Removes the text's first line; null without a line feed.
std::optional<std::string_view> cutLine(std::string_view& text) {
    const auto end = text.find('\n');
    if (end == std::string_view::npos) return std::nullopt;
    const auto line = text.substr(0, end);
    text.remove_prefix(end + 1);
    return line;
}

/// The same for a parameter's value. Magnitudes too small for a double read as 0, too large ones
/// as infinite.
std::optional<double> realNumber(std::string_view text) {
    double result = 0;
    const auto* const end = text.data() + text.size();
    const auto read = platform::readNumber(text.data(), end, result);
    if (read.ec == std::errc::invalid_argument || read.ptr != end) return std::nullopt;
    if (read.ec == std::errc{}) return result;
    const bool isSmall = text.find_first_of("123456789") > text.find('.') ||
                         text.find("e-") != text.npos || text.find("E-") != text.npos;
    const double magnitude = isSmall ? 0.0 : std::numeric_limits<double>::infinity();
    return text.starts_with('-') ? -magnitude : magnitude;
}

void readValue(std::string_view address, std::string_view text, Values& values) {
    const auto index = number<std::uint64_t>(address);
    const auto value = realNumber(text);
    if (index && isHostParameter(*index) && value && !std::isnan(*value))
        values[*index] = static_cast<float>(std::clamp(*value, 0.0, 1.0));
}

platform::AUState defaultState() {
    return {{"type", std::int64_t{componentDescription.componentType}},
            {"subtype", std::int64_t{componentDescription.componentSubType}},
            {"manufacturer", std::int64_t{componentDescription.componentManufacturer}}};
}

}  // namespace

std::string encodeState(const platform::AUState& state) {
    std::string text = std::string(firstLine) + "\n";
    const auto line = [&](std::string_view key, std::string_view value) {
        text.append(key).append("=").append(value).append("\n");
    };
    if (const auto entry = state.find("preset-number"); entry != state.end())
        line(presetKey, std::to_string(std::get<std::int64_t>(entry->second)));
    if (const auto entry = state.find("name"); entry != state.end())
        line(nameKey, oneLine(std::get<std::string>(entry->second)));
    if (const auto entry = state.find("data"); entry != state.end())
        for (const auto& [address, value] : std::get<Values>(entry->second))
            line(std::string(valueKey) + std::to_string(address), platform::numberText(value));
    return text.append(lastLine).append("\n");
}

std::optional<platform::AUState> decodeState(std::string_view text) {
    if (cutLine(text) != firstLine) return std::nullopt;
    auto state = defaultState();
    Values values;
    for (const auto& parameter : hostParameters) values[parameter.address] = parameter.initial;
    while (const auto line = cutLine(text)) {
        if (*line == lastLine) {
            state["data"] = std::move(values);
            return state;
        }
        const auto key = line->substr(0, line->find('='));
        if (key.size() == line->size()) continue;
        const auto value = line->substr(key.size() + 1);
        if (key.starts_with(valueKey))
            readValue(key.substr(valueKey.size()), value, values);
        else if (key == nameKey)
            state["name"] = oneLine(value);
        else if (key == presetKey)
            if (const auto preset = number<std::int64_t>(value)) state["preset-number"] = *preset;
    }
    return std::nullopt;
}

}  // namespace qov::hosts
