#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace qov::cli {

/// " 42 %  [########            ]  4:12 of 10:00  812x": how far, and the speed as a multiple of
/// real time. Without a known end only the time and the speed.
std::string progressLine(std::int64_t done, std::optional<std::int64_t> total, int rate,
                         std::chrono::duration<double> elapsed);

/// The line on standard error while a long file renders; removed when it ends, however it ends.
class Progress {
 public:
    /// total: frames, where known. rate: frames per second.
    Progress(bool isShown, std::optional<std::int64_t> total, int rate);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void advance(std::int64_t frames);

 private:
    using Clock = std::chrono::steady_clock;

    const bool isShown_;
    const std::optional<std::int64_t> total_;
    const int rate_;
    const Clock::time_point start_ = Clock::now();
    Clock::time_point next_;
    std::int64_t done_ = 0;
    bool isOnScreen_ = false;
};

}  // namespace qov::cli
