#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qov::hosts {

/// A parameter's value as the panel gives it: "+20 %" of width, "L 30 %" of panorama, a phase
/// shift as "220 samples (5.0 ms)" at that rate, "on" or "off", "80 %" of volume. The same in every
/// locale. Values outside 0..1 read as the nearer end, what is no number as 0. Empty for an unknown
/// address.
std::string valueText(std::uint64_t address, float value, double sampleRate);

/// The value that a person means: any text of valueText's, and shorter forms: a number alone (per
/// cent; samples for the phase shift), "5 ms", "r30", "c", "yes", "0". Nothing where it means none.
/// Numbers beyond the range go to its end.
std::optional<float> parseValue(std::uint64_t address, std::string_view text, double sampleRate);

}  // namespace qov::hosts
