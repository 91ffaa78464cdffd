#pragma once

#include <charconv>
#include <string>

namespace platform {

// Numbers as text, whatever the locale. Not every standard library writes and reads floating-point
// numbers in <charconv>, so they are a back end: a source with the two functions.

/// Which form a number is written in.
enum class NumberForm {
    shortest,   ///< plain or with an exponent, whichever is shorter; plain where both are
    general,    ///< with an exponent below 1e-4 and from 1e6 on
    plain,      ///< never with an exponent
    scientific  ///< always with one
};

/// The fewest digits that read back as the same number.
std::string numberText(float value, NumberForm form = NumberForm::shortest);

/// As std::from_chars(first, last, value): no white space, no plus, no hexadecimal.
std::from_chars_result readNumber(const char* first, const char* last, double& value);

}  // namespace platform
