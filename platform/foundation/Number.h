#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <utility>

namespace platform {

/// A whole number as an object, from the least signed to the largest unsigned one of 64 bits.
class Number {
 public:
    template <std::integral Integer>
    explicit Number(Integer value)
        : bits_(static_cast<std::uint64_t>(value)), isNegative_(std::cmp_less(value, 0)) {}

    /// Truncates toward zero and saturates; NaN counts as 0.
    explicit Number(double value) : Number(std::int64_t{0}) {
        if (value >= 0x1p63)
            *this = Number(INT64_MAX);
        else if (value < -0x1p63)
            *this = Number(INT64_MIN);
        else if (value == value)
            *this = Number(static_cast<std::int64_t>(value));
    }

    /// A number past the range wraps.
    std::int64_t int64Value() const { return static_cast<std::int64_t>(bits_); }
    /// Decimal.
    std::string stringValue() const {
        return isNegative_ ? std::to_string(int64Value()) : std::to_string(bits_);
    }
    /// Whether they were made from signed or unsigned numbers has no effect.
    bool operator==(const Number& other) const = default;

 private:
    std::uint64_t bits_;
    bool isNegative_;
};

}  // namespace platform
