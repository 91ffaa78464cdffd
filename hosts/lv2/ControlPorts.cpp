#include "hosts/lv2/ControlPorts.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

namespace qov::hosts::lv2 {

bool ControlPorts::hasChanged(std::uint64_t address, float value) {
    const std::uint64_t bits = std::bit_cast<std::uint32_t>(value);
    const auto before = seen_[address].load(std::memory_order_relaxed);
    if (before == bits) return false;
    seen_[address].store(bits, std::memory_order_relaxed);
    constexpr float writtenDown = 1e-5f;
    const auto old = std::bit_cast<float>(static_cast<std::uint32_t>(before));
    return !(before & restored) || !(std::abs(value - old) < writtenDown);
}

bool ControlPorts::isNew(std::uint64_t address, float value, std::uint32_t frames) {
    const std::uint64_t bits = std::bit_cast<std::uint32_t>(value);
    const std::uint32_t bit = 1u << address;
    auto hold = holds_[address].load(std::memory_order_acquire);
    if (hasChanged(address, value)) overruled_ |= bit;
    if (!hold) {
        const bool isOverruled = overruled_ & bit;
        overruled_ &= ~bit;
        return isOverruled;
    }
    if (hold & held)
        sinceRelease_[address] = 0;
    else
        sinceRelease_[address] += frames;
    const bool isEcho = bits == static_cast<std::uint32_t>(hold);
    if (hold & held || (!isEcho && sinceRelease_[address] < echoTime_)) return false;
    // If it fails, the control is held again.
    if (!holds_[address].compare_exchange_strong(hold, 0)) return false;
    sinceRelease_[address] = 0;
    // Also a port that has its value of before the hold: the host has undone the change while
    // nothing was processed.
    overruled_ &= ~bit;
    return !isEcho;
}

void ControlPorts::hold(std::uint64_t address) {
    holds_[address].fetch_or(held, std::memory_order_acq_rel);
}

void ControlPorts::wrote(std::uint64_t address, float port) {
    const auto hold = holds_[address].load(std::memory_order_relaxed) & held;
    holds_[address].store(hold | written | std::bit_cast<std::uint32_t>(port),
                          std::memory_order_release);
}

void ControlPorts::release(std::uint64_t address) {
    holds_[address].fetch_and(~std::uint64_t{held}, std::memory_order_acq_rel);
}

std::string ControlPorts::save() const {
    std::string text;
    for (const auto& seen : seen_) {
        const auto bits = seen.load(std::memory_order_relaxed);
        const auto value = std::bit_cast<float>(static_cast<std::uint32_t>(bits));
        std::array<char, 32> number{'-'};
        char* end = number.data() + 1;
        if (bits != unseen)
            end = std::to_chars(number.data(), number.data() + number.size(), value).ptr;
        if (!text.empty()) text += ' ';
        text.append(number.data(), end);
    }
    return text;
}

void ControlPorts::restore(std::string_view text) {
    for (auto& seen : seen_) {
        const auto word = text.substr(0, text.find(' '));
        const auto* const end = word.data() + word.size();
        float value = 0;
        const auto read = std::from_chars(word.data(), end, value);
        seen = read.ec == std::errc{} && read.ptr == end
                   ? restored | std::bit_cast<std::uint32_t>(value)
                   : unseen;
        text.remove_prefix(std::min(word.size() + 1, text.size()));
    }
}

}  // namespace qov::hosts::lv2
