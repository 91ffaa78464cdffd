#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace platform {

class RunLoop;

/// A timer on a run loop. The loop holds it, and so its block, until it is invalidated, has fired
/// without repeating, or the loop ends; letting go of the pointer does not stop it.
/// It belongs to the loop's thread.
class Timer {
 public:
    using Block = std::function<void(Timer&)>;

    /// Schedules a timer on the current run loop: first tick after one interval (seconds; 0.0001
    /// where it is not positive), later ticks on the grid of the first. Ticks that were missed are
    /// one late tick. The block runs on the thread that turns the loop.
    static std::shared_ptr<Timer> scheduledTimer(double interval, bool repeats, Block block);

    /// Stops it permanently and releases its block. May be called from the block. Idempotent.
    void invalidate();
    bool isValid() const;

 private:
    explicit Timer(bool repeats) : repeats_(repeats) {}

    bool repeats_;
    bool valid_ = true;
    std::uint64_t id_ = 0;
    std::weak_ptr<RunLoop> loop_;
};

}  // namespace platform
