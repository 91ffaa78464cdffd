#include "platform/foundation/ByteCountFormatter.h"

#include <iterator>

namespace platform::ByteCountFormatter {
namespace {

struct Unit {
    const char* name;
    std::uint64_t bytes;
    std::uint64_t steps;  // of one unit, to which sizes are rounded
};

constexpr Unit units[] = {{" KB", 1'000, 1},
                          {" MB", 1'000'000, 10},
                          {" GB", 1'000'000'000, 100},
                          {" TB", 1'000'000'000'000, 100},
                          {" PB", 1'000'000'000'000'000, 100}};

std::uint64_t quotientToEven(std::uint64_t dividend, std::uint64_t divisor) {
    const auto quotient = dividend / divisor, twiceTheRest = 2 * (dividend % divisor);
    const bool up = twiceTheRest == divisor ? quotient % 2 != 0 : twiceTheRest > divisor;
    return quotient + up;
}

/// "9,223.37", without zeros at the end; below a million.
std::string number(std::uint64_t count, std::uint64_t steps) {
    const auto whole = count / steps;
    auto text = std::to_string(whole);
    if (whole >= 1000)
        text = std::to_string(whole / 1000) + "," + std::to_string(1000 + whole % 1000).substr(1);
    auto digits = std::to_string(steps + count % steps);
    digits[0] = '.';
    while (digits.back() == '0') digits.pop_back();
    return digits == "." ? text : text + digits;
}

}  // namespace

std::string stringFromByteCount(std::int64_t bytes) {
    if (bytes == 0) return "Zero KB";
    const std::string sign = bytes < 0 ? "-" : "";
    const auto size =
        bytes < 0 ? 0 - static_cast<std::uint64_t>(bytes) : static_cast<std::uint64_t>(bytes);
    if (size < 1000) return sign + std::to_string(size) + (size == 1 ? " byte" : " bytes");
    const Unit* unit = units;
    const auto count = [&] { return quotientToEven(size, unit->bytes / unit->steps); };
    while (count() >= 1000 * unit->steps && unit + 1 != std::end(units)) ++unit;
    return sign + number(count(), unit->steps) + unit->name;
}

}  // namespace platform::ByteCountFormatter
