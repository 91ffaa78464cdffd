#include "animation/AnimatorStack.h"

#include <algorithm>
#include <utility>

#include "animation/Animator.h"
#include "animation/call.h"
#include "platform/foundation/Timer.h"
#include "platform/foundation/fatalError.h"

namespace qov {

std::shared_ptr<AnimatorStack> AnimatorStack::init() {
    return std::shared_ptr<AnimatorStack>(new AnimatorStack);
}

void AnimatorStack::add(std::shared_ptr<Animator> item) {
    while (_animators.size() >= kLimit) _animators.erase(_animators.begin());
    if (item) _animators.push_back(std::move(item));
}

std::int64_t AnimatorStack::getCount() const {
    return static_cast<std::int64_t>(_animators.size());
}

std::vector<std::shared_ptr<Animator>> AnimatorStack::getItems() const {
    return _animators;
}

void AnimatorStack::start() {
    _timer = platform::Timer::scheduledTimer(
        double{interval}, true, [self = shared_from_this()](platform::Timer&) { self->animate(); });
}

void AnimatorStack::stop() {
    reset();
}

void AnimatorStack::reset() {
    if (_timer) {
        _timer->invalidate();
        _timer = nullptr;
    }
    _animators.clear();
}

bool AnimatorStack::animate() {
    const auto self = shared_from_this();  // a callback may release it
    const auto snapshot = _animators;
    bool animated = false;
    for (const auto& animator : snapshot) animated |= takeFrame(animator);
    if (animated) return true;
    if (onFinished) {
        call(onFinished, *this);
        reset();
    }
    return false;
}

bool AnimatorStack::takeFrame(const std::shared_ptr<Animator>& animator) {
    if (animator->isFinished()) return false;
    call(onAnimation, *this, *animator);
    animator->animate();
    if (animator->isFinished()) {
        remove(animator);
        call(onRemovedItem, *this, *animator);
    }
    return true;
}

void AnimatorStack::remove(const std::shared_ptr<Animator>& animator) {
    const auto found = std::ranges::find(_animators, animator);
    if (found == _animators.end())
        platform::fatalError("AnimatorStack: a finished animator is not in the list");
    _animators.erase(found);
}

}  // namespace qov
