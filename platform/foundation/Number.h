#pragma once

#include <cstdint>
#include <string>

namespace platform {

/// A number as an object: remembers which kind it was made from, converts to any.
class Number {
 public:
    Number() : Number(std::int64_t{0}) {}
    explicit Number(bool value) : kind_(Kind::Bool), integer_(value) {}
    explicit Number(int value) : Number(std::int64_t{value}) {}
    explicit Number(std::int64_t value) : integer_(value) {}
    explicit Number(std::uint64_t value) : kind_(Kind::Unsigned), unsigned_(value) {}
    explicit Number(double value) : kind_(Kind::Real), real_(value) {}

    /// A real number saturates, NaN is 0; an unsigned number past the range wraps.
    std::int64_t int64Value() const;
    std::uint64_t unsignedInt64Value() const;
    double doubleValue() const;

    /// Decimal; a Boolean reads "1" or "0"; a real number in the fewest digits that give it back.
    std::string stringValue() const;

    /// Equal when they mean the same number, whatever the kinds.
    bool operator==(const Number& other) const;

 private:
    enum class Kind : std::uint8_t { Bool, Signed, Unsigned, Real };

    Kind kind_ = Kind::Signed;
    union {
        std::int64_t integer_;
        std::uint64_t unsigned_;
        double real_;
    };
};

}  // namespace platform
