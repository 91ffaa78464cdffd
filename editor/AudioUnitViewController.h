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

/// The editor: creates the audio unit, shows the panel and the correlograph, binds the panel to the
/// parameters in both directions and handles the gestures. Main thread; parameter changes may
/// arrive on any thread.
///
/// The later of viewDidLoad() and the block that setAudioUnit() queues binds the parameters. When
/// the view loads between the two, both bind, and every parameter is bound twice. Deliberate. From
/// viewDidLoad() on, the run loop's timer keeps the controller alive until the loop ends.
class AudioUnitViewController : public platform::AUViewController,
                                public platform::AUAudioUnitFactory,
                                public StereoControlsDelegate {
 public:
    using AUViewController::AUViewController;
    ~AudioUnitViewController() override;

    /// Creates the audio unit and stores it. Null on failure, with *error set if error is not null;
    /// audioUnit() is then unchanged.
    std::shared_ptr<platform::AUAudioUnit> createAudioUnit(
        const platform::AudioComponentDescription& description, platform::NSError* error) override;

    const std::shared_ptr<QOV_Kelvane_PluginAudioUnit>& audioUnit() const { return audioUnit_; }
    /// Stores it and queues a block on the main queue that binds it if the view is loaded then.
    void setAudioUnit(std::shared_ptr<QOV_Kelvane_PluginAudioUnit> audioUnit);

    /// Creates the views and recognisers and sets the outlets.
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

    // Parameters, by address. An address equal to the number of bound parameters is a fatal error;
    // a larger or negative one prints a line to the console.

    void setParameter(int address, float value);
    float getParameter(int address) const;
    /// The phase shift in tenths of a millisecond; 0 without an audio unit. A sample rate of 0 is a
    /// fatal error.
    std::int64_t getMilliseconds() const;
    /// The phase shift in frames; 0 without an audio unit.
    std::int64_t getPhaseShift() const;
    /// Shows all values in the panel; fewer bound parameters are a fatal error.
    void updateParameters();

    // Layout

    /// Fits the panel into the root view.
    void centerPluginView();
    /// Places panel and correlograph for a root view of this size, in points.
    void layoutControls(platform::CGFloat width, platform::CGFloat height);

    // State

    bool USE_PARAMETER_OBSERVERS = true;  ///< not consulted
    /// True while a control handles a touch; the pan gesture is ignored then.
    bool touchesLocked = false;

    // Outlets, set by loadView().
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

    /// Whether the panel fills the height rather than the width of a landscape view.
    bool fitToHeight = false;

 private:
    void addGestures(platform::UIView& root);
    void connectParameters();
    platform::AUParameter* boundParameter(int address) const;
    void saveFrames();
    std::shared_ptr<AudioUnitViewController> strongSelf();

    std::shared_ptr<platform::Timer> timer_;
    std::shared_ptr<QOV_Kelvane_PluginAudioUnit> audioUnit_;
    platform::CGRect controlFrame1_;  // the panel's, at a gesture's start
    platform::CGRect controlFrame2_;  // the correlograph's
    bool lockAutoLayout_ = false;     // a pan or pinch is in progress
    platform::AUParameterObserverToken parameterObserverToken_ = nullptr;
    std::shared_ptr<platform::AUParameterTree> parameterTree_;
    std::vector<std::shared_ptr<platform::AUParameter>> parameters_;
};

}  // namespace qov
