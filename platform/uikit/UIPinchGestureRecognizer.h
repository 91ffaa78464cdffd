#pragma once

#include "platform/uikit/UIGestureRecognizer.h"
#include "platform/uikit/UITouch.h"

namespace platform {

/// Two fingers that close or open. Begins when their distance has changed by kGestureSlop, ends
/// when one of them lifts. A trackpad's pinch and a wheel's come as a scale without touches.
class UIPinchGestureRecognizer : public UIGestureRecognizer {
 public:
    /// Distance now over distance at touch-down; above 0.
    CGFloat scale() const { return scale_; }

    CGPoint location(const UIView* in) const override;

    /// From the window: a scale since the gesture's start, at a place in the window.
    void takeScale(UITouchPhase phase, CGPoint location, CGFloat scale, GestureCenter& center);

 protected:
    void touchBegan(UITouch& touch, double time) override;
    void touchMoved(UITouch& touch, double time) override;
    void touchEnded(UITouch& touch, double time) override;
    void resetGesture() override;

 private:
    CGFloat spread() const;

    CGFloat startSpread_ = 0;
    CGFloat scale_ = 1;
    CGPoint place_;  // of a gesture without touches
    bool touchless_ = false;
};

}  // namespace platform
