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

/// The state of animators that run one after the other. Data only; it has no behaviour.
class AnimatorChain {
 public:
    static std::shared_ptr<AnimatorChain> init() { return std::make_shared<AnimatorChain>(); }

    std::shared_ptr<platform::Timer> _timer;
    std::vector<std::shared_ptr<Animator>> _animators;
    std::int64_t _currentIndex = 0;
    std::int64_t _direction = 1;
    float interval = 0.005f;  ///< seconds
    bool async = false;
    std::function<void(AnimatorChain&, Animator&)> onAnimation;
    std::function<void(AnimatorChain&)> onFinished;
};

}  // namespace qov
