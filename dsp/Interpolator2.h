#pragma once

#include <cstdint>

namespace qov {

/// A value on a linear ramp to its destination, one step a tick.
struct Interpolator2 {
    float tick();
    /// The same; true on the tick that reaches the destination.
    bool advance();

    float destinationValue = 0;
    float currentValue = 0;
    float increase = 0;       ///< added per tick; 0 at rest
    std::int64_t time = 512;  ///< length of the ramp in ticks
    std::int64_t delay = 0;   ///< ticks before the first step
};

}  // namespace qov
