#include "platform/uikit/UITouch.h"

#include <utility>

#include "platform/uikit/UIView.h"

namespace platform {

UITouch::UITouch(const std::shared_ptr<UIView>& view, CGPoint windowLocation, double timestamp)
    : view_(view),
      location_(windowLocation),
      previousLocation_(windowLocation),
      timestamp_(timestamp) {}

CGPoint UITouch::location(const UIView* in) const {
    return in ? in->convertFromWindow(location_) : location_;
}

CGPoint UITouch::previousLocation(const UIView* in) const {
    return in ? in->convertFromWindow(previousLocation_) : previousLocation_;
}

void UITouch::update(UITouchPhase phase, CGPoint windowLocation, double timestamp) {
    phase_ = phase;
    previousLocation_ = std::exchange(location_, windowLocation);
    timestamp_ = timestamp;
}

}  // namespace platform
