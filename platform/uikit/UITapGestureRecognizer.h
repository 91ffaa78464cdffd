#pragma once

#include "platform/uikit/UIGestureRecognizer.h"

namespace platform {

/// A number of taps in one place, each with one finger.
class UITapGestureRecognizer : public UIGestureRecognizer {
 public:
    void setNumberOfTapsRequired(int taps) { taps_ = taps; }

    /// How long a finger may rest in a tap, and stay away between two, in seconds.
    static constexpr double kLongestTap = 0.75;
    static constexpr double kLongestPause = 0.35;
    /// How far apart two taps may be, in points.
    static constexpr CGFloat kReach = 40;

    CGPoint location(const UIView* in) const override;

 protected:
    void touchBegan(UITouch& touch, double time) override;
    void touchMoved(UITouch& touch, double time) override;
    void touchEnded(UITouch& touch, double time) override;
    void deadlinePassed(double time) override;
    void resetGesture() override;

 private:
    int taps_ = 1;
    int done_ = 0;
    CGPoint first_;  // in the window
    CGPoint down_;   // of the tap under way
};

}  // namespace platform
