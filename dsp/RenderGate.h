#pragma once

#include <atomic>

namespace qov {

/// Excludes a reset by one thread and a segment rendered by another from each other, without
/// blocking. A reset requested during a segment, or during another reset, is pending: the thread
/// that renders or resets performs it at its end. So no request is lost, the requesting thread
/// returns at once, and the rest of that segment is rendered as before the reset.
///
/// To render costs one locked instruction. A request that comes while the segment's end is being
/// stored may be missed there; the next call of render() or resetIfAsked() performs it.
class RenderGate {
 public:
    /// Calls render(), and reset() before or after it if one is pending. False, with nothing
    /// called, while another thread resets: the segment must not use the guarded state.
    template <class Render, class Reset>
    bool render(Render&& render, Reset&& reset) {
        if (!enter()) return false;
        if (isAsked_.load(std::memory_order_acquire) && isAsked_.exchange(false)) reset();
        render();
        isTaken_.store(false, std::memory_order_release);
        resetIfAsked(reset);
        return true;
    }

    /// Calls reset(), or makes it pending while another thread renders or resets.
    template <class Reset>
    void reset(Reset&& reset) {
        isAsked_ = true;
        resetIfAsked(reset);
    }

    /// Calls reset() if one is pending and no other thread renders or resets.
    template <class Reset>
    void resetIfAsked(Reset&& reset) {
        while (isAsked_.load(std::memory_order_acquire) && enter()) {
            if (isAsked_.exchange(false)) reset();
            isTaken_ = false;
        }
    }

 private:
    bool enter() { return !isTaken_.exchange(true, std::memory_order_acquire); }

    std::atomic<bool> isTaken_{false};
    std::atomic<bool> isAsked_{false};
};

}  // namespace qov
