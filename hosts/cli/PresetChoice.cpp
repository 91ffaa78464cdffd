#include "hosts/cli/PresetChoice.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <string_view>

#include <fmt/format.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/Parameters.h"
#include "hosts/cli/nearestName.h"
#include "hosts/cli/parseWhole.h"
#include "hosts/instance/Instance.h"
#include "hosts/instance/presetBank.h"
#include "hosts/instance/presetFolder.h"

namespace qov::cli {
namespace {

using hosts::Preset;
using hosts::presetBank;

bool areEqualInAnyCase(std::string_view one, std::string_view other) {
    return std::ranges::equal(
        one, other, {}, [](unsigned char c) { return std::tolower(c); },
        [](unsigned char c) { return std::tolower(c); });
}

std::string nameOf(const std::string& path) {
    return std::filesystem::path(path).stem().string();
}

}  // namespace

PresetChoice PresetChoice::parse(const std::string& text) {
    PresetChoice choice;
    std::size_t number = 0;
    std::vector<std::string> names;
    for (std::size_t each = 0; each < presetBank.size(); ++each) {
        names.emplace_back(presetBank[each].name);
        if (areEqualInAnyCase(text, names.back()) || (parseWhole(text, number) && number == each))
            choice.number_ = each;
    }
    if (choice.number_) return choice;
    for (const auto& path : Preset::paths()) {
        names.push_back(nameOf(path));
        if (text == names.back()) choice.path_ = path;
    }
    if (choice.path_.empty()) {
        if (text.find('/') == text.npos && !text.ends_with(hosts::presetEnding)) {
            const std::vector<std::string_view> candidates(names.begin(), names.end());
            const auto nearest = nearestName(text, candidates);
            throw Failure(fmt::format("--preset {}: there is no such preset; {}", text,
                                      nearest.empty() ? "kelvane presets lists them"
                                                      : fmt::format("did you mean '{}'?", nearest)),
                          2);
        }
        choice.path_ = text;
    }
    static_cast<void>(choice.readFile(highestRate));
    return choice;
}

Preset PresetChoice::readFile(double rate) const {
    std::string error;
    const auto preset = Preset::read(path_, rate, &error);
    if (!preset) throw Failure(fmt::format("{}: {}", path_, error));
    return *preset;
}

void PresetChoice::select(hosts::Instance& instance, double rate) const {
    if (number_)
        instance.selectPreset(*number_);
    else
        instance.selectPreset(readFile(rate));
}

std::vector<std::string> PresetChoice::lines() const {
    std::vector<std::string> lines;
    if (number_) {
        for (const auto& parameter : hostParameters)
            if (const float value = presetBank[*number_].values[parameter.address];
                value != parameter.initial)
                lines.push_back(fmt::format("{} {}", parameter.option, value));
        return lines;
    }
    std::ifstream file(path_);
    for (std::string line; std::getline(file, line);)
        if (const auto setting = Preset::settingIn(line); !setting.empty())
            lines.emplace_back(setting);
    return lines;
}

}  // namespace qov::cli
