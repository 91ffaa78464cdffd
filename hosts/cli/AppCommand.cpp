#include "hosts/cli/AppCommand.h"

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <regex>
#include <string>

#include "audiounit/presets.h"
#include "hosts/app/SavedSettings.h"
#include "hosts/app/runApp.h"
#include "hosts/app/showError.h"
#include "hosts/cli/Parameters.h"
#include "hosts/cli/SoundReader.h"
#include "hosts/cli/parseOptions.h"
#include "platform/foundation/Console.h"

namespace qov::cli {
namespace {

constexpr int kMostMinutes = 30;               // of a sound that is held in memory
constexpr int kSmallest = 1, kLargest = 8192;  // a window's side, in points

app::Sound readSound(const std::string& path) {
    SoundReader reader(path, {.rawRate = {}, .upmix = true});
    app::Sound sound;
    sound.rate = reader.rate();
    const auto most = static_cast<std::size_t>(sound.rate) * 60 * kMostMinutes;
    std::array<float, 4096> left, right;
    while (const auto count = reader.read(left.data(), right.data(), left.size())) {
        sound.left.insert(sound.left.end(), left.begin(), left.begin() + count);
        sound.right.insert(sound.right.end(), right.begin(), right.begin() + count);
        if (sound.left.size() > most)
            throw Failure(fmt::format("{}: longer than {} minutes; cut out the part to be played",
                                      path, kMostMinutes));
    }
    if (sound.left.empty()) throw Failure(path + ": holds no sound to play");
    return sound;
}

platform::CGSize parseSize(const std::string& text) {
    static const std::regex form("([0-9]{1,5})x([0-9]{1,5})");
    std::smatch match;
    if (std::regex_match(text, match, form)) {
        const int width = std::stoi(match[1]), height = std::stoi(match[2]);
        if (std::min(width, height) >= kSmallest && std::max(width, height) <= kLargest)
            return {static_cast<double>(width), static_cast<double>(height)};
    }
    throw Failure(fmt::format("--size '{}': give WIDTHxHEIGHT in points, {} to {} each, as in "
                              "680x440",
                              text, kSmallest, kLargest),
                  2);
}

int run(const Arguments& arguments) {
    CLI::App cli(
        "Opens the effect with its editor in a window, as a JACK client; while no JACK server "
        "runs, in silence.\n"
        "Wheel and arrows turn the control under the mouse, with Shift ten times finer; a double "
        "click sets its default, Return types a value. Space plays and pauses FILE, Ctrl+Z undoes, "
        "Ctrl+Shift+Z redoes, Esc ends (twice while connected to JACK). The settings are saved for "
        "the next run; the options below override them.",
        "kelvane app");
    std::string file, size;
    app::Options options;
    bool noJack = false, diagnostics = false;
    cli.add_option("FILE", file, "a sound that plays into the effect, round and round");
    cli.add_option("--size", size, "the window's size in points (that of the last run)");
    cli.add_option("--scale", options.scale, "pixels a point (the desktop's own)")
        ->check(CLI::Range(0.5, 8.0));
    cli.add_option("--jack-server", options.jackServer, "the JACK server's name");
    cli.add_flag("--no-jack", noJack, "run in silence, without JACK");
    cli.add_flag("--diagnostics", diagnostics, "print the effect's own console lines");
    std::array<std::string, allParameters.size()> values;
    declareParameters(cli, values, true);
    cli.add_option("--preset", options.preset, "factory preset, in place of the saved parameters")
        ->check(CLI::Range(std::size_t{0}, factoryPresetCount - 1))
        ->type_name("0..2");
    if (const auto code = parseOptions(cli, arguments)) return *code;
    static_cast<void>(parseSettings(values, highestRate));  // what is wrong at every rate
    options.values = [&values](double rate) { return parseSettings(values, rate); };
    options.settingsPath = app::SavedSettings::defaultPath();
    options.useJack = !noJack;
    if (!size.empty()) options.size = parseSize(size);
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
