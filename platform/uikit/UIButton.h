#pragma once

#include "platform/uikit/UIControl.h"

namespace platform {

/// A control to be tapped; a subclass draws it.
class UIButton : public UIControl {
 public:
    explicit UIButton(CGRect frame = {}) : UIControl(frame) {}

    /// A tap on the button is the button's own.
    bool gestureRecognizerShouldBegin(const UIGestureRecognizer& recognizer) override;
};

}  // namespace platform
