#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "hosts/cli/StatusLine.h"

namespace qov::cli {

/// "4:12", "1:02:03".
std::string minutesAndSeconds(std::int64_t seconds);

/// " 42 %  [########            ]  4:12 of 10:00  812x": how far, and the speed as a multiple of
/// real time. Without a known end only the time and the speed.
std::string progressLine(std::int64_t done, std::optional<std::int64_t> total, int rate,
                         std::chrono::duration<double> elapsed);

/// The status line while a long file is worked on.
class Progress {
 public:
    /// total: frames, where known. rate: frames per second.
    Progress(bool isShown, std::optional<std::int64_t> total, int rate);
    void advance(std::int64_t frames);

 private:
    const std::optional<std::int64_t> total_;
    const int rate_;
    StatusLine line_;
    std::int64_t done_ = 0;
};

}  // namespace qov::cli
