#pragma once

#include <span>

#include "hosts/instance/Instance.h"
#include "tests/support/renderEvents.h"

namespace qov::test {

/// One block with its events, whose times are frames of the block.
inline void playBlock(hosts::Instance& instance, const float* const (&input)[2],
                      float* const (&output)[2], std::uint32_t frames,
                      std::span<const platform::AURenderEvent> events) {
    instance.begin(input, output, frames);
    for (const auto& event : events) {
        const auto frame = static_cast<std::uint32_t>(event.head.eventSampleTime);
        if (isMidi(event))
            instance.midi(frame, std::span(event.MIDI.data).first(event.MIDI.length));
        else
            instance.set(frame, event.parameter.parameterAddress, event.parameter.value);
    }
    instance.end();
}

}  // namespace qov::test
