#include "hosts/lv2/SavedPorts.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace qov::hosts::lv2 {

std::string encodePorts(const ControlPorts::Values& values) {
    std::string text;
    for (const auto& value : values) {
        std::array<char, 32> number{'-'};
        char* end = number.data() + 1;
        if (value) end = std::to_chars(number.data(), number.data() + number.size(), *value).ptr;
        if (!text.empty()) text += ' ';
        text.append(number.data(), end);
    }
    return text;
}

ControlPorts::Values decodePorts(std::string_view text) {
    ControlPorts::Values values;
    for (auto& value : values) {
        const auto word = text.substr(0, text.find(' '));
        float number = 0;
        const auto read = std::from_chars(word.data(), word.data() + word.size(), number);
        if (read.ec == std::errc{} && read.ptr == word.data() + word.size()) value = number;
        text.remove_prefix(std::min(word.size() + 1, text.size()));
    }
    return values;
}

}  // namespace qov::hosts::lv2
