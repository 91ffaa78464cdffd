#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qov::hosts {

/// A parameter's value as text: "+20 %" of width, "L 30 %" of panorama, a phase shift as
/// "220 samples (5.0 ms)" at sampleRate (frames per second), "on" or "off", "80 %" of volume. The
/// percentages are the panel's. The same in every locale. Values outside 0..1 are clamped, NaN
/// counts as 0. Empty for an unknown address.
std::string valueText(std::uint64_t address, float value, double sampleRate);

/// The meaning of a number without a unit.
enum class BareNumber {
    normalized,  ///< the value itself, 0..1: command line and automation files
    shown,       ///< the figure that valueText() writes, per cent or samples: in hosts
    typed,       ///< in the panel's field: "0.7" (a decimal point, and in 0..1) is normalized, all
                 ///< others are shown: "-0.5" is half a per cent below the middle
};

/// Reads a value: any text of valueText()'s and the shorter forms "+20%", "r30", "c", "5ms",
/// "220samples", "-6dB" (volume), "on", "off", "yes", "no", and bare numbers. Upper or lower case,
/// with or without spaces. The result lies outside 0..1 where the text asks for more than the range
/// has; callers clamp or refuse it. Empty for other texts and for an unknown address.
std::optional<double> parseValue(std::uint64_t address, std::string_view text, double sampleRate,
                                 BareNumber bareNumber);

}  // namespace qov::hosts
