#pragma once

#include <cstdint>
#include <vector>

#include "platform/audiotoolbox/AURenderEvent.h"

namespace qov::test {

inline platform::AURenderEvent parameterEvent(std::int64_t time, std::uint64_t address,
                                              float value) {
    platform::AURenderEvent event{};
    event.parameter = {nullptr, time, platform::AURenderEventParameter, {}, 0, address, value};
    return event;
}

inline platform::AURenderEvent midiEvent(std::int64_t time, std::uint8_t status,
                                         std::uint8_t number, std::uint8_t value,
                                         std::uint16_t length = 3) {
    platform::AURenderEvent event{};
    event.MIDI = {nullptr, time, platform::AURenderEventMIDI, 0,
                  length,  0,    {status, number, value}};
    return event;
}

inline bool isMidi(const platform::AURenderEvent& event) {
    return event.head.eventType == platform::AURenderEventMIDI;
}

/// Links events in their order; the head, or null for none.
inline platform::AURenderEvent* linked(std::vector<platform::AURenderEvent>& events) {
    for (std::size_t i = 0; i < events.size(); ++i)
        events[i].head.next = i + 1 < events.size() ? &events[i + 1] : nullptr;
    return events.empty() ? nullptr : events.data();
}

}  // namespace qov::test
