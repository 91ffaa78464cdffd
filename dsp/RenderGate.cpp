#include "dsp/RenderGate.h"

namespace qov {

bool RenderGate::beginSegment() {
    std::uint32_t expected = idle;
    return state_.compare_exchange_strong(expected, rendering, std::memory_order_acquire,
                                          std::memory_order_relaxed);
}

bool RenderGate::endSegment() {
    return leave(rendering);
}

bool RenderGate::endReset() {
    return leave(resetting);
}

bool RenderGate::leave(std::uint32_t from) {
    if (state_.compare_exchange_strong(from, idle, std::memory_order_acq_rel)) return false;
    // Only `asked` can have come in; it is met from here.
    state_.store(resetting, std::memory_order_relaxed);
    return true;
}

bool RenderGate::beginReset() {
    std::uint32_t state = idle;
    while (!state_.compare_exchange_weak(state, state == idle ? resetting : state | asked,
                                         std::memory_order_acq_rel)) {
    }
    return state == idle;
}

}  // namespace qov
