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
    for (const auto& event : events)
        instance.add(static_cast<std::uint32_t>(event.head.eventSampleTime), event);
    instance.end();
}

}  // namespace qov::test
