#pragma once

#include <charconv>
#include <string_view>
#include <system_error>

namespace qov::cli {

/// Reads a text that is a number as a whole. False for another text.
template <typename Number>
bool parseWhole(std::string_view text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size();
}

}  // namespace qov::cli
