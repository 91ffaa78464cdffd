#include "hosts/cli/Parameters.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/nearestName.h"
#include "hosts/instance/valueText.h"

namespace qov::cli {

const Parameter* findParameter(std::string_view name) {
    const auto found = std::ranges::find_if(allParameters, [&](const Parameter& parameter) {
        return name == parameter.option || name == parameter.identifier;
    });
    return found == allParameters.end() ? nullptr : &*found;
}

namespace {

/// What a parameter takes, for messages.
std::string_view takes(ValueForm form) {
    switch (form) {
        case ValueForm::width:
            return "0 to 1, or -100% to +100%";
        case ValueForm::panorama:
            return "0 to 1, L100 to R100, or C";
        case ValueForm::phaseShift:
            return "0 to 1, 0ms to 10ms, or samples of these 10 ms";
        case ValueForm::onOff:
            return "on or off (1 or 0)";
        case ValueForm::gain:
            return "0 to 1, 0% to 100%, or decibels up to 0dB";
    }
    return {};
}

}  // namespace

float parseValue(const Parameter& parameter, std::string_view text, double sampleRate) {
    const auto value =
        hosts::parseValue(parameter.address, text, sampleRate, hosts::BareNumber::normalized);
    if (value && *value >= minimumValue && *value <= maximumValue)
        return static_cast<float>(*value);
    const auto wrong =
        value ? fmt::format("{} is out of range", text) : fmt::format("'{}' is not a value", text);
    throw Failure(fmt::format("{}; {} takes {}", wrong, parameter.option, takes(parameter.form)));
}

Settings parseSettings(std::span<const std::string> texts, double sampleRate) {
    Settings settings;
    for (std::size_t i = 0; i < allParameters.size() && i < texts.size(); ++i) {
        const auto& parameter = allParameters[i];
        if (texts[i].empty()) continue;
        try {
            settings.emplace_back(parameter.address, parseValue(parameter, texts[i], sampleRate));
        } catch (const Failure& failure) {
            throw Failure(fmt::format("--{}: {}", parameter.option, failure.what()), 2);
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
