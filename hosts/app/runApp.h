#pragma once

#include <string>

#include "hosts/app/SoundLoop.h"
#include "platform/coregraphics/CGGeometry.h"

namespace qov::app {

/// What the program was asked for.
struct Options {
    /// What plays round and round; empty for none.
    Sound sound;
    /// Points; zero for the panel's own size.
    platform::CGSize size;
    /// Pixels a point; 0 for what the desktop says.
    platform::CGFloat scale = 0;
    bool useJack = true;
    /// The JACK server's name; empty for the usual one.
    std::string jackServer;
};

/// The window with the editor, until the user closes it (or a signal asks for it). Space plays and
/// pauses the sound, Esc ends; all other keys are the editor's. Returns the exit code.
/// Throws std::runtime_error with a line for the user where there is no screen.
/// What else there is to know goes to standard error, a line each.
int runApp(const Options& options);

}  // namespace qov::app
