#include "hosts/instance/Preset.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include <fmt/format.h>

#include "hosts/instance/presetBank.h"
#include "hosts/instance/presetFolder.h"
#include "hosts/instance/valueText.h"

namespace qov::hosts {
namespace {

constexpr std::size_t largestFile = 1 << 16;  // bytes; a preset has a few hundred
constexpr std::size_t longestQuote = 40;      // bytes of a wrong line that are repeated

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view space = " \t\r";
    const auto first = text.find_first_not_of(space);
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(space) + 1 - first);
}

/// Sets the value of a line without its comment. Returns what is wrong; empty if nothing is.
std::string takeLine(std::string_view line, double sampleRate, Preset& preset) {
    const auto name = line.substr(0, line.find_first_of(" \t"));
    const auto text = trimmed(line.substr(name.size()));
    const auto parameter = std::find_if(hostParameters.begin(), hostParameters.end(),
                                        [&](const Parameter& each) { return each.option == name; });
    if (parameter == hostParameters.end())
        return fmt::format("'{}' is not a parameter of presets", name.substr(0, longestQuote));
    const auto value = parseValue(parameter->address, text, sampleRate, BareNumber::normalized);
    if (!value || !(*value >= 0 && *value <= 1))
        return fmt::format("{} does not take '{}'", name, text.substr(0, longestQuote));
    preset.values[parameter->address] = static_cast<float>(*value);
    return {};
}

}  // namespace

std::string Preset::folder() {
    std::array<char, PATH_MAX> path{};
    return findPresetFolder(path.data(), path.size()) ? path.data() : "";
}

std::vector<std::string> Preset::paths() {
    std::vector<std::string> paths;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder(), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
        if (entry->path().extension() == presetEnding) paths.push_back(entry->path().string());
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::string Preset::nameIn(std::string_view typed) {
    return std::string(trimmed(typed));
}

std::string Preset::pathOf(const std::string& name) {
    const auto in = folder();
    const bool isName =
        !name.empty() && name[0] != '.' && std::none_of(name.begin(), name.end(), [](char letter) {
            return letter == '/' || (letter >= 0 && letter < ' ') || letter == '\x7F';
        });
    const bool isNumber = name.find_first_not_of("0123456789") == name.npos;
    const bool isBanks = std::any_of(presetBank.begin(), presetBank.end(), [&](const auto& preset) {
        return strcasecmp(preset.name.data(), name.c_str()) == 0;
    });
    return isName && !isNumber && !isBanks && !in.empty()
               ? fmt::format("{}/{}{}", in, name, presetEnding)
               : "";
}

std::string_view Preset::settingIn(std::string_view line) {
    return trimmed(line.substr(0, line.find('#')));
}

std::string Preset::text() const {
    std::string text = summary.empty() ? "" : fmt::format("# {}\n", summary);
    for (const auto& parameter : hostParameters)
        text += fmt::format("{} {}\n", parameter.option, values[parameter.address]);
    return text;
}

std::optional<Preset> Preset::parse(std::string_view text, double sampleRate, std::string* error) {
    Preset preset{};
    for (const auto& parameter : hostParameters)
        preset.values[parameter.address] = parameter.initial;
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);  // an editor's byte order mark
    bool hasValue = false;
    for (int number = 1; !text.empty(); ++number) {
        const auto line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const auto value = settingIn(line);
        if (value.empty()) {
            if (!hasValue && preset.summary.empty() && line.find('#') != line.npos)
                preset.summary = trimmed(line.substr(line.find('#') + 1));
            continue;
        }
        hasValue = true;
        if (const auto wrong = takeLine(value, sampleRate, preset); !wrong.empty()) {
            *error = fmt::format("line {}: {}", number, wrong);
            return std::nullopt;
        }
    }
    if (hasValue) return preset;
    *error = "has no values; it is not a preset";
    return std::nullopt;
}

std::optional<Preset> Preset::read(const std::string& path, double sampleRate, std::string* error) {
    std::error_code missing;
    if (!std::filesystem::is_regular_file(path, missing)) {
        *error = missing ? missing.message() : "is not a preset file";
        return std::nullopt;
    }
    std::ifstream input(path, std::ios::binary);
    std::string text(largestFile, '\0');
    input.read(text.data(), largestFile);
    if (!input.is_open() || input.bad()) {
        *error = std::strerror(errno);
        return std::nullopt;
    }
    text.resize(static_cast<std::size_t>(input.gcount()));
    auto preset = parse(text, sampleRate, error);
    if (preset) {
        const auto file = path.substr(path.rfind('/') + 1);
        preset->name = file.substr(0, file.rfind('.'));
    }
    return preset;
}

}  // namespace qov::hosts
