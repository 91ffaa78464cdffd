#pragma once

#include <string>
#include <string_view>

/// Paths as text, without access to the file system. Any bytes are allowed in a name.
namespace platform::path {

/// "/tmp/a.wav" -> "a.wav", "/tmp/" -> "tmp", "a///" -> "a", "/" -> "/", "" -> "".
std::string lastPathComponent(std::string_view path);

/// "/tmp/a.wav" -> "/tmp", "/tmp/a/" -> "/tmp", "/tmp" -> "/", "/" -> "/", "a.wav" -> "", "" -> "".
std::string deletingLastPathComponent(std::string_view path);

/// What follows the last dot of the last component, without the dot; empty without a dot
/// and where the dot is first (".profile") or last ("a."). "/tmp/a..wav" -> "wav".
std::string pathExtension(std::string_view path);

/// The number of components, a separator at the start or the end being one: "tmp/a" -> 2,
/// "/tmp/a" -> 3, "tmp/a/" -> 3, "" -> 0. Repeated separators count as one.
long pathComponentCount(std::string_view path);

}  // namespace platform::path
