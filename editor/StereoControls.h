#pragma once

#include <memory>
#include <string>

#include "editor/StereoControlsBase.h"
#include "editor/StereoControlsDelegate.h"
#include "platform/uikit/UIControl.h"

namespace qov {

/// The panel. The place of a touch-down selects what it edits (the editing mode): a drag changes
/// width, panorama or phase shift, up or to the right for more; everything else switches at
/// touch-down. All edits go to the delegate. Main thread.
///
/// Locations of touches are divided by the scale of the panel that drew last in this process (see
/// drawScaleX).
class StereoControls : public platform::UIControl {
 public:
    using UIControl::UIControl;

    void draw(platform::CGRect rect) override;

    /// Shows a parameter's value, 0..1, and redraws; without a row in the panel it only redraws.
    void updateParameter(int address, float value);
    /// Sets the background to a grey, 0..1, and the foreground to 1 - value.
    void setBrightness(float value);

    /// The switch of a display option, and what a touch on it does: it reports to the delegate.
    bool isOn(StereoControlsOption option) const;
    void switchOption(StereoControlsOption option, bool isOn);

    void touchesBegan(const platform::UITouchSet& touches, platform::UIEvent* event) override;
    void touchesMoved(const platform::UITouchSet& touches, platform::UIEvent* event) override;
    void touchesEnded(const platform::UITouchSet& touches, platform::UIEvent* event) override;
    void touchesCancelled(const platform::UITouchSet& touches, platform::UIEvent* event) override;

    /// Sets the current mode to that at a point of the canvas, in canvas units; empty outside all
    /// hotspots.
    void hitTestHotspots(platform::CGPoint point);

    /// Whether a touch lies in a hotspot.
    bool isInHotspot(const platform::UITouch& touch) const;

    std::weak_ptr<AudioUnitViewController> viewController;
    std::weak_ptr<StereoControlsDelegate> delegate;
    float levelLeftValue = 0;  ///< the two are unused
    float levelRightValue = 0;
    std::string currentEditingMode;
    StereoControlsBase baseClass;
    platform::CGPoint startLocation;   ///< touch-down, canvas units
    platform::CGFloat startValue = 0;  ///< the edited value at touch-down
    platform::CGFloat scaler = 1;      ///< factor of a drag's distance

 private:
    struct Control;
    void beginEditing(StereoControlsDelegate& to);
    static bool StereoControlsBase::*switchOf(StereoControlsOption option);
    platform::CGPoint canvasLocation(const platform::UITouch& touch) const;
};

}  // namespace qov
