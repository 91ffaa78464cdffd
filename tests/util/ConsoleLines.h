#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/Console.h"

/// Keeps what is printed in its scope, and wakes a loop for each line.
class ConsoleLines {
 public:
    explicit ConsoleLines(platform::RunLoop& loop)
        : before_(platform::console::setSink([this, &loop](std::string_view line) {
              const std::lock_guard lock(mutex_);
              lines_.emplace_back(line);
              loop.submit([] {});
          })) {}
    ~ConsoleLines() { platform::console::setSink(before_); }

    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

 private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
    platform::console::Sink before_;
};
