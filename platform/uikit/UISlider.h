#pragma once

#include "platform/uikit/UIControl.h"

namespace platform {

/// A horizontal slider: its thumb follows the finger from where it was taken; a touch beside the
/// thumb brings it there first.
class UISlider : public UIControl {
 public:
    explicit UISlider(CGRect frame = {}) : UIControl(frame) {}

    /// Within minimumValue()..maximumValue(), in which a value is held.
    float value() const { return value_; }
    void setValue(float value);
    float minimumValue() const { return minimum_; }
    void setMinimumValue(float minimum);
    float maximumValue() const { return maximum_; }
    void setMaximumValue(float maximum);

    void draw(CGRect rect) override;
    bool beginTracking(UITouch& touch) override;
    void continueTracking(UITouch& touch) override;
    /// False for drags and holds: the slider handles them itself.
    bool gestureRecognizerShouldBegin(const UIGestureRecognizer& recognizer) override;

 private:
    CGFloat thumbCenter() const;
    void takeFrom(CGFloat x);

    float value_ = 0;
    float minimum_ = 0;
    float maximum_ = 1;
    CGFloat grip_ = 0;  // from the thumb's centre to the finger
};

}  // namespace platform
