#include <fmt/format.h>

#include <array>
#include <cstdlib>
#include <string>

#include "hosts/app/runApp.h"
#include "hosts/app/showError.h"
#include "hosts/cli/Command.h"
#include "hosts/cli/OptionParser.h"
#include "hosts/cli/Parameters.h"
#include "hosts/cli/PresetChoice.h"
#include "hosts/cli/SoundReader.h"
#include "hosts/window/SavedSettings.h"
#include "platform/foundation/Console.h"

namespace qov::cli {
namespace {

constexpr int mostMinutes = 30;      // of a sound that is held in memory
constexpr int largestWindow = 8192;  // of a window, in points

app::Sound readSound(const std::string& path) {
    SoundReader reader(path, {.rawRate = {}, .upmix = true});
    app::Sound sound;
    sound.rate = reader.rate();
    const auto most = static_cast<std::size_t>(sound.rate) * 60 * mostMinutes;
    std::array<float, 4096> left, right;
    while (const auto count = reader.read(left.data(), right.data(), left.size())) {
        sound.left.insert(sound.left.end(), left.begin(), left.begin() + count);
        sound.right.insert(sound.right.end(), right.begin(), right.begin() + count);
        if (sound.left.size() > most)
            throw Failure(fmt::format("{}: longer than {} minutes; cut out the part to be played",
                                      path, mostMinutes));
    }
    if (sound.left.empty()) throw Failure(path + ": holds no sound to play");
    return sound;
}

int run(const Arguments& arguments) {
    OptionParser parser(
        "kelvane app",
        "Opens the effect with its editor in a window, as a JACK client; while no JACK server "
        "runs, in silence.\n"
        "Wheel and arrows turn the control under the mouse, with Shift ten times finer; a double "
        "click sets its default, Return types a value. Tab goes through the strip below, whose "
        "arrow folds it away. Space plays and pauses FILE, Ctrl+Z undoes, "
        "Ctrl+Shift+Z redoes, Esc ends (twice while connected to JACK). The settings are saved for "
        "the next run; the options below override them.");
    std::string file, size, scale, preset;
    app::Options options;
    bool noJack = false, diagnostics = false;
    parser.addOptionalArgument("FILE", file, "a sound that plays into the effect, round and round");
    parser.addOption("--size", size, "the panel's size in points (that of the last run)", "WxH");
    parser.addOption("--scale", scale, "pixels a point (the desktop's own)", "0.5..8");
    parser.addOption("--jack-server", options.jackServer, "the JACK server's name", "NAME");
    parser.addSwitch("--no-jack", noJack, "run in silence, without JACK");
    parser.addSwitch("--diagnostics", diagnostics, "print the effect's own console lines");
    std::array<std::string, allParameters.size()> values;
    parser.addParameters(values, true);
    parser.addOption("--preset", preset,
                     "preset in place of the saved parameters; kelvane presets lists them",
                     "NAME|FILE");
    if (const auto code = parser.parse(arguments)) return *code;
    static_cast<void>(parseSettings(values, highestRate));  // what is wrong at every rate
    options.values = [&values](double rate) { return parseSettings(values, rate); };
    options.settingsPath = hosts::SavedSettings::pathOf("settings");
    options.useJack = !noJack;
    if (!size.empty()) options.size = parseSize(size, largestWindow);
    if (!scale.empty()) options.scale = parseNumber("--scale", scale, 0.5, 8.0);
    if (!preset.empty())
        options.selectPreset = [choice = PresetChoice::parse(preset)](hosts::Instance& effect,
                                                                      double rate) {
            choice.select(effect, rate);
        };
    if (!file.empty()) options.sound = readSound(file);
    const char* asked = std::getenv("KELVANE_DIAGNOSTICS");
    if (diagnostics || (asked && std::string(asked) == "1"))
        platform::console::setSink(platform::console::standardOutput());
    return app::runApp(options);
}

}  // namespace

int runApp(const Arguments& arguments) try {
    return run(arguments);
} catch (const std::exception& error) {
    if (!app::hasTerminal()) app::showError(error.what());
    throw;
}

}  // namespace qov::cli
