#pragma once

#include <cstdint>

namespace qov {

/// A value on a linear ramp to its destination, one step a tick.
struct Interpolator2 {
    float tick() {
        advance();
        return currentValue;
    }

    /// The same; true on the tick that reaches the destination.
    bool advance() {
        if (delay >= 1) {
            --delay;
            return false;
        }
        if (increase == 0) return false;
        currentValue += increase;
        const bool isThere =
            increase > 0 ? currentValue >= destinationValue : currentValue <= destinationValue;
        if (isThere) {
            currentValue = destinationValue;
            increase = 0;
        }
        return isThere;
    }

    float destinationValue = 0;
    float currentValue = 0;
    float increase = 0;       ///< added per tick; 0 at rest
    std::int64_t time = 512;  ///< length of the ramp in ticks
    std::int64_t delay = 0;   ///< ticks before the first step
};

}  // namespace qov
