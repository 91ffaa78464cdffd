#include "hosts/cli/Parameters.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include <fmt/format.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/nearestName.h"

namespace qov::cli {
namespace {

constexpr std::array<Parameter, 9> table{{
    {0, "kStereoWidth", "Stereo Width", "stereo-width", "generic", 0.5F, true,
     "0.5 as it is; 1 doubles the side signal; 0 puts the right channel on both sides"},
    {1, "kPanorama", "Panorama", "panorama", "generic", 0.5F, true,
     "0.5 centre; 0 all to the left; 1 all to the right"},
    {2, "kPhaseShift", "Phase Shift", "phase-shift", "generic", 0, true,
     "delays the left channel by up to 10 ms (at least one frame)"},
    {3, "kSwapChannels", "Swap Channels", "swap-channels", "boolean", 0, true,
     "exchanges left and right"},
    {4, "kInvertChannel", "Invert Channel", "invert-channel", "boolean", 0, true,
     "turns the left channel upside down"},
    {5, "kRecoverMono", "Recover Mono", "recover-mono", "boolean", 0, true,
     "takes the side signal out of both channels, by the width's amount"},
    {6, "kTestMono", "Test Mono", "test-mono", "boolean", 0, true,
     "puts (L + R) / 2 on both sides"},
    {7, "kBypass", "Bypass", "bypass", "boolean", 0, true, "passes the input through untouched"},
    {9, "kVolume", "Volume", "volume", "linear gain", 1, false, "level before the other stages"},
}};

}  // namespace

std::span<const Parameter> parameters() {
    return table;
}

const Parameter* findParameter(std::string_view name) {
    const auto found = std::ranges::find_if(table, [&](const Parameter& parameter) {
        return name == parameter.option || name == parameter.identifier;
    });
    return found == table.end() ? nullptr : &*found;
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
    for (std::size_t i = 0; i < table.size() && i < texts.size(); ++i) {
        std::string_view text = texts[i];
        if (text.empty()) continue;
        if (text == "true" || text == "false") text = text == "true" ? "on" : "off";
        try {
            settings.emplace_back(table[i].address, parseValue(table[i], text));
        } catch (const Failure& failure) {
            throw Failure(fmt::format("--{}: {}", table[i].option, failure.what()), 2);
        }
    }
    return settings;
}

std::string suggestParameter(std::string_view name) {
    std::array<std::string_view, table.size()> names;
    std::ranges::transform(table, names.begin(), &Parameter::option);
    if (const auto nearest = nearestName(name, names); !nearest.empty())
        return fmt::format("did you mean '{}'?", nearest);
    return fmt::format("the parameters are {}", fmt::join(names, ", "));
}

}  // namespace qov::cli
