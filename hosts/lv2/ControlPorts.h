#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

#include "hosts/lv2/Ports.h"

namespace qov::hosts::lv2 {

/// Turns the host's control ports into changes of parameters. A port sets its parameter when the
/// port's value changes; until then a message, a saved state or the editor may set it otherwise.
///
/// The editor's changes take effect at once and come back through the port later, one by one. While
/// a person holds a control, and until the host has echoed the last value (a quarter of a second at
/// most), its port sets nothing.
class ControlPorts {
 public:
    explicit ControlPorts(double sampleRate)
        : echoTime_(static_cast<std::int64_t>(sampleRate / 4)) {
        for (auto& port : seen_) port.store(unseen, std::memory_order_relaxed);
    }

    // Audio thread

    void connect(std::uint64_t address, const float* port) { ports_[address] = port; }

    /// Calls report(address, value of the parameter) for each port that sets its parameter now.
    /// `frames` is the length of the block that begins.
    template <class Report>
    void take(std::uint32_t frames, Report&& report) {
        if (isQuiet()) return;
        for (std::uint64_t address = 0; address < parameterCount; ++address)
            if (ports_[address] && isNew(address, *ports_[address], frames))
                report(address, parameterOfPort(address, *ports_[address]));
    }

    // The editor's thread

    void hold(std::uint64_t address);
    /// The port's value, as it was written to the host.
    void wrote(std::uint64_t address, float port);
    void release(std::uint64_t address);
    bool isHeld(std::uint64_t address) const {
        return holds_[address].load(std::memory_order_relaxed) & held;
    }

    // Saving, on any thread; restoring, while nothing is processed

    /// The latest values of the ports as text: a number a port, "-" for one that was not read yet.
    /// Numbers come back to the bit.
    std::string save() const;
    /// Continues from there: a port that still has its value sets nothing; one whose value is
    /// missing or malformed sets its parameter. A host may have saved a value in fewer digits.
    void restore(std::string_view text);

 private:
    // Of a parameter; the written value's bits below.
    enum : std::uint64_t {
        held = std::uint64_t{1} << 32,     // by a person
        written = std::uint64_t{1} << 33,  // and the host has not echoed the value yet
    };
    // The latest value of a port; its bits below.
    static constexpr std::uint64_t unseen = ~std::uint64_t{0};
    static constexpr std::uint64_t restored = std::uint64_t{1} << 32;  // in another run than this

    /// In most blocks no port has changed, and no control is held.
    bool isQuiet() const {
        std::uint64_t changes = overruled_;
        for (std::size_t address = 0; address < parameterCount; ++address) {
            changes |= holds_[address].load(std::memory_order_relaxed);
            if (const float* port = ports_[address])
                changes |= seen_[address].load(std::memory_order_relaxed) ^
                           std::bit_cast<std::uint32_t>(*port);
        }
        return changes == 0;
    }
    bool isNew(std::uint64_t address, float value, std::uint32_t frames);
    bool hasChanged(std::uint64_t address, float value);

    const std::int64_t echoTime_;  // frames
    std::array<const float*, parameterCount> ports_{};
    std::array<std::atomic<std::uint64_t>, parameterCount> seen_{};
    std::array<std::atomic<std::uint64_t>, parameterCount> holds_{};
    std::array<std::int64_t, parameterCount> sinceRelease_{};  // frames
    std::uint32_t overruled_ = 0;                              // bit a: changed while it was held
};

}  // namespace qov::hosts::lv2
