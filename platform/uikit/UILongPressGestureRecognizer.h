#pragma once

#include "platform/uikit/UIGestureRecognizer.h"

namespace platform {

/// A finger that stays. Begins while it is still down, changes when it moves after that, ends when
/// it lifts.
class UILongPressGestureRecognizer : public UIGestureRecognizer {
 public:
    /// Seconds.
    double minimumPressDuration() const { return duration_; }
    void setMinimumPressDuration(double seconds) { duration_ = seconds; }
    /// Points that the finger may stray before the gesture begins.
    CGFloat allowableMovement() const { return movement_; }
    void setAllowableMovement(CGFloat points) { movement_ = points; }

 protected:
    void touchBegan(UITouch& touch, double time) override;
    void touchMoved(UITouch& touch, double time) override;
    void touchEnded(UITouch& touch, double time) override;
    void deadlinePassed(double time) override;

 private:
    double duration_ = 0.5;
    CGFloat movement_ = kGestureSlop;
    CGPoint down_;  // in the window
};

}  // namespace platform
