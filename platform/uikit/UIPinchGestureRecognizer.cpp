#include "platform/uikit/UIPinchGestureRecognizer.h"

#include <algorithm>
#include <cmath>

#include "platform/uikit/UIView.h"

namespace platform {
namespace {

// Fingers that touch each other still have a distance, so that a scale is always finite.
constexpr CGFloat kLeastSpread = 1;

}  // namespace

CGPoint UIPinchGestureRecognizer::location(const UIView* in) const {
    if (!touchless_) return UIGestureRecognizer::location(in);
    return in ? in->convertFromWindow(place_) : place_;
}

void UIPinchGestureRecognizer::takeScale(UITouchPhase phase, CGPoint location, CGFloat scale,
                                         GestureCenter& center) {
    if (!std::isfinite(scale) || scale <= 0) return;
    if (phase == UITouchPhase::began) {
        if (state() != UIGestureRecognizerState::possible) return;
        setCenter(center);
        touchless_ = true;
    }
    if (!touchless_) return;
    place_ = location;
    scale_ = scale;
    switch (phase) {
        case UITouchPhase::began:
            begin();
            break;
        case UITouchPhase::moved:
            if (isActive()) change();
            break;
        case UITouchPhase::ended:
            if (isActive()) end();
            break;
        case UITouchPhase::cancelled:
            cancel();
            break;
    }
}

CGFloat UIPinchGestureRecognizer::spread() const {
    return std::max(kLeastSpread,
                    distance(touches()[0]->location(nullptr), touches()[1]->location(nullptr)));
}

void UIPinchGestureRecognizer::touchBegan(UITouch& /*touch*/, double /*time*/) {
    if (touches().size() == 2) startSpread_ = spread();
}

void UIPinchGestureRecognizer::touchMoved(UITouch& /*touch*/, double /*time*/) {
    if (touchless_ || touches().size() < 2) return;
    const auto now = spread();
    if (!isActive() && std::abs(now - startSpread_) < kGestureSlop) return;
    scale_ = now / startSpread_;
    if (isActive())
        change();
    else
        begin();
}

void UIPinchGestureRecognizer::touchEnded(UITouch& touch, double /*time*/) {
    const bool counts =
        touches()[0].get() == &touch || (touches().size() > 1 && touches()[1].get() == &touch);
    if (isActive() && !touchless_ && counts) end();
}

void UIPinchGestureRecognizer::resetGesture() {
    startSpread_ = 0;
    scale_ = 1;
    touchless_ = false;
}

}  // namespace platform
