#include "platform/uikit/UIPanGestureRecognizer.h"

#include "platform/uikit/UITouch.h"

namespace platform {

// Views are only moved, never turned or scaled, so a way has the same length in all of them.
CGPoint UIPanGestureRecognizer::translation(const UIView* /*in*/) const {
    return way();
}

CGPoint UIPanGestureRecognizer::way() const {
    if (touches().empty()) return travelled_;
    const auto here = centroid(touches(), nullptr);
    return {travelled_.x + here.x - start_.x, travelled_.y + here.y - start_.y};
}

void UIPanGestureRecognizer::touchBegan(UITouch& touch, double /*time*/) {
    // The new touch is in the list already; the way is that of those before it.
    auto before = touches();
    std::erase_if(before, [&](const auto& other) { return other.get() == &touch; });
    if (!before.empty()) {
        const auto here = centroid(before, nullptr);
        travelled_ = {travelled_.x + here.x - start_.x, travelled_.y + here.y - start_.y};
    }
    start_ = centroid(touches(), nullptr);
}

void UIPanGestureRecognizer::touchMoved(UITouch& /*touch*/, double /*time*/) {
    if (isActive())
        change();
    else if (distance(way(), {}) >= kGestureSlop)
        begin();
}

void UIPanGestureRecognizer::touchEnded(UITouch& touch, double /*time*/) {
    if (touches().size() == 1) {
        if (isActive())
            end();
        else
            fail();
        return;
    }
    travelled_ = way();
    auto rest = touches();
    std::erase_if(rest, [&](const auto& other) { return other.get() == &touch; });
    start_ = centroid(rest, nullptr);
}

void UIPanGestureRecognizer::resetGesture() {
    start_ = {};
    travelled_ = {};
}

}  // namespace platform
