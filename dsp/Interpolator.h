#pragma once

#include <cstdint>

#include "dsp/Interpolator2.h"

namespace qov {

/// Smooths a parameter: each new target is reached in sixteen equal steps, one a tick.
struct Interpolator : Interpolator2 {
    /// Starts a ramp from where the value stands; a target within 1e-6 is taken at once.
    void setTarget(float value);
    float tick();
    /// At rest at a value, as after construction.
    void rest(float value);

    /// Called when a ramp reaches its destination.
    void (*event)(void* callee, Interpolator* interpolator, std::int32_t) = nullptr;
    void* callee = nullptr;
};

}  // namespace qov
