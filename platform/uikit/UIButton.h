#pragma once

#include "platform/uikit/UIControl.h"

namespace platform {

/// A control for taps; a subclass draws it.
class UIButton : public UIControl {
 public:
    explicit UIButton(CGRect frame = {}) : UIControl(frame) {}

    /// False for taps: the button handles them itself.
    bool gestureRecognizerShouldBegin(const UIGestureRecognizer& recognizer) override;
};

}  // namespace platform
