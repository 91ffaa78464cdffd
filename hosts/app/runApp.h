#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hosts/app/SoundLoop.h"
#include "platform/coregraphics/CGGeometry.h"

namespace qov::hosts {
class Instance;
}

namespace qov::app {

/// The program's options.
struct Options {
    /// Played in a loop; empty for none.
    Sound sound;
    /// Points; by default that of the last run, or the panel's own.
    std::optional<platform::CGSize> size;
    /// Pixels a point; 0 for the desktop's own.
    platform::CGFloat scale = 0;
    bool useJack = true;
    /// The JACK server's name; empty for the default one.
    std::string jackServer;
    /// Sets the preset to start with, at a rate in frames per second; by default the values of the
    /// last run.
    std::function<void(hosts::Instance& instance, double rate)> selectPreset;
    /// Address and value of the parameters to set after that, at a rate in frames per second; empty
    /// for none.
    std::function<std::vector<std::pair<std::uint64_t, float>>(double rate)> values;
    /// The file of settings that is read and written; empty for none.
    std::string settingsPath;
};

/// The window with the editor, until the user closes it (or a signal asks for it). Space plays and
/// pauses the sound, Ctrl+Z undoes a gesture and Ctrl+Shift+Z redoes it, Esc ends (twice while on
/// JACK); all other keys are the editor's. Returns the exit code. Throws std::runtime_error with a
/// line for the user where there is no screen. Other messages go to standard error, a line each,
/// and into the window where the program has no terminal.
int runApp(const Options& options);

}  // namespace qov::app
