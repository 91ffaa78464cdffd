#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace platform {
class Timer;
}

namespace qov {

/// The state of a value that decays after an impulse, between two limits. Data only; it has no
/// behaviour.
class Impulse {
 public:
    static std::shared_ptr<Impulse> init() { return std::make_shared<Impulse>(); }

    std::shared_ptr<platform::Timer> _timer;
    std::int64_t _frames = -1;  ///< -1 is at rest
    std::int64_t _step = 0;
    float _amount = 0;
    float _value = 0;
    float _source = 0;
    float _intensity = 0.75f;
    float _threshold = 0.001f;
    float _interval = 0.009f;  ///< seconds
    float _minVal = -1024;
    float _maxVal = 1024;
    bool _collision = false;
    std::function<void(Impulse&)> onAnimation;
    std::function<void(Impulse&)> onFinished;
    std::function<void(Impulse&)> onCollision;
};

}  // namespace qov
