#include "hosts/cli/Progress.h"

#include <algorithm>
#include <cstddef>

#include <fmt/format.h>

namespace qov::cli {
namespace {

constexpr int barWidth = 30;

}  // namespace

std::string minutesAndSeconds(std::int64_t seconds) {
    if (seconds < 3600) return fmt::format("{}:{:02}", seconds / 60, seconds % 60);
    return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

std::string progressLine(std::int64_t done, std::optional<std::int64_t> total, int rate,
                         std::chrono::duration<double> elapsed) {
    const double speed = static_cast<double>(done) / rate / std::max(elapsed.count(), 1e-9);
    const auto time = minutesAndSeconds(done / rate);
    if (!total || *total <= 0) return fmt::format("{}  {:.0f}x", time, speed);
    const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(*total));
    const auto filled = static_cast<std::size_t>(part * barWidth);
    return fmt::format("{:3.0f} %  [{:<{}}]  {} of {}  {:.0f}x", part * 100,
                       std::string(filled, '#'), barWidth, time, minutesAndSeconds(*total / rate),
                       speed);
}

Progress::Progress(bool isShown, std::optional<std::int64_t> total, int rate)
    : total_(total), rate_(rate), line_(isShown) {}

void Progress::advance(std::int64_t frames) {
    done_ += frames;
    if (line_.isDue()) line_.show(progressLine(done_, total_, rate_, line_.elapsed()));
}

}  // namespace qov::cli
