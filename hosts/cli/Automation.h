#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qov::cli {

/// One line of an automation: a parameter that jumps, or a MIDI message, on an exact input frame.
struct AutomationEvent {
    enum class Kind { parameter, midi };

    std::int64_t frame = 0;  ///< 0 is the first frame of the input
    Kind kind = Kind::parameter;
    std::uint64_t address = 0;  ///< parameter: which
    float value = 0;            ///< parameter: 0..1
    std::array<std::uint8_t, 3> message{};
    std::uint16_t length = 0;  ///< midi: bytes of message in use, 1..3
};

/// A time in frames (4410), seconds (0.1s) or minutes and seconds (1:02.5), as frames. Throws
/// Failure.
std::int64_t parseTime(std::string_view text, double sampleRate);

/// Reads a text of one event a line:
///
///     # a comment runs to the end of its line
///     4410    set stereo-width 0.8      a time in frames,
///     0.1s    set bypass on             in seconds,
///     1:02.5  midi B0 0B 40             or in minutes and seconds
///
/// Seconds round to the nearest frame at sampleRate. The result is sorted by frame; events of one
/// frame keep the order of their lines. Throws Failure: "<name>:<line>: what is wrong".
std::vector<AutomationEvent> parseAutomation(std::string_view text, const std::string& name,
                                             double sampleRate);

/// The same for a file; also throws Failure where it can't be read.
std::vector<AutomationEvent> readAutomation(const std::string& path, double sampleRate);

}  // namespace qov::cli
