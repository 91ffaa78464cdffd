#include "platform/uikit/UITouch.h"

#include "platform/uikit/UIView.h"

namespace platform {

UITouch::UITouch(const std::shared_ptr<UIView>& view, CGPoint windowLocation, double timestamp)
    : view_(view), location_(windowLocation), timestamp_(timestamp) {}

CGPoint UITouch::location(const UIView* in) const {
    return in ? in->convertFromWindow(location_) : location_;
}

void UITouch::update(UITouchPhase phase, CGPoint windowLocation, double timestamp) {
    phase_ = phase;
    location_ = windowLocation;
    timestamp_ = timestamp;
}

}  // namespace platform
