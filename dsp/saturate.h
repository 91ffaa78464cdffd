#pragma once

#include <limits>

namespace qov {

/// A real number as an integer: truncated toward zero, clamped to the type's range, 0 for NaN.
template <class Integer>
constexpr Integer saturate(double value) {
    using Limits = std::numeric_limits<Integer>;
    if (value != value) return 0;
    if (value <= static_cast<double>(Limits::min())) return Limits::min();
    // As double the greatest 64-bit number is the first beyond the range.
    if (value >= static_cast<double>(Limits::max())) return Limits::max();
    return static_cast<Integer>(value);
}

}  // namespace qov
