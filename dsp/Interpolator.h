#pragma once

#include <cstdint>

#include "dsp/Interpolator2.h"

namespace qov {

struct Interpolator;

/// Called when a ramp reaches its destination; null for no call.
struct InterpolatorEvent {
    void (*event)(void* callee, Interpolator* interpolator, std::int32_t) = nullptr;
    void* callee = nullptr;
};

/// Smooths a parameter: each new target is reached in sixteen equal steps, one a tick.
/// In the declared order of the fields the event is first.
struct Interpolator : InterpolatorEvent, Interpolator2 {
    /// Starts a ramp from the current value; a target within 1e-6 is taken at once.
    void setTarget(float value);
    float tick() {
        if (advance() && event) event(callee, this, 0);
        return currentValue;
    }
    /// setTarget() and tick(), at once where the value stands there already.
    float follow(float value) {
        if (destinationValue == value && increase == 0 && delay < 1) return currentValue;
        setTarget(value);
        return tick();
    }
    /// Sets the value without a ramp, as after construction.
    void rest(float value);
};

}  // namespace qov
