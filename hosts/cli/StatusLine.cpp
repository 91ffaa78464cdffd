#include "hosts/cli/StatusLine.h"

#include <cstdio>

namespace qov::cli {
namespace {

using namespace std::chrono_literals;

constexpr auto firstAfter = 400ms;
constexpr auto period = 100ms;
constexpr auto eraseLine = "\r\033[K";

}  // namespace

StatusLine::StatusLine(bool isShown) : isShown_(isShown), next_(start_ + firstAfter) {}

bool StatusLine::isDue() {
    if (!isShown_) return false;
    const auto now = Clock::now();
    if (now < next_) return false;
    next_ = now + period;
    return true;
}

void StatusLine::show(const std::string& text) {
    isOnScreen_ = true;
    std::fprintf(stderr, "%s%s", eraseLine, text.c_str());
    std::fflush(stderr);
}

void StatusLine::clear() {
    if (isOnScreen_) std::fputs(eraseLine, stderr);
    isOnScreen_ = false;
}

}  // namespace qov::cli
