#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace platform {
class Timer;
}

namespace qov {

class Animator;

/// Drives up to eleven animators from one timer: a tick takes a frame of each, drops those that
/// have settled and reports when there is nothing left to animate.
///
/// Callbacks run inside animate(). They may add, reset and replace; but a tick on which an animator
/// finishes must still find it in the list, so whoever calls reset() from a callback does so on a
/// tick that finishes none after it. An animator that is missing then is a fatal error.
///
/// One thread, the one whose run loop holds the timer.
class AnimatorStack : public std::enable_shared_from_this<AnimatorStack> {
 public:
    static constexpr std::size_t kLimit = 11;

    static std::shared_ptr<AnimatorStack> init();

    /// Drops the oldest until ten are left, then appends the item, if there is one. What is dropped
    /// is neither stopped nor reported. An animator added twice takes two frames a tick.
    void add(std::shared_ptr<Animator> item);
    std::int64_t getCount() const;
    /// A copy, oldest first.
    std::vector<std::shared_ptr<Animator>> getItems() const;

    /// Schedules a repeating timer on the current run loop, which holds the stack until it is
    /// invalidated. A second call leaves the first timer running, for good.
    void start();
    /// The same as reset().
    void stop();
    /// Drops the timer and empties the list; the animators are not stopped and nothing is reported.
    void reset();

    /// One tick; false where there was nothing to animate. Animators that are finished before it
    /// stay in the list and do not count. Only a stack with onFinished resets itself then.
    bool animate();

 private:
    AnimatorStack() = default;
    bool takeFrame(const std::shared_ptr<Animator>& animator);
    void remove(const std::shared_ptr<Animator>& animator);

    std::shared_ptr<platform::Timer> _timer;
    std::vector<std::shared_ptr<Animator>> _animators;

 public:
    /// Seconds between ticks, from the next start() on.
    float interval = 0.005f;
    /// Before an animator takes its frame.
    std::function<void(AnimatorStack&, Animator&)> onAnimation;
    /// When a tick finds nothing to animate.
    std::function<void(AnimatorStack&)> onFinished;
    /// After a settled animator has left the list.
    std::function<void(AnimatorStack&, Animator&)> onRemovedItem;
};

}  // namespace qov
