#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qov::cli {

inline constexpr auto little = std::endian::little, big = std::endian::big;

/// A number as `count` bytes, at most 8.
std::string bytesOf(std::uint64_t value, int count, std::endian order);

/// The number in `count` bytes of a text, at most 8. Bytes beyond the end of the text count as 0.
std::uint64_t numberAt(std::string_view text, std::size_t at, int count, std::endian order);

/// Bytes of a file from an offset on; fewer where it ends or cannot be read. Its position does not
/// change.
std::string readAt(int descriptor, std::int64_t at, std::int64_t count);

/// Reads `count` bytes, also when signals interrupt. Returns how many came before the end or an
/// error; errno is that of the error, 0 at the end.
std::size_t readFully(int descriptor, void* bytes, std::size_t count);

/// Length of a regular file in bytes; -1 of anything else.
std::int64_t fileLength(int descriptor);

}  // namespace qov::cli
