#pragma once

#include <cstdint>
#include <string>

namespace platform::ByteCountFormatter {

/// A size for display, in decimal units, as file managers count.
/// "Zero KB", "1 byte", "999 bytes", then the largest unit in which the rounded number is at least
/// 1 and below 1000: KB without a digit, MB with up to one, GB, TB and PB with up to two behind the
/// point ("1.2 MB", "2 GB"). Halves go to the even neighbour. English, whatever the locale.
std::string stringFromByteCount(std::int64_t bytes);

}  // namespace platform::ByteCountFormatter
