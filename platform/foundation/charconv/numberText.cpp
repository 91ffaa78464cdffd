#include "platform/foundation/numberText.h"

#include <array>

namespace platform {

std::string numberText(float value, NumberForm form) {
    std::array<char, 64> text{};
    char *const first = text.data(), *const last = first + text.size();
    switch (form) {
        case NumberForm::shortest:
            return {first, std::to_chars(first, last, value).ptr};
        case NumberForm::general:
            return {first, std::to_chars(first, last, value, std::chars_format::general).ptr};
        case NumberForm::plain:
            return {first, std::to_chars(first, last, value, std::chars_format::fixed).ptr};
        case NumberForm::scientific:
            return {first, std::to_chars(first, last, value, std::chars_format::scientific).ptr};
    }
    return {};
}

std::from_chars_result readNumber(const char* first, const char* last, double& value) {
    return std::from_chars(first, last, value);
}

}  // namespace platform
