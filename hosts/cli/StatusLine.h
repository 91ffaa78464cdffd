#pragma once

#include <chrono>
#include <string>

namespace qov::cli {

/// A line on standard error that is written over until the work ends, however it ends. Work that is
/// done after 0.4 s shows none.
class StatusLine {
 public:
    using Clock = std::chrono::steady_clock;

    /// isShown: false for none at all.
    explicit StatusLine(bool isShown);
    ~StatusLine() { clear(); }
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    /// Whether it is time for another text: every 0.1 s.
    bool isDue();
    /// Writes a text in place of the one before.
    void show(const std::string& text);
    /// Removes the line, so that others can be printed.
    void clear();
    /// Since it was made.
    std::chrono::duration<double> elapsed() const { return Clock::now() - start_; }

 private:
    const bool isShown_;
    const Clock::time_point start_ = Clock::now();
    Clock::time_point next_;
    bool isOnScreen_ = false;
};

}  // namespace qov::cli
