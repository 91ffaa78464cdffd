#pragma once

#include <cstdint>
#include <string>

namespace qov {

/// A four-character code as UTF-8 text: its bytes, from the most significant down, read as Mac OS
/// Roman. 0x61756678 is "aufx". That encoding gives every byte a character (0 is NUL, 0xF0 the
/// private U+F8FF), so no value fails to decode and the text is always of four characters.
std::string stringValue(std::uint32_t code);

}  // namespace qov
