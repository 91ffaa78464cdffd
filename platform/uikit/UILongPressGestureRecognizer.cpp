#include "platform/uikit/UILongPressGestureRecognizer.h"

#include "platform/uikit/UITouch.h"

namespace platform {

void UILongPressGestureRecognizer::touchBegan(UITouch& touch, double time) {
    if (isActive()) return;
    if (touches().size() > 1) {
        fail();
        return;
    }
    down_ = touch.location(nullptr);
    setDeadline(time + kPress);
}

void UILongPressGestureRecognizer::touchMoved(UITouch& touch, double /*time*/) {
    if (isActive())
        change();
    else if (distance(touch.location(nullptr), down_) > kGestureSlop)
        fail();
}

void UILongPressGestureRecognizer::touchEnded(UITouch& /*touch*/, double /*time*/) {
    if (!isActive())
        fail();
    else if (touches().size() == 1)
        end();
}

void UILongPressGestureRecognizer::deadlinePassed(double /*time*/) {
    begin();
}

}  // namespace platform
