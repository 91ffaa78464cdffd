#pragma once

#include "platform/uikit/UIGestureRecognizer.h"

namespace platform {

/// A finger held in place. Begins while it is down, changes when it moves after that, ends when it
/// lifts.
class UILongPressGestureRecognizer : public UIGestureRecognizer {
 public:
    /// How long it has to be held, in seconds; until then it may move by kGestureSlop.
    static constexpr double kPress = 0.5;

 protected:
    void touchBegan(UITouch& touch, double time) override;
    void touchMoved(UITouch& touch, double time) override;
    void touchEnded(UITouch& touch, double time) override;
    void deadlinePassed(double time) override;

 private:
    CGPoint down_;  // in the window
};

}  // namespace platform
