#pragma once

#include <string>

namespace qov::app {

/// Whether the program was started at a terminal, where a user can read standard error; a script
/// there counts, whose streams lead elsewhere.
bool hasTerminal();

/// Shows a message in a window of its own and returns when the user closes it, with Esc, Return,
/// Space, its button or the close button, or after so many seconds, so that an unattended script
/// goes on. No-op without a screen. Main thread.
void showError(const std::string& message, double seconds = 60);

}  // namespace qov::app
