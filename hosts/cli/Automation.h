#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/audiotoolbox/AURenderEvent.h"

namespace qov::cli {

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
/// Seconds round to the nearest frame at sampleRate. Each line becomes a parameter or a MIDI event
/// whose time is a frame of the input, 0 for its first. The result is sorted by time; events of one
/// frame keep the order of their lines. Throws Failure: "<name>:<line>: what is wrong".
std::vector<platform::AURenderEvent> parseAutomation(std::string_view text, const std::string& name,
                                                     double sampleRate);

/// The same for a file; also throws Failure where it can't be read.
std::vector<platform::AURenderEvent> readAutomation(const std::string& path, double sampleRate);

}  // namespace qov::cli
