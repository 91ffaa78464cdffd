#pragma once

#include <atomic>
#include <cstdint>

namespace qov {

/// Excludes a reset by one thread and a segment rendered by another from each other, without
/// blocking. A reset requested during a segment, or during another reset, is pending: the thread
/// that renders or resets performs it at its end. So no request is lost, the requesting thread
/// returns at once, and the rest of that segment is rendered as before the reset.
class RenderGate {
 public:
    /// Calls render(), then reset() if one is pending. False, with nothing called, while another
    /// thread resets: the segment must not use the guarded state.
    template <class Render, class Reset>
    bool render(Render&& render, Reset&& reset) {
        std::uint32_t state = idle;
        if (!state_.compare_exchange_strong(state, rendering, std::memory_order_acquire,
                                            std::memory_order_relaxed))
            return false;
        render();
        if (!leave(rendering)) resetUntilIdle(reset);
        return true;
    }

    /// Calls reset(), or makes it pending while another thread renders or resets.
    template <class Reset>
    void reset(Reset&& reset) {
        std::uint32_t state = idle;
        while (!state_.compare_exchange_weak(state, state == idle ? resetting : state | asked,
                                             std::memory_order_acq_rel)) {
        }
        if (state == idle) resetUntilIdle(reset);
    }

 private:
    enum : std::uint32_t { idle = 0, rendering = 1, resetting = 2, asked = 4 };

    template <class Reset>
    void resetUntilIdle(Reset&& reset) {
        do {
            reset();
        } while (!leave(resetting));
    }

    /// Enters idle; with a pending reset, enters `resetting` instead and returns false.
    bool leave(std::uint32_t from) {
        if (state_.compare_exchange_strong(from, idle, std::memory_order_acq_rel)) return true;
        state_.store(resetting, std::memory_order_relaxed);  // only `asked` can have come in
        return false;
    }

    std::atomic<std::uint32_t> state_{idle};
};

}  // namespace qov
