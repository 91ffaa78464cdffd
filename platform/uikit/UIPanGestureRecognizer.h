#pragma once

#include "platform/uikit/UIGestureRecognizer.h"

namespace platform {

/// A drag with one finger or more. Begins when the middle of the touches is kGestureSlop away from
/// where they went down; ends when the last one lifts.
class UIPanGestureRecognizer : public UIGestureRecognizer {
 public:
    /// The way since touch-down, the slop included, in a view's axes (the window's for null). A
    /// finger that joins or leaves does not make it jump.
    CGPoint translation(const UIView* in) const;

 protected:
    void touchBegan(UITouch& touch, double time) override;
    void touchMoved(UITouch& touch, double time) override;
    void touchEnded(UITouch& touch, double time) override;
    void resetGesture() override;

 private:
    CGPoint way() const;

    CGPoint start_;      // middle of the present touches when the last one joined or left
    CGPoint travelled_;  // before that
};

}  // namespace platform
