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

}  // namespace qov::hosts::vst3
