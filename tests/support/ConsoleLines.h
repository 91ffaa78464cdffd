#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/Console.h"

/// Keeps the console's lines of a scope, from any thread, instead of printing them.
class ConsoleLines {
 public:
    /// Wakes a loop for each line, if there is one.
    explicit ConsoleLines(platform::RunLoop* loop = nullptr)
        : before_(platform::console::setSink([this, loop](std::string_view line) {
              const std::lock_guard lock(mutex_);
              lines_.emplace_back(line);
              if (loop) loop->submit([] {});
          })) {}
    ~ConsoleLines() { platform::console::setSink(std::move(before_)); }

    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }
    std::vector<std::string> take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }
    /// The same in one text, with a bar between two lines.
    std::string taken() {
        std::string text;
        for (const auto& line : take()) text += (text.empty() ? "" : "|") + line;
        return text;
    }

 private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
    platform::console::Sink before_;
};
