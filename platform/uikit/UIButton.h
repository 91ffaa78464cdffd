#pragma once

#include <string>

#include "platform/uikit/UIColor.h"
#include "platform/uikit/UIControl.h"

namespace platform {

/// A round-cornered field with a title, or with what a subclass draws. Tap it.
class UIButton : public UIControl {
 public:
    explicit UIButton(CGRect frame = {}) : UIControl(frame) {}

    const std::string& title() const { return title_; }
    void setTitle(std::string title);
    /// Of the title and the outline.
    void setTintColor(const UIColor& color);
    const UIColor& tintColor() const { return tint_; }

    void draw(CGRect rect) override;
    /// A tap on the button is the button's own.
    bool gestureRecognizerShouldBegin(const UIGestureRecognizer& recognizer) override;

 private:
    std::string title_;
    UIColor tint_ = UIColor(0.85, 1);
};

}  // namespace platform
