#pragma once

#include <travesty/base.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qov::hosts::vst3 {

/// Writes ASCII as UTF-16 into a field of `size` units, cut where it is too long, with a zero.
inline void writeText(std::string_view text, std::int16_t* field, std::size_t size) {
    const auto length = std::min(text.size(), size - 1);
    std::copy_n(text.begin(), length, field);
    field[length] = 0;
}
/// The same, to the end of an array.
template <std::size_t Size>
void writeText(std::string_view text, std::int16_t (&field)[Size]) {
    writeText(text, field, Size);
}

/// Reads UTF-16 up to its zero, at most `size` units; units outside ASCII become question marks.
inline std::string readText(const std::int16_t* field, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size && field[i] != 0; ++i)
        text += field[i] > 0 && field[i] < 128 ? static_cast<char>(field[i]) : '?';
    return text;
}

/// A unit of UTF-16 as UTF-8; empty for a control character or half of a pair.
inline std::string printableText(char16_t unit) {
    if (unit < 0x20 || (unit >= 0x7f && unit < 0xa0) || (unit >= 0xd800 && unit < 0xe000))
        return {};
    const auto byte = [](int bits) { return static_cast<char>(bits); };
    if (unit < 0x80) return {byte(unit)};
    if (unit < 0x800) return {byte(0xc0 | unit >> 6), byte(0x80 | (unit & 0x3f))};
    return {byte(0xe0 | unit >> 12), byte(0x80 | (unit >> 6 & 0x3f)), byte(0x80 | (unit & 0x3f))};
}

}  // namespace qov::hosts::vst3
