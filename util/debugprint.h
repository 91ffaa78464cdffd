#pragma once

#include <string>

namespace qov {

/// Prints one line on the console, later: the line is queued on the main queue, so that lines from
/// any threads come out whole, in the order in which they were queued, and never in the middle of
/// what the main thread is doing. Any thread but a real-time one.
void debugprint(std::string line);

/// The same. Both print in every build.
void safeprint(std::string line);

}  // namespace qov
