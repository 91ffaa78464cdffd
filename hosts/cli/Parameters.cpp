#include "hosts/cli/Parameters.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include <fmt/format.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/nearestName.h"

namespace qov::cli {

const Parameter* findParameter(std::string_view name) {
    const auto found = std::ranges::find_if(allParameters, [&](const Parameter& parameter) {
        return name == parameter.option || name == parameter.identifier;
    });
    return found == allParameters.end() ? nullptr : &*found;
}

float parseValue(const Parameter& parameter, std::string_view text) {
    if (parameter.isSwitch() && (text == "on" || text == "off")) return text == "on" ? 1 : 0;
    const char* const right = parameter.isSwitch() ? "on or off (1 or 0)" : "a number from 0 to 1";
    float value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || std::isnan(value))
        throw Failure(
            fmt::format("'{}' is not a number; {} takes {}", text, parameter.option, right));
    if (!(value >= minimumValue && value <= maximumValue))
        throw Failure(
            fmt::format("{} is out of range; {} takes {}", text, parameter.option, right));
    return value;
}

std::vector<std::pair<std::uint64_t, float>> parseSettings(std::span<const std::string> texts) {
    std::vector<std::pair<std::uint64_t, float>> settings;
    for (std::size_t i = 0; i < allParameters.size() && i < texts.size(); ++i) {
        std::string_view text = texts[i];
        if (text.empty()) continue;
        if (text == "true" || text == "false") text = text == "true" ? "on" : "off";
        try {
            settings.emplace_back(allParameters[i].address, parseValue(allParameters[i], text));
        } catch (const Failure& failure) {
            throw Failure(fmt::format("--{}: {}", allParameters[i].option, failure.what()), 2);
        }
    }
    return settings;
}

std::string_view unitOf(const Parameter& parameter) {
    if (parameter.isSwitch()) return "boolean";
    return parameter.form == ValueForm::gain ? "linear gain" : "generic";
}

std::string suggestParameter(std::string_view name) {
    std::array<std::string_view, allParameters.size()> names;
    std::ranges::transform(allParameters, names.begin(), &Parameter::option);
    if (const auto nearest = nearestName(name, names); !nearest.empty())
        return fmt::format("did you mean '{}'?", nearest);
    return fmt::format("the parameters are {}", fmt::join(names, ", "));
}

}  // namespace qov::cli
