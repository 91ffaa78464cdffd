#include "platform/foundation/ByteCountFormatter.h"

#include <array>

#include <unicode/locid.h>
#include <unicode/numberformatter.h>

namespace platform::ByteCountFormatter {
namespace {

struct Unit {
    const char* name;
    int exponent;  // of ten
    int digits;    // at most, behind the point
};

constexpr std::array units{Unit{"KB", 3, 0}, Unit{"MB", 6, 1}, Unit{"GB", 9, 2}, Unit{"TB", 12, 2},
                           Unit{"PB", 15, 2}};

std::uint64_t power(int exponent) {
    std::uint64_t value = 1;
    while (exponent-- > 0) value *= 10;
    return value;
}

/// True if the size, rounded to the unit's digits with halves to even, stays below 1000 of it.
bool fits(std::uint64_t size, const Unit& unit) {
    // 999.5 KB, 999.95 MB, 999.995 GB: the tie goes up, since the 9 before it is odd.
    const auto half = power(unit.exponent - unit.digits) / 2;
    return size < power(unit.exponent + 3) - half;
}

std::string number(std::int64_t bytes, int exponent, int digits) {
    using icu::number::NumberFormatter;
    using icu::number::Precision;
    static const auto plain =
        NumberFormatter::withLocale(icu::Locale::getUS()).roundingMode(UNUM_ROUND_HALFEVEN);
    static const std::array byDigits{plain.precision(Precision::integer()),
                                     plain.precision(Precision::maxFraction(1)),
                                     plain.precision(Precision::maxFraction(2))};
    // As a decimal, so that the division is exact.
    const auto exact = std::to_string(bytes) + "E-" + std::to_string(exponent);
    UErrorCode status = U_ZERO_ERROR;
    std::string text;
    byDigits[static_cast<std::size_t>(digits)]
        .formatDecimal(exact, status)
        .toString(status)
        .toUTF8String(text);
    return text;
}

}  // namespace

std::string stringFromByteCount(std::int64_t bytes) {
    if (bytes == 0) return "Zero KB";
    const auto size =
        bytes < 0 ? 0 - static_cast<std::uint64_t>(bytes) : static_cast<std::uint64_t>(bytes);
    if (size < 1000) return number(bytes, 0, 0) + (size == 1 ? " byte" : " bytes");
    const Unit* unit = units.data();
    while (unit != &units.back() && !fits(size, *unit)) ++unit;
    return number(bytes, unit->exponent, unit->digits) + " " + unit->name;
}

}  // namespace platform::ByteCountFormatter
