#pragma once

#include <cstdint>

namespace qov {

/// Smooths a parameter: each new target is reached in sixteen equal steps, one a tick.
struct Interpolator {
    /// Starts a ramp from where the value stands; a target within 1e-6 is taken at once.
    void setTarget(float value);
    float tick();
    /// At rest at a value, as after construction.
    void rest(float value);

    /// Called when a ramp reaches its destination.
    void (*event)(void* callee, Interpolator* interpolator, std::int32_t) = nullptr;
    void* callee = nullptr;
    float destinationValue = 0;
    float currentValue = 0;
    float increase = 0;       ///< added per tick; 0 at rest
    std::int64_t time = 512;  ///< length of the ramp in ticks
    std::int64_t delay = 0;   ///< ticks to wait before the first step
};

}  // namespace qov
