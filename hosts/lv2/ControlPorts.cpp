#include "hosts/lv2/ControlPorts.h"

#include <cmath>

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
    auto hand = hands_[address].load(std::memory_order_acquire);
    if (hasChanged(address, value)) overruled_ |= bit;
    if (!hand) {
        const bool isOverruled = overruled_ & bit;
        overruled_ &= ~bit;
        return isOverruled;
    }
    if (hand & held)
        sinceRelease_[address] = 0;
    else
        sinceRelease_[address] += frames;
    const bool isEcho = bits == static_cast<std::uint32_t>(hand);
    if (hand & held || (!isEcho && sinceRelease_[address] < echoTime_)) return false;
    // If it fails, a hand has come back.
    if (!hands_[address].compare_exchange_strong(hand, 0)) return false;
    sinceRelease_[address] = 0;
    // Also where the port stands as it stood before the hand came: a change that the host has taken
    // back while nothing was processed.
    overruled_ &= ~bit;
    return !isEcho;
}

void ControlPorts::hold(std::uint64_t address) {
    hands_[address].fetch_or(held, std::memory_order_acq_rel);
}

void ControlPorts::wrote(std::uint64_t address, float port) {
    const auto hand = hands_[address].load(std::memory_order_relaxed) & held;
    hands_[address].store(hand | written | std::bit_cast<std::uint32_t>(port),
                          std::memory_order_release);
}

void ControlPorts::release(std::uint64_t address) {
    hands_[address].fetch_and(~std::uint64_t{held}, std::memory_order_acq_rel);
}

ControlPorts::Values ControlPorts::seen() const {
    Values values;
    for (std::size_t address = 0; address < values.size(); ++address)
        if (const auto bits = seen_[address].load(std::memory_order_relaxed); bits != unseen)
            values[address] = std::bit_cast<float>(static_cast<std::uint32_t>(bits));
    return values;
}

void ControlPorts::setSeen(const Values& values) {
    for (std::size_t address = 0; address < values.size(); ++address) {
        seen_[address] =
            values[address] ? restored | std::bit_cast<std::uint32_t>(*values[address]) : unseen;
    }
}

}  // namespace qov::hosts::lv2
