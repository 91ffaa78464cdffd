#pragma once

#include <memory>
#include <string>

#include "editor/StereoControlsBase.h"
#include "platform/uikit/UIControl.h"

namespace qov {

class StereoControlsDelegate;

/// The panel. A touch picks what it edits by where it goes down (the editing mode); a drag from
/// there changes width, panorama or phase shift, up or to the right for more; everything else
/// switches at touch-down. All edits go to the delegate. Main thread.
///
/// Touches are measured with the scale of the panel that drew last in the process (see drawScaleX).
class StereoControls : public platform::UIControl {
 public:
    using UIControl::UIControl;

    void draw(platform::CGRect rect) override;

    /// Shows a parameter's value; addresses from kBypass on only redraw.
    void updateParameter(int address, float value);
    /// Grey of the background, 0..1; the foreground becomes its opposite.
    void setBrightness(float value);

    void touchesBegan(const platform::UITouchSet& touches, platform::UIEvent* event) override;
    void touchesMoved(const platform::UITouchSet& touches, platform::UIEvent* event) override;
    void touchesEnded(const platform::UITouchSet& touches, platform::UIEvent* event) override;
    void touchesCancelled(const platform::UITouchSet& touches, platform::UIEvent* event) override;

    /// Makes the mode at a point of the canvas (empty for none) the current one.
    void hitTestHotspots(platform::CGPoint point);

    /// Whether a touch lies where a touch-down would start to edit.
    bool isInHotspot(const platform::UITouch& touch) const;

    std::weak_ptr<AudioUnitViewController> viewController;
    std::weak_ptr<StereoControlsDelegate> delegate;
    float levelLeftValue = 0;  ///< nothing uses the two
    float levelRightValue = 0;
    std::string currentEditingMode;
    StereoControlsBase baseClass;
    platform::CGPoint startLocation;   ///< touch-down, canvas units
    platform::CGFloat startValue = 0;  ///< of what is edited, at touch-down
    platform::CGFloat scaler = 1;      ///< sensitivity of drags

 private:
    void beginEditing(StereoControlsDelegate& to);
    void toggle(bool& flag, StereoControlsDelegate& to, int parameter);
    void toggleOption(bool& flag, StereoControlsDelegate& to, int option);
    platform::CGPoint canvasLocation(const platform::UITouch& touch) const;
};

}  // namespace qov
