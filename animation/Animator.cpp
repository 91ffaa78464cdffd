#include "animation/Animator.h"

#include <atomic>
#include <limits>

#include "animation/call.h"
#include "platform/foundation/Timer.h"
#include "platform/foundation/fatalError.h"

namespace qov {
namespace {

constexpr float kReplayInterval = 0.009f;  // seconds; of undo and rewind

// Animators of several run loops share it.
std::atomic<std::int64_t> instanceCount = 0;

void countInstance(std::int64_t change) {
    const std::int64_t before = instanceCount.fetch_add(change);
    std::int64_t after = 0;
    if (__builtin_add_overflow(before, change, &after))
        platform::fatalError("Animator: the instance count overflows");
}

}  // namespace

std::shared_ptr<Animator> Animator::init() {
    std::shared_ptr<Animator> animator(new Animator);
    animator->selectAction();
    return animator;
}

std::shared_ptr<Animator> Animator::init(float sourceValue, float destinationValue,
                                         std::int64_t frames, float interval, EnumEasing type) {
    auto animator = init();
    animator->setup(sourceValue, destinationValue, frames, interval, type);
    return animator;
}

Animator::Animator() {
    countInstance(1);
}

Animator::~Animator() {
    countInstance(-1);
}

void Animator::setup(float source, float destination, std::int64_t frames, float interval,
                     EnumEasing type) {
    _source = source;
    _destination = destination;
    _value = source;
    _amount = destination - source;
    _frames = frames;
    _frameCount = frames;
    _step = 0;
    _interval = interval;
    _type = type;
    selectAction();
    if (_frames < 0) _frames = 0;
    if (_amount == 0) _frames = 0;
}

void Animator::reverse() {
    setup(_destination, _source, _frames, _interval, _type);
}

void Animator::undo() {
    const auto self = shared_from_this();
    _frames = 1;
    _step = 0;
    setup(_source, _destination, 1, kReplayInterval, EnumEasing::EASING_easeNone);
    animate();
    animate();
}

void Animator::rewind() {
    setup(_source, _destination, _frameCount, kReplayInterval, EnumEasing::EASING_easeNone);
}

void Animator::animate() {
    if (_frames < 0) return;
    const auto self = shared_from_this();  // a callback may dispose of it
    if (_step < _frames)
        takeFrame();
    else
        settle();
}

void Animator::takeFrame() {
    call(onAnimation, *this, _value);
    if (!_action && isFinished()) return;  // the callback has disposed of it
    if (_step == std::numeric_limits<std::int64_t>::max())
        platform::fatalError("Animator: the step overflows");
    _step += 1;
    if (!_action) platform::fatalError("Animator: there is no curve to animate along");
    _value = _action(_step, _source, _amount, _frames);
}

void Animator::settle() {
    _value = _destination;
    if (looped) {
        call(onLoop, *this);
        if (_action) reverse();  // it is missing if the callback has disposed of it
        return;
    }
    dropTimer();
    _step = 0;
    _frames = -1;
    looped = false;
    call(onFinished, *this, _value);
}

void Animator::start() {
    _timer = platform::Timer::scheduledTimer(
        double{_interval}, true,
        [self = shared_from_this()](platform::Timer&) { self->animate(); });
}

void Animator::stop() {
    dropTimer();
    _step = 0;
    _frames = -1;
    looped = false;
}

void Animator::setType(EnumEasing type) {
    _type = type;
    selectAction();
}

void Animator::setInterval(float interval) {
    _interval = interval;
}

void Animator::dispose() {
    const auto self = weak_from_this().lock();
    stop();
    _action = nullptr;
    onAnimation = nullptr;
    onFinished = nullptr;
    onLoop = nullptr;
}

std::int64_t Animator::animatorInstanceCount() {
    return instanceCount.load();
}

void Animator::selectAction() {
    _action = [self = shared_from_this(), curve = easingFunction(_type)](
                  std::int64_t t, float b, float c, std::int64_t d) { return curve(t, b, c, d); };
}

void Animator::dropTimer() {
    if (!_timer) return;
    _timer->invalidate();
    _timer = nullptr;
}

}  // namespace qov
