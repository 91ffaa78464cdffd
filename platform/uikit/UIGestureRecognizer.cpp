#include "platform/uikit/UIGestureRecognizer.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/uikit/GestureCenter.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIView.h"

namespace platform {

using State = UIGestureRecognizerState;

CGPoint centroid(const std::vector<std::shared_ptr<UITouch>>& touches, const UIView* in) {
    CGPoint sum;
    for (const auto& touch : touches) {
        const auto p = touch->location(in);
        sum.x += p.x;
        sum.y += p.y;
    }
    const auto count = static_cast<CGFloat>(touches.size());
    return {sum.x / count, sum.y / count};
}

CGFloat distance(CGPoint a, CGPoint b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

CGPoint UIGestureRecognizer::location(const UIView* in) const {
    return touches_.empty() ? CGPoint{} : centroid(touches_, in);
}

void UIGestureRecognizer::setEnabled(bool enabled) {
    enabled_ = enabled;
    if (enabled) return;
    if (isActive())
        cancel();
    else
        fail();
}

void UIGestureRecognizer::takeTouch(const std::shared_ptr<UITouch>& touch, GestureCenter& center) {
    setCenter(center);
    // A touch with which the gesture waited for has failed ends the wait, and begins anew here.
    if (const auto first = required_.lock(); waiting_ && first && first->state() == State::failed) {
        stopWaiting(true);
        reset();
    }
    if (!enabled_ || waiting_ || !(state_ == State::possible || isActive())) return;
    if (shouldReceive && !shouldReceive(*touch)) {
        if (deadline_) fail();
        return;
    }
    touches_.push_back(touch);
    touchBegan(*touch, touch->timestamp());
}

void UIGestureRecognizer::moveTouch(const std::shared_ptr<UITouch>& touch) {
    if (std::find(touches_.begin(), touches_.end(), touch) == touches_.end()) return;
    if (state_ == State::possible || isActive()) touchMoved(*touch, touch->timestamp());
}

void UIGestureRecognizer::dropTouch(const std::shared_ptr<UITouch>& touch, bool cancelled) {
    const auto place = std::find(touches_.begin(), touches_.end(), touch);
    if (place == touches_.end()) return;
    if (cancelled && isActive())
        cancel();
    else if (cancelled)
        fail();
    else if (!waiting_ && (state_ == State::possible || isActive()))
        touchEnded(*touch, touch->timestamp());
    std::erase(touches_, touch);
}

void UIGestureRecognizer::timePassed(double now) {
    if (!deadline_ || now < *deadline_) return;
    deadline_.reset();
    deadlinePassed(now);
}

void UIGestureRecognizer::stopWaiting(bool recognise) {
    if (!std::exchange(waiting_, false)) return;
    if (recognise)
        enter(State::ended);
    else
        fail();
}

void UIGestureRecognizer::fail() {
    waiting_ = false;
    deadline_.reset();
    if (state_ == State::possible) state_ = State::failed;
}

void UIGestureRecognizer::cancel() {
    deadline_.reset();
    if (isActive()) enter(State::cancelled);
}

void UIGestureRecognizer::reset() {
    if (waiting_) return;
    state_ = State::possible;
    deadline_.reset();
    touches_.clear();
    resetGesture();
}

bool UIGestureRecognizer::begin() {
    if (!mayBegin()) {
        fail();
        return false;
    }
    enter(State::began);
    return true;
}

void UIGestureRecognizer::change() {
    enter(State::changed);
}

void UIGestureRecognizer::end() {
    deadline_.reset();
    if (isActive()) {
        enter(State::ended);
        return;
    }
    const auto first = required_.lock();
    const bool mustWait = first && first->isEnabled() && first->state() == State::possible;
    if ((first && first->state() == State::ended) || !mayBegin())
        fail();
    else if (mustWait)
        waiting_ = true;
    else
        enter(State::ended);
}

bool UIGestureRecognizer::mayBegin() const {
    const auto hit = touches_.empty() ? nullptr : touches_.front()->view();
    return (!hit || hit->gestureRecognizerShouldBegin(*this)) &&
           (!center_ || center_->mayBegin(*this));
}

void UIGestureRecognizer::enter(State state) {
    state_ = state;
    // A target may add to the list, or release the owner of this recogniser.
    const auto targets = targets_;
    for (const auto& target : targets) target(*this);
}

}  // namespace platform
