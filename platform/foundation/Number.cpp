#include "platform/foundation/Number.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace platform {
namespace {

template <class T>
std::string digits(T value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    return {text, end};
}

/// Truncates toward zero and stops at the ends of the range.
template <class T>
T saturated(double value) {
    using Limits = std::numeric_limits<T>;
    if (std::isnan(value)) return 0;
    // 2^63 and 2^64 are exact as doubles; the largest integers below them are not.
    const double above = std::ldexp(1.0, Limits::digits);
    if (value >= above) return Limits::max();
    if (value < static_cast<double>(Limits::min())) return Limits::min();
    return static_cast<T>(value);
}

}  // namespace

std::int64_t Number::int64Value() const {
    switch (kind_) {
        case Kind::Real:
            return saturated<std::int64_t>(real_);
        case Kind::Unsigned:
            return static_cast<std::int64_t>(unsigned_);
        default:
            return integer_;
    }
}

std::uint64_t Number::unsignedInt64Value() const {
    switch (kind_) {
        case Kind::Real:
            return saturated<std::uint64_t>(real_);
        case Kind::Unsigned:
            return unsigned_;
        default:
            return static_cast<std::uint64_t>(integer_);
    }
}

double Number::doubleValue() const {
    switch (kind_) {
        case Kind::Real:
            return real_;
        case Kind::Unsigned:
            return static_cast<double>(unsigned_);
        default:
            return static_cast<double>(integer_);
    }
}

std::string Number::stringValue() const {
    switch (kind_) {
        case Kind::Real:
            return digits(real_);
        case Kind::Unsigned:
            return digits(unsigned_);
        default:
            return digits(integer_);
    }
}

bool Number::operator==(const Number& other) const {
    if (kind_ == Kind::Real || other.kind_ == Kind::Real)
        return doubleValue() == other.doubleValue();
    const auto negative = [](const Number& n) {
        return n.kind_ != Kind::Unsigned && n.integer_ < 0;
    };
    return negative(*this) == negative(other) && unsignedInt64Value() == other.unsignedInt64Value();
}

}  // namespace platform
