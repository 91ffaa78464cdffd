// Numbers by the C library, for a system whose locale is always "C".

#include "platform/foundation/numberText.h"

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace platform {

std::string numberText(float value, NumberForm form) {
    if (!std::isfinite(value)) return std::isnan(value) ? "nan" : value < 0 ? "-inf" : "inf";
    std::array<char, 64> text{};
    const auto written = [&](const char* format, int digits) {
        std::snprintf(text.data(), text.size(), format, digits, static_cast<double>(value));
        return std::string(text.data());
    };
    int digits = 0;  // behind the point
    while (std::strtof(written("%.*e", digits).c_str(), nullptr) != value) ++digits;
    const auto scientific = written("%.*e", digits);
    const int exponent = std::atoi(scientific.c_str() + scientific.find('e') + 1);
    const auto plain = written("%.*f", digits > exponent ? digits - exponent : 0);
    switch (form) {
        case NumberForm::shortest:
            return plain.size() <= scientific.size() ? plain : scientific;
        case NumberForm::general:
            return exponent >= -4 && exponent < 6 ? plain : scientific;
        case NumberForm::plain:
            return plain;
        case NumberForm::scientific:
            return scientific;
    }
    return {};
}

std::from_chars_result readNumber(const char* first, const char* last, double& value) {
    std::string text(first, last);
    // What strtod() takes and from_chars() does not.
    const auto digits = text.starts_with('-') ? 1U : 0U;
    const auto start = text.find_first_of("0123456789.iInN", digits);
    if (start != digits) return {first, std::errc::invalid_argument};
    if (const auto x = text.find_first_of("xX"); x == digits + 1) text.resize(x);
    char* end = nullptr;
    errno = 0;
    const double read = std::strtod(text.c_str(), &end);
    if (end == text.c_str()) return {first, std::errc::invalid_argument};
    const auto* const behind = first + (end - text.c_str());
    if (errno == ERANGE) return {behind, std::errc::result_out_of_range};
    value = read;
    return {behind, std::errc{}};
}

}  // namespace platform
