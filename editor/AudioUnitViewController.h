#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "editor/StereoControlsDelegate.h"
#include "platform/audiotoolbox/AUAudioUnitFactory.h"
#include "platform/audiotoolbox/AUParameterTree.h"
#include "platform/coregraphics/CGGeometry.h"
#include "platform/uikit/AUViewController.h"

namespace platform {
class Timer;
class UIButton;
class UILongPressGestureRecognizer;
class UIPanGestureRecognizer;
class UIPinchGestureRecognizer;
class UISlider;
class UITapGestureRecognizer;
}  // namespace platform

namespace qov {

class CorrelographViewAU;
class PluginFrameEx;
class QOV_Kelvane_PluginAudioUnit;
class StereoControls;

/// The editor: makes the audio unit, shows its panel and correlograph, binds the panel to the eight
/// parameters in both directions and obeys the gestures. Main thread, but for parameter changes,
/// which may come from any.
///
/// Whichever comes second, view or audio unit, binds; where each finds the other ready, both do,
/// and the binding is then there twice. After a view has loaded, its run loop's timer holds the
/// controller until the loop ends.
class AudioUnitViewController : public platform::AUViewController,
                                public platform::AUAudioUnitFactory,
                                public StereoControlsDelegate {
 public:
    using AUViewController::AUViewController;
    ~AudioUnitViewController() override;

    /// Makes the audio unit and keeps it. Null, with *error set where error is given, when that
    /// fails; audioUnit() is then what it was.
    std::shared_ptr<platform::AUAudioUnit> createAudioUnit(
        const platform::AudioComponentDescription& description, platform::NSError* error) override;

    const std::shared_ptr<QOV_Kelvane_PluginAudioUnit>& audioUnit() const { return audioUnit_; }
    /// Binds it in a later turn of the main queue, if the view is loaded then.
    void setAudioUnit(std::shared_ptr<QOV_Kelvane_PluginAudioUnit> audioUnit);

    /// Builds the views and recognisers and fills the outlets.
    void loadView() override;
    void viewDidLoad() override;
    void viewDidLayoutSubviews() override;

    // Actions

    void onPanGesture(platform::UIPanGestureRecognizer& sender);
    void onPinchGesture(platform::UIPinchGestureRecognizer& sender);
    void onDoubleTapGesture(platform::UITapGestureRecognizer& sender);
    void onTapGesture(platform::UITapGestureRecognizer& sender);
    void onlongPressGesture(platform::UILongPressGestureRecognizer& sender);
    void onContrastButton(platform::UIButton& sender);
    void onBrightnessSlider(platform::UISlider& sender);

    void onStereoControlsParameter(int address, float value) override;
    void onStereoControlsOption(int address, float value) override;

    // Parameters. An address equal to the number of bound parameters is a fatal error; one beyond
    // it, or below 0, is reported on the console.

    void setParameter(int address, float value);
    float getParameter(int address) const;
    /// The phase shift in tenths of a millisecond; 0 without an audio unit. A sample rate of 0 is a
    /// fatal error.
    std::int64_t getMilliseconds() const;
    /// The phase shift in frames; 0 without an audio unit.
    std::int64_t getPhaseShift() const;
    /// Pushes all eight values into the panel.
    void updateParameters();

    // Layout

    void centerPluginView();
    /// Points.
    void layoutControls(platform::CGFloat width, platform::CGFloat height);

    // State

    bool USE_PARAMETER_OBSERVERS = true;  ///< nothing asks
    /// A control has the touch: the pan gesture stands back.
    bool touchesLocked = false;

    // Outlets, filled by loadView().
    std::shared_ptr<PluginFrameEx> pluginFrame;
    std::shared_ptr<CorrelographViewAU> correlographView;
    std::shared_ptr<StereoControls> stereoControls;
    std::shared_ptr<platform::UIButton> contrastButton;
    std::shared_ptr<platform::UISlider> brightnessSlider;
    std::shared_ptr<platform::UIPanGestureRecognizer> panGesture;
    std::shared_ptr<platform::UIPinchGestureRecognizer> pinchGesture;
    std::shared_ptr<platform::UITapGestureRecognizer> doubleTapGesture;
    std::shared_ptr<platform::UITapGestureRecognizer> tapGesture;
    std::shared_ptr<platform::UILongPressGestureRecognizer> longPressGesture;

    /// In landscape, the panel fills the height and not the width.
    bool fitToHeight = false;

 private:
    void addGestures(platform::UIView& root);
    void connectParameters();
    void saveFrames();
    std::shared_ptr<AudioUnitViewController> strongSelf();

    std::shared_ptr<platform::Timer> timer_;
    std::shared_ptr<QOV_Kelvane_PluginAudioUnit> audioUnit_;
    platform::CGRect controlFrame1_;  // the panel's, at a gesture's start
    platform::CGRect controlFrame2_;  // the correlograph's
    bool lockAutoLayout_ = false;     // a pan or pinch is under way
    platform::AUParameterObserverToken parameterObserverToken_ = nullptr;
    std::shared_ptr<platform::AUParameterTree> parameterTree_;
    std::vector<std::shared_ptr<platform::AUParameter>> parameters_;
};

}  // namespace qov
