#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "audiounit/parameters.h"

namespace qov::cli {

inline constexpr float minimumValue = 0;
inline constexpr float maximumValue = 1;

/// Finds one by its option name or its identifier; null where there is none.
const Parameter* findParameter(std::string_view name);

/// A value as text: a finite decimal number from 0 to 1; switches also take on and off.
/// Throws Failure, which says what is wrong with the text.
float parseValue(const Parameter& parameter, std::string_view text);

/// Address and value of every parameter whose option was given. `texts` has one text a parameter,
/// in the order of allParameters: empty where the option was not given, "true" or "false" for a
/// bare switch. Throws Failure (2) that names the option of a text that is no value.
std::vector<std::pair<std::uint64_t, float>> parseSettings(std::span<const std::string> texts);

/// The unit that `kelvane params` shows: "generic", "boolean" or "linear gain".
std::string_view unitOf(const Parameter& parameter);

/// What follows "unknown parameter 'panorma'" in a message: the nearest name, else all of them.
std::string suggestParameter(std::string_view name);

}  // namespace qov::cli
