#include "platform/uikit/UITapGestureRecognizer.h"

#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIView.h"

namespace platform {

CGPoint UITapGestureRecognizer::location(const UIView* in) const {
    return in ? in->convertFromWindow(first_) : first_;
}

void UITapGestureRecognizer::touchBegan(UITouch& touch, double time) {
    down_ = touch.location(nullptr);
    if (done_ == 0) first_ = down_;
    if (touches().size() > 1 || distance(first_, down_) > kReach) {
        fail();
        return;
    }
    setDeadline(time + kLongestTap);
}

void UITapGestureRecognizer::touchMoved(UITouch& touch, double /*time*/) {
    if (distance(touch.location(nullptr), down_) >= kGestureSlop) fail();
}

void UITapGestureRecognizer::touchEnded(UITouch& /*touch*/, double time) {
    setDeadline({});
    if (++done_ == taps_)
        end();
    else
        setDeadline(time + kLongestPause);
}

void UITapGestureRecognizer::deadlinePassed(double /*time*/) {
    fail();
}

void UITapGestureRecognizer::resetGesture() {
    done_ = 0;
}

}  // namespace platform
