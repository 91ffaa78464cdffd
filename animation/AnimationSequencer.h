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

/// The state of animators placed on a common line of frames. A record: the sequencing code owns the
/// behaviour.
class AnimationSequencer {
 public:
    static std::shared_ptr<AnimationSequencer> init() {
        return std::make_shared<AnimationSequencer>();
    }

    std::shared_ptr<platform::Timer> _timer;
    std::int64_t _currentFrame = 0;
    std::int64_t _maxFrames = 0;
    std::vector<std::shared_ptr<Animator>> _animators;
    std::vector<std::shared_ptr<Animator>> _animatedItems;
    std::int64_t _currentIndex = 0;
    bool _suspended = false;
    float interval = 0.005f;  ///< seconds
    std::function<void(AnimationSequencer&, Animator&)> onAnimation;
    std::function<void(AnimationSequencer&)> onFinished;
};

}  // namespace qov
