#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstdint>
#include <optional>

#include "hosts/lv2/Ports.h"

namespace qov::hosts::lv2 {

/// What the host's control ports mean to the effect. A port speaks when its value changes; while it
/// stands still, whatever else set the parameter (a message, a saved state, the editor) holds.
///
/// The editor's changes are in effect at once and come back through the port a while later, one by
/// one. So a person's hand has precedence: as long as it holds a parameter, and until the host has
/// echoed the last value (a quarter of a second at most), the port is not obeyed.
class ControlPorts {
 public:
    using Values = std::array<std::optional<float>, parameterCount>;

    explicit ControlPorts(double sampleRate)
        : patience_(static_cast<std::int64_t>(sampleRate / 4)) {
        for (auto& port : heard_) port.store(unheard, std::memory_order_relaxed);
    }

    // Audio thread

    void connect(std::uint64_t address, const float* port) { ports_[address] = port; }

    /// Calls report(address, value of the parameter) for each port that has something new to say.
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
        return hands_[address].load(std::memory_order_relaxed) & held;
    }

    // Saving, on any thread; restoring, while nothing is processed

    /// The ports' values that the effect has heard; nothing of a port that was not heard yet.
    Values heard() const;
    /// Continues from there: a port that still has this value keeps silent, one that was not heard
    /// speaks. A host may have written the value down in fewer digits than it has.
    void setHeard(const Values& values);

 private:
    // Of a parameter; the written value's bits below.
    enum : std::uint64_t {
        held = std::uint64_t{1} << 32,     // by a person
        written = std::uint64_t{1} << 33,  // and the host has not echoed the value yet
    };
    // What a port said; the value's bits below.
    static constexpr std::uint64_t unheard = ~std::uint64_t{0};
    static constexpr std::uint64_t restored = std::uint64_t{1} << 32;  // in another run than this

    /// In most blocks no port has changed, and no hand is on any.
    bool isQuiet() const {
        std::uint64_t news = overruled_;
        for (std::size_t address = 0; address < parameterCount; ++address) {
            news |= hands_[address].load(std::memory_order_relaxed);
            if (const float* port = ports_[address])
                news |= heard_[address].load(std::memory_order_relaxed) ^
                        std::bit_cast<std::uint32_t>(*port);
        }
        return news == 0;
    }
    bool isNew(std::uint64_t address, float value, std::uint32_t frames);
    bool hasChanged(std::uint64_t address, float value);

    const std::int64_t patience_;  // frames
    std::array<const float*, parameterCount> ports_{};
    std::array<std::atomic<std::uint64_t>, parameterCount> heard_{};
    std::array<std::atomic<std::uint64_t>, parameterCount> hands_{};
    std::array<std::int64_t, parameterCount> waited_{};  // frames since the hand has gone
    std::uint32_t overruled_ = 0;                        // bit a: the port spoke meanwhile
};

}  // namespace qov::hosts::lv2
