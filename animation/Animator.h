#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "animation/Easing.h"

namespace platform {
class Timer;
}

namespace qov {

/// Moves one number from a source to a destination along an easing curve, a frame a call of
/// animate(); start() has a timer of the current run loop make that call.
///
/// A run of n frames takes n + 1 calls: n that report the value so far and compute the next, and
/// one that settles on the destination and finishes, or turns round if the animator is looped.
///
/// Callbacks run inside animate() and may call anything on the animator, dispose() included. A
/// frame whose onAnimation stops or re-arms the animator is still taken, with the numbers it finds
/// then.
///
/// Ownership. The bound curve holds its animator, as does the timer while it runs: an animator
/// lives on after its owner's last pointer until dispose() is called, which is the owner's to do.
/// AnimatorOwner does it at the end of a scope.
///
/// One thread, the one whose run loop holds the timer.
class Animator : public std::enable_shared_from_this<Animator> {
 public:
    using Action = std::function<float(std::int64_t t, float b, float c, std::int64_t d)>;

    /// Finished, on the linear curve, with an interval of 0.005 s.
    static std::shared_ptr<Animator> init();
    /// init() and setup().
    static std::shared_ptr<Animator> init(float sourceValue, float destinationValue,
                                          std::int64_t frames, float interval, EnumEasing type);
    ~Animator();
    Animator(const Animator&) = delete;
    Animator& operator=(const Animator&) = delete;

    /// Arms a run from its first frame; a timer is neither started nor stopped. Negative frames
    /// count as 0, and so does any number where source and destination are equal: such a run
    /// finishes on the next call of animate(). The interval is in seconds and that of the next
    /// start().
    void setup(float source, float destination, std::int64_t frames, float interval,
               EnumEasing type);
    /// Arms the way back with the frames of the run; a finished one has none left to take.
    void reverse();
    /// Ends the run at once: reports the source, then settles on the destination.
    void undo();
    /// Arms the run again as it was set up, but linear and at 0.009 s.
    void rewind();

    float getSourceValue() const { return _source; }
    float getValue() const { return _value; }

    /// One frame; nothing where the animator is finished.
    void animate();
    /// Finished or never armed.
    bool isFinished() const { return _frames < 0; }

    /// Schedules a repeating timer on the current run loop. A second call leaves the first timer
    /// running, for good: each of them takes a frame in its period.
    void start();
    /// Drops the timer of the last start(), finishes without a callback and clears looped.
    void stop();

    /// Another curve from the next frame on; the run keeps its place.
    void setType(EnumEasing type);
    /// Seconds between two frames from the next start() on; a running timer keeps its period.
    void setInterval(float interval);

    /// stop(), then releases the curve and the callbacks, so that nothing but outside owners (and
    /// timers that a second start() left behind) holds the animator. setup() makes it usable again.
    void dispose();

    /// Animators alive in this process.
    static std::int64_t animatorInstanceCount();

 private:
    Animator();
    void selectAction();
    void takeFrame();
    void settle();
    void dropTimer();

    [[maybe_unused]] std::int64_t _startFrame = 0;  // reserved
    std::int64_t _frameCount = 0;                   // as given to setup(), before any clamping
    std::shared_ptr<platform::Timer> _timer;
    float _source = 0;
    float _value = 0;
    float _destination = 0;
    float _amount = 0;          // destination - source
    std::int64_t _frames = -1;  // of the run; -1 is finished
    std::int64_t _step = 0;     // frames taken
    float _interval = 0.005f;   // seconds
    Action _action;             // holds this animator
    EnumEasing _type = EnumEasing::EASING_easeNone;

 public:
    /// Turn round at the end of a run instead of finishing.
    bool looped = false;
    /// Before each frame, with the value before it.
    std::function<void(Animator&, float value)> onAnimation;
    /// Once at the end of a run, with the final value.
    std::function<void(Animator&, float value)> onFinished;
    /// Each time a looped run is about to turn round.
    std::function<void(Animator&)> onLoop;
};

/// Disposes of an animator at the end of a scope, or with the object whose member it is.
class AnimatorOwner {
 public:
    explicit AnimatorOwner(std::shared_ptr<Animator> animator) : animator_(std::move(animator)) {}
    ~AnimatorOwner() {
        if (animator_) animator_->dispose();
    }
    AnimatorOwner(const AnimatorOwner&) = delete;
    AnimatorOwner& operator=(const AnimatorOwner&) = delete;

    Animator* operator->() const { return animator_.get(); }
    const std::shared_ptr<Animator>& get() const { return animator_; }

 private:
    std::shared_ptr<Animator> animator_;
};

}  // namespace qov
