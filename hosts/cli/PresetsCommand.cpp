#include <array>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include <fmt/format.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/OptionParser.h"
#include "hosts/cli/Parameters.h"
#include "hosts/cli/PresetChoice.h"
#include "hosts/instance/presetBank.h"
#include "hosts/instance/valueText.h"
#include "hosts/output/OutputPlace.h"

namespace qov::cli {
namespace {

using hosts::Preset;

constexpr auto presetsHelp = R"(
Each name stands for --preset of render and app. A preset of your own is a text file in
~/.local/share/kelvane/presets, or anywhere, with a parameter and its value in a line:

    # Voices, a little to the left
    stereo-width +40%
    panorama L30

What it does not name has its default; the first comment is the summary. --save writes one of the
parameters that are given with it, on top of --preset.
)";
constexpr double anyRate = 44100;

using Values = std::array<float, parameterCount>;

/// "stereo-width +50 %", of the values that are not the default.
std::string settingsOf(const Values& values) {
    std::vector<std::string> settings;
    for (const auto& parameter : hostParameters) {
        const float value = values[parameter.address];
        if (value == parameter.initial) continue;
        auto text = hosts::valueText(parameter.address, value, anyRate);
        // Samples are those of one rate.
        if (const auto time = text.find('('); time != text.npos)
            text = text.substr(time + 1, text.find(')') - time - 1);
        settings.push_back(fmt::format("{} {}", parameter.option, text));
    }
    return fmt::format("{}", fmt::join(settings, ", "));
}

void listPresets() {
    constexpr auto row = "{:<27}  {:<26}  {}\n";
    fmt::print(row, "NAME", "SETS", "FOR");
    for (const auto& preset : hosts::presetBank)
        fmt::print(row, preset.name, settingsOf(preset.values), preset.summary);
    for (const auto& path : Preset::paths()) {
        std::string error;
        const auto preset = Preset::read(path, anyRate, &error);
        if (preset)
            fmt::print(row, preset->name, settingsOf(preset->values), preset->summary);
        else
            fmt::print(stderr, "kelvane: {}: {}\n", path, error);
    }
}

struct PresetsOptions {
    std::string save, summary, preset;
    std::vector<std::string> values = std::vector<std::string>(allParameters.size());
    bool overwrites = false;
};

/// The lines of a preset file: those of --preset, and of the parameters as they were typed.
std::string fileText(const PresetsOptions& options) {
    static_cast<void>(parseSettings(options.values, highestRate));
    if (options.summary.find('\n') != options.summary.npos)
        throw Failure("--summary: takes one line", 2);
    std::vector<std::string> lines;
    if (!options.preset.empty()) lines = PresetChoice::parse(options.preset).lines();
    for (const auto& parameter : hostParameters) {
        const auto& typed = options.values[parameter.address];
        if (typed.empty()) continue;
        std::erase_if(lines, [&](const std::string& line) {
            return line.substr(0, line.find_first_of(" \t")) == parameter.option;
        });
        lines.push_back(fmt::format("{} {}", parameter.option, typed));
    }
    if (lines.empty())
        throw Failure("--save: needs parameters or --preset, as in --panorama L30", 2);
    if (!options.summary.empty()) lines.insert(lines.begin(), "# " + options.summary);
    return fmt::format("{}\n", fmt::join(lines, "\n"));
}

void savePreset(const PresetsOptions& options) {
    const auto path = Preset::pathOf(Preset::nameIn(options.save));
    if (path.empty() && Preset::folder().empty())
        throw Failure("--save: there is no HOME to save in");
    if (path.empty())
        throw Failure(
            fmt::format("--save {}: takes a name of your own: no number, slash or leading dot",
                        options.save),
            2);
    const auto text = fileText(options);
    std::error_code error;
    if (!options.overwrites && std::filesystem::exists(path, error))
        throw Failure(fmt::format("{}: exists; -y (--overwrite) replaces it", path));
    std::filesystem::create_directories(Preset::folder(), error);
    hosts::writeOutput(path, text);
    fmt::print("{}\n", path);
}

}  // namespace

int runPresets(const Arguments& arguments) {
    OptionParser parser("kelvane presets", "Lists the presets, or saves one of your own.",
                        presetsHelp);
    PresetsOptions options;
    parser.addOption("--save", options.save, "save a preset of your own", "NAME");
    parser.addOption("--summary", options.summary, "what --save's preset is for", "TEXT");
    parser.addOption("--preset", options.preset, "what --save starts from", "NAME|FILE");
    parser.addSwitch("-y,--overwrite", options.overwrites, "replace a preset of that name");
    parser.addParameters(options.values, true);
    if (const auto code = parser.parse(arguments)) return *code;
    if (options.save.empty())
        listPresets();
    else
        savePreset(options);
    return 0;
}

}  // namespace qov::cli
