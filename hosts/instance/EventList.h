#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "hosts/instance/HostEvent.h"
#include "platform/audiotoolbox/AURenderEvent.h"

namespace qov::hosts {

/// What an event means to the kernel: a parameter and a value in 0..1.
struct Setting {
    std::uint64_t address;
    float value;
};

/// The parameter that an event sets, if it does: NaN, unknown addresses, and MIDI messages other
/// than the controllers 7, 10 and 11 set none. Values outside 0..1 are clamped.
std::optional<Setting> settingOf(const HostEvent& event);

/// Whether an event is a MIDI message that reaches the kernel: of 1 to 3 bytes, a control change of
/// 3. Each starts a new segment, whatever it means.
bool isWholeMidi(const HostEvent& event);

/// The render events of one cycle, from a host's events of a whole block, in storage of its own.
class EventList {
 public:
    /// Takes the events that set a parameter and all whole MIDI messages that belong into [begin,
    /// end) of a block of `frames` frames, by time, those of one frame in the host's order; events
    /// behind the block's end count as at its last frame. Times become those of a clock that reads
    /// startTime at `begin`. Returns the end of the cycle: `end`, or an earlier frame if there are
    /// more events than fit; those of a single frame always fit. Allocates nothing.
    std::uint32_t collect(std::span<const HostEvent> events, std::uint32_t frames,
                          std::uint32_t begin, std::uint32_t end, std::int64_t startTime) {
        clear();
        return events.empty() ? end : collectSome(events, frames, begin, end, startTime);
    }

    /// Null when there is none. Valid until the next collect.
    const platform::AURenderEvent* head() const { return count_ ? &events_[order(0)] : nullptr; }

    /// Bit a for each address a that the cycle sets.
    std::uint32_t addresses() const { return addresses_; }

 private:
    static constexpr std::size_t capacity = 1024;

    void clear() {
        count_ = 0;
        addresses_ = 0;
    }
    std::uint32_t collectSome(std::span<const HostEvent> events, std::uint32_t frames,
                              std::uint32_t begin, std::uint32_t end, std::int64_t startTime);
    bool gather(std::span<const HostEvent> events, std::uint32_t frames, std::uint32_t begin,
                std::uint32_t end, std::int64_t startTime);
    void gatherFrame(std::span<const HostEvent> events, std::uint32_t frames, std::uint32_t frame,
                     std::int64_t startTime);
    void add(std::uint32_t frameInCycle, std::int64_t startTime, Setting setting);
    void addMidi(std::uint32_t frameInCycle, std::int64_t startTime, const HostEvent& event);
    void append(std::uint32_t frameInCycle);
    void link();
    std::size_t order(std::size_t rank) const { return keys_[rank] & 0xffffffff; }

    std::vector<platform::AURenderEvent> events_{capacity};
    std::vector<std::uint64_t> keys_ = std::vector<std::uint64_t>(capacity);  // frame, then index
    std::size_t count_ = 0;
    std::uint32_t addresses_ = 0;
};

}  // namespace qov::hosts
