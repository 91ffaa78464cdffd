#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qov::cli {

/// One parameter as the command line names it. Every value runs from 0 to 1.
struct Parameter {
    std::uint64_t address;
    std::string_view identifier;  ///< as hosts know it: "kStereoWidth"
    std::string_view name;        ///< for people: "Stereo Width"
    std::string_view option;      ///< in options and automation files: "stereo-width"
    std::string_view unit;        ///< "generic", "boolean" or "linear gain"
    float initial;                ///< value of a new effect
    bool isInTree;                ///< false: only the kernel knows it, hosts don't see it
    std::string_view effect;      ///< what turning it does, in a few words

    bool isSwitch() const { return unit == "boolean"; }
};

inline constexpr float minimumValue = 0;
inline constexpr float maximumValue = 1;
inline constexpr std::uint64_t bypassAddress = 7;

/// All parameters in the order of their addresses.
std::span<const Parameter> parameters();

/// Finds one by its option name or its identifier; null where there is none.
const Parameter* findParameter(std::string_view name);

/// A value as text: a finite decimal number from 0 to 1; switches also take on and off.
/// Throws Failure, which says what is wrong with the text.
float parseValue(const Parameter& parameter, std::string_view text);

/// Address and value of every parameter whose option was given. `texts` has one text a parameter,
/// in the table's order: empty where the option was not given, "true" or "false" for a bare switch.
/// Throws Failure (2) that names the option of a text that is no value.
std::vector<std::pair<std::uint64_t, float>> parseSettings(std::span<const std::string> texts);

/// What follows "unknown parameter 'panorma'" in a message: the nearest name, else all of them.
std::string suggestParameter(std::string_view name);

}  // namespace qov::cli
