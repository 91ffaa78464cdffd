#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "audiounit/parameters.h"

namespace qov::hosts {

/// A user's preset, as a text file has it:
///
///     # Voices, a little to the left
///     stereo-width +40%
///     panorama L30
///
/// A comment before the first value is the summary. A line has a parameter's option name and a
/// value as the command line takes it; what no line names has its default.
struct Preset {
    std::string name;
    std::string summary;
    std::array<float, parameterCount> values;  ///< by address

    /// Where the user's presets lie (presetFolder.h); empty without a home.
    static std::string folder();
    /// The paths of the user's presets, by name.
    static std::vector<std::string> paths();
    /// A typed name without the blanks around it.
    static std::string nameIn(std::string_view typed);
    /// Where the user's preset of that name lies or is to lie; empty for a name that no file can
    /// have, one that means a preset of the program's own, or without a home.
    static std::string pathOf(const std::string& name);
    /// A line of a file without its comment and the space around it: empty, or a parameter and its
    /// value.
    static std::string_view settingIn(std::string_view line);
    /// The text of a file with all values.
    std::string text() const;

    /// The preset of a text; sampleRate, in frames per second, is what samples count by. Null for
    /// another text, with what is wrong in which line in *error.
    static std::optional<Preset> parse(std::string_view text, double sampleRate,
                                       std::string* error);
    /// The same for a file, whose name without the ending is the preset's.
    static std::optional<Preset> read(const std::string& path, double sampleRate,
                                      std::string* error);
};

}  // namespace qov::hosts
