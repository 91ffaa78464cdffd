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

/// Finds one by its option name or its identifier; null for an unknown name.
const Parameter* findParameter(std::string_view name);

/// Reads a value as hosts::parseValue() does; bare numbers are 0..1. sampleRate, in frames per
/// second, is what samples and milliseconds of the phase shift count by. Throws Failure, which
/// names what the parameter takes, for other texts and for values out of range.
float parseValue(const Parameter& parameter, std::string_view text, double sampleRate);

/// No sound file has more frames per second; a value that no rate makes right is wrong at this one.
inline constexpr int highestRate = 10'000'000;

/// Values by address.
using Settings = std::vector<std::pair<std::uint64_t, float>>;

/// Address and value of every parameter whose option was given. `texts` has one text per parameter,
/// in the order of allParameters, as declareParameters() fills them: empty where the option was not
/// given. Throws Failure (2) that names the option whose text is no value at sampleRate.
Settings parseSettings(std::span<const std::string> texts, double sampleRate);

/// The unit that `kelvane params` shows: "generic", "boolean" or "linear gain".
std::string_view unitOf(const Parameter& parameter);

/// What follows "unknown parameter 'panorma'" in a message: the nearest name, else all of them.
std::string suggestParameter(std::string_view name);

}  // namespace qov::cli
