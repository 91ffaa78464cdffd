#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace qov::hosts {

/// What a user's preset file is called behind its name.
inline constexpr const char* presetEnding = ".kelvane";

/// Writes the folder of the user's presets: "$XDG_DATA_HOME/kelvane/presets", by default below
/// "~/.local/share". False without a home, or where it is longer than `size` bytes.
inline bool findPresetFolder(char* folder, std::size_t size) {
    const char* const data = std::getenv("XDG_DATA_HOME");
    const char* const home = std::getenv("HOME");
    // A relative path there is invalid by the desktop's own rules.
    const bool isData = data && *data == '/';
    if (!isData && !(home && *home)) return false;
    const int length = std::snprintf(folder, size, "%s%s/kelvane/presets", isData ? data : home,
                                     isData ? "" : "/.local/share");
    return length > 0 && static_cast<std::size_t>(length) < size;
}

}  // namespace qov::hosts
