#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/foundation/Console.h"

/// Catches the console's lines for the length of a test.
class CapturedLines {
 public:
    CapturedLines()
        : before_(platform::console::setSink(
              [this](std::string_view line) { lines_.emplace_back(line); })) {}
    ~CapturedLines() { platform::console::setSink(before_); }
    CapturedLines(const CapturedLines&) = delete;
    CapturedLines& operator=(const CapturedLines&) = delete;

    std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
    std::vector<std::string> lines_;
    platform::console::Sink before_;
};
