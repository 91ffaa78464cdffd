#pragma once

#include <functional>
#include <string_view>

namespace platform {

/// Where the system's console lines go. Any thread may print; a line is delivered whole.
namespace console {

/// Takes a line without its line feed, one at a time, on the thread that prints it.
using Sink = std::function<void(std::string_view line)>;

/// Prints one line; the line feed is the sink's to add.
void print(std::string_view line);

/// Replaces the sink and returns the one before. An empty sink drops every line.
/// At first, and after setSink(standardOutput()), lines go to standard output.
Sink setSink(Sink sink);

/// Writes each line to standard output, with a line feed, and flushes it.
Sink standardOutput();

}  // namespace console
}  // namespace platform
