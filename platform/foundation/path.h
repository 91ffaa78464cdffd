#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Paths as text: nothing here looks at the file system, and any bytes are allowed in a name.
namespace platform::path {

/// "/tmp/a.wav" -> "a.wav", "/tmp/" -> "tmp", "a///" -> "a", "/" -> "/", "" -> "".
std::string lastPathComponent(std::string_view path);

/// "/tmp/a.wav" -> "/tmp", "/tmp/a/" -> "/tmp", "/tmp" -> "/", "/" -> "/", "a.wav" -> "", "" -> "".
std::string deletingLastPathComponent(std::string_view path);

/// What follows the last dot of the last component, without the dot; empty when there is none, or
/// nothing before it (".profile") or after it ("a."). "/tmp/a..wav" -> "wav".
std::string pathExtension(std::string_view path);

/// "tmp/a" -> {"tmp", "a"}, "/tmp/a" -> {"/", "tmp", "a"}, "tmp/a/" -> {"tmp", "a", "/"}, "" -> {}.
/// Repeated separators count as one.
std::vector<std::string> pathComponents(std::string_view path);

/// The size of pathComponents(path), without making them.
long pathComponentCount(std::string_view path);

}  // namespace platform::path
