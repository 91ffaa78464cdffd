#pragma once

#include <atomic>
#include <cstdint>

namespace qov {

/// Keeps a reset by one thread and a segment that another one renders apart; neither ever waits. A
/// reset that is asked for during a segment, or during another reset, is left to the thread that is
/// inside: it performs it when it comes out. So nothing is lost, the asking thread returns at once,
/// and the rest of that segment still sounds as before the reset.
class RenderGate {
 public:
    /// Calls render(), then reset() if one was asked for meanwhile. False, with nothing called,
    /// while another thread resets: the segment has to do without the guarded state.
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

    /// Calls reset(), or leaves that to the thread inside.
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

    /// To idle; or, where a reset was asked for, false: then the state is `resetting`.
    bool leave(std::uint32_t from) {
        if (state_.compare_exchange_strong(from, idle, std::memory_order_acq_rel)) return true;
        state_.store(resetting, std::memory_order_relaxed);  // only `asked` can have come in
        return false;
    }

    std::atomic<std::uint32_t> state_{idle};
};

}  // namespace qov
