#include "editor/AudioUnitViewController.h"

#include <cmath>
#include <string>
#include <utility>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "audiounit/parameters.h"
#include "editor/CorrelographViewAU.h"
#include "editor/PluginFrameEx.h"
#include "editor/StereoControls.h"
#include "editor/panelCanvas.h"
#include "platform/dispatch/DispatchQueue.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/OperationQueue.h"
#include "platform/foundation/Timer.h"
#include "platform/foundation/fatalError.h"
#include "platform/foundation/numberText.h"
#include "platform/uikit/UIButton.h"
#include "platform/uikit/UILongPressGestureRecognizer.h"
#include "platform/uikit/UIPanGestureRecognizer.h"
#include "platform/uikit/UIPinchGestureRecognizer.h"
#include "platform/uikit/UISlider.h"
#include "platform/uikit/UITapGestureRecognizer.h"

namespace qov {

using platform::CGFloat;
using platform::CGRect;
using platform::console::print;
using State = platform::UIGestureRecognizerState;

namespace {

constexpr int kParameters = parameterCount;
constexpr double kRedrawInterval = 0.05;  // seconds
constexpr CGFloat kAspect = panelCanvas.height / panelCanvas.width;
constexpr CGFloat kCorrelographInsetX = 200;             // points
constexpr CGFloat kCorrelographInsetY = 90;              // points
constexpr CGFloat kLeastWidth = 128, kMostWidth = 2048;  // of a pinched view, in points

/// The outlet's view; a missing one is a fatal error.
template <class T>
T& connected(const std::shared_ptr<T>& outlet, const char* name) {
    if (!outlet) platform::fatalError(std::string("the editor's outlet is missing: ") + name);
    return *outlet;
}

/// The shortest text that reads back as the same number, always with a point or an exponent.
std::string text(float value) {
    constexpr float kLastPlain = 16777216;  // beyond it not every integer is a float
    const float size = std::abs(value);
    const bool plain = value == 0 || (size >= 1e-4F && size <= kLastPlain);
    using Form = platform::NumberForm;
    auto result = platform::numberText(value, plain ? Form::plain : Form::scientific);
    if (plain && result.find('.') == std::string::npos) result += ".0";
    return result;
}

/// About the rectangle's own centre.
CGRect scaled(const CGRect& rect, CGFloat scale) {
    const auto center = rect.center();
    const CGFloat width = rect.size.width * scale, height = rect.size.height * scale;
    return {center.x - width / 2, center.y - height / 2, width, height};
}

void pinch(platform::UIView& view, const CGRect& frame) {
    if (!(frame.size.width >= kLeastWidth && frame.size.width <= kMostWidth)) return;
    view.setFrame(frame);
    view.setNeedsDisplay();
}

}  // namespace

AudioUnitViewController::~AudioUnitViewController() = default;

std::shared_ptr<AudioUnitViewController> AudioUnitViewController::strongSelf() {
    return std::static_pointer_cast<AudioUnitViewController>(shared_from_this());
}

// The audio unit

std::shared_ptr<platform::AUAudioUnit> AudioUnitViewController::createAudioUnit(
    const platform::AudioComponentDescription& description, platform::NSError* error) {
    print("AU Diagnostics: Trying to create the audio unit.");
    auto made = std::make_shared<QOV_Kelvane_PluginAudioUnit>();
    if (!made->initWithComponentDescription(description, 0, error)) return nullptr;
    setAudioUnit(made);
    return made;
}

void AudioUnitViewController::setAudioUnit(std::shared_ptr<QOV_Kelvane_PluginAudioUnit> audioUnit) {
    audioUnit_ = std::move(audioUnit);
    print("AU Diagnostics: QOV_Kelvane_PluginAudioUnit::didSet()");
    platform::DispatchQueue::main().async([self = strongSelf()] {
        if (self->isViewLoaded()) {
            print("AU Diagnostics: We are about to connect the audio unit to its view controller.");
            self->connectParameters();
        } else {
            print("AU Diagnostics: WARNING: Plugin view is not loaded (yet).");
        }
    });
}

void AudioUnitViewController::viewDidLoad() {
    AUViewController::viewDidLoad();
    auto& correlograph = connected(correlographView, "correlographView");
    auto& panel = connected(stereoControls, "stereoControls");
    const auto self = strongSelf();
    correlograph.viewController = self;
    correlograph.baseClass.viewController = self;
    panel.viewController = self;
    panel.delegate = self;
    timer_ = platform::Timer::scheduledTimer(kRedrawInterval, true, [self](platform::Timer&) {
        connected(self->correlographView, "correlographView").setNeedsDisplay();
    });
    if (audioUnit_) {
        print("AU Diagnostics: The plugin is loaded.");
        connectParameters();
    } else {
        print("AU Diagnostics: WARNING: The audio unit plugin is nil (yet?).");
    }
}

void AudioUnitViewController::connectParameters() {
    if (!audioUnit_) {
        print("AU Diagnostics: WARNING: The audio unit is nil at this point.");
        return;
    }
    print("AU Diagnostics: Getting parameters from the audio unit.");
    parameterTree_ = audioUnit_->parameterTree();
    if (!parameterTree_) {
        print("AU Diagnostics: Getting the parameter tree from the audio unit failed.");
        return;
    }
    for (unsigned address = 0; address < kParameters; ++address) {
        auto parameter = parameterTree_->parameterWithAddress(address);
        if (!parameter) continue;
        print(" - address: " + std::to_string(address) + ", name: " + parameter->displayName() +
              ", value: " + text(parameter->value()));
        parameters_.push_back(std::move(parameter));
    }
    // Two hops: through the main queue, then through the main operation queue.
    parameterObserverToken_ = parameterTree_->tokenByAddingParameterObserver(
        [weakSelf = std::weak_ptr(strongSelf())](platform::AUParameterAddress address,
                                                 float value) {
            auto self = weakSelf.lock();
            if (!self) {
                print("AU Diagnostics: The strong self shit is nil.");
                return;
            }
            platform::DispatchQueue::main().async([self = std::move(self), address, value] {
                platform::OperationQueue::main().addOperation([self, address, value] {
                    connected(self->stereoControls, "stereoControls")
                        .updateParameter(static_cast<int>(address), value);
                });
            });
        });
    print("AU Diagnostics: Connected parameters to the plugins interface.");
    updateParameters();
}

void AudioUnitViewController::updateParameters() {
    auto& panel = connected(stereoControls, "stereoControls");
    for (int address = 0; address < kParameters; ++address) {
        const auto index = static_cast<std::size_t>(address);
        if (index >= parameters_.size()) platform::fatalError("Index out of range");
        panel.updateParameter(address, parameters_[index]->value());
    }
}

// Parameters

void AudioUnitViewController::onStereoControlsParameter(int address, float value) {
    if (getParameter(address) != value) setParameter(address, value);
}

platform::AUParameter* AudioUnitViewController::boundParameter(int address) const {
    const auto index = static_cast<std::size_t>(address);
    if (address < 0 || index > parameters_.size()) {
        print("ERROR: The parameter address is out of range.");
        return nullptr;
    }
    if (index == parameters_.size()) platform::fatalError("Index out of range");
    return parameters_[index].get();
}

void AudioUnitViewController::setParameter(int address, float value) {
    if (auto* const parameter = boundParameter(address)) parameter->setValue(value);
}

float AudioUnitViewController::getParameter(int address) const {
    const auto* const parameter = boundParameter(address);
    return parameter ? parameter->value() : 0;
}

std::int64_t AudioUnitViewController::getPhaseShift() const {
    return audioUnit_ ? audioUnit_->getPhaseShift() : 0;
}

std::int64_t AudioUnitViewController::getMilliseconds() const {
    if (!audioUnit_) return 0;
    const float tenths =
        static_cast<float>(audioUnit_->getPhaseShift()) / audioUnit_->getSamplerate() * 10000.0F;
    constexpr float kFirstTooLarge = 9223372036854775808.0F;
    if (!(std::abs(tenths) < kFirstTooLarge))
        platform::fatalError("the phase shift has no length in time");
    return static_cast<std::int64_t>(tenths);
}

void AudioUnitViewController::onStereoControlsOption(int address, float value) {
    if (address < kOptionNormalized || address > kOptionDrawMode) return;
    auto& correlograph = connected(correlographView, "correlographView");
    switch (address) {
        case kOptionNormalized:
            correlograph.baseClass.isNormalized = value == 1.0F;
            break;
        case kOptionOscillograph:
            correlograph.setHidden(value == 0.0F);
            return;
        case kOptionSuspended:
            correlograph.isSuspended = value == 1.0F;
            break;
        default: {
            auto& mode = correlograph.baseClass.drawMode;
            mode = mode == "points" ? "bezier" : "points";
        }
    }
    correlograph.setNeedsDisplay();
}

// Gestures

void AudioUnitViewController::saveFrames() {
    controlFrame1_ = connected(stereoControls, "stereoControls").frame();
    controlFrame2_ = connected(correlographView, "correlographView").frame();
}

void AudioUnitViewController::onPanGesture(platform::UIPanGestureRecognizer& sender) {
    if (touchesLocked) return;
    switch (sender.state()) {
        case State::began:
            lockAutoLayout_ = true;
            saveFrames();
            break;
        case State::changed: {
            lockAutoLayout_ = true;
            const auto way = sender.translation(view().get());
            auto& panel = connected(stereoControls, "stereoControls");
            panel.setFrame(controlFrame1_.offsetBy(way.x, way.y));
            panel.setNeedsDisplay();
            auto& correlograph = connected(correlographView, "correlographView");
            correlograph.setFrame(controlFrame2_.offsetBy(way.x, way.y));
            correlograph.setNeedsDisplay();
            break;
        }
        case State::ended:
            lockAutoLayout_ = false;
            saveFrames();
            connected(stereoControls, "stereoControls").setNeedsDisplay();
            touchesLocked = false;
            break;
        case State::cancelled:
            saveFrames();
            lockAutoLayout_ = false;
            touchesLocked = false;
            break;
        case State::possible:
        case State::failed:
            break;
    }
}

void AudioUnitViewController::onPinchGesture(platform::UIPinchGestureRecognizer& sender) {
    touchesLocked = false;
    switch (sender.state()) {
        case State::began:
            lockAutoLayout_ = true;
            saveFrames();
            break;
        case State::changed:
            lockAutoLayout_ = true;
            pinch(connected(stereoControls, "stereoControls"),
                  scaled(controlFrame1_, sender.scale()));
            pinch(connected(correlographView, "correlographView"),
                  scaled(controlFrame2_, sender.scale()));
            break;
        case State::ended:
            lockAutoLayout_ = false;
            saveFrames();
            connected(stereoControls, "stereoControls").setNeedsDisplay();
            break;
        case State::cancelled:
            lockAutoLayout_ = false;
            break;
        case State::possible:
        case State::failed:
            break;
    }
}

void AudioUnitViewController::onDoubleTapGesture(platform::UITapGestureRecognizer& /*sender*/) {
    touchesLocked = false;
    centerPluginView();
}

void AudioUnitViewController::onTapGesture(platform::UITapGestureRecognizer& /*sender*/) {
    touchesLocked = false;
    saveFrames();
}

void AudioUnitViewController::onlongPressGesture(platform::UILongPressGestureRecognizer& sender) {
    auto& button = connected(contrastButton, "contrastButton");
    if (sender.state() == State::began) {
        button.setHidden(!button.isHidden());
        touchesLocked = !button.isHidden();
        if (button.isHidden()) connected(brightnessSlider, "brightnessSlider").setHidden(true);
    } else if (sender.state() == State::ended) {
        button.setAlpha(1.0);
        touchesLocked = false;
    }
}

void AudioUnitViewController::onContrastButton(platform::UIButton& sender) {
    auto& slider = connected(brightnessSlider, "brightnessSlider");
    slider.setHidden(!slider.isHidden());
    sender.setAlpha(slider.isHidden() ? 1.0 : 0.5);
    touchesLocked = !slider.isHidden();
}

void AudioUnitViewController::onBrightnessSlider(platform::UISlider& sender) {
    touchesLocked = true;
    auto& frame = connected(pluginFrame, "pluginFrame");
    frame.contrast = sender.value();
    frame.setNeedsDisplay();
    connected(stereoControls, "stereoControls").setBrightness(sender.value());
}

// Layout

void AudioUnitViewController::viewDidLayoutSubviews() {
    AUViewController::viewDidLayoutSubviews();
    if (!lockAutoLayout_) centerPluginView();
}

void AudioUnitViewController::centerPluginView() {
    const auto size = view()->bounds().size;
    layoutControls(size.width, size.height);
    saveFrames();
}

void AudioUnitViewController::layoutControls(CGFloat width, CGFloat height) {
    const auto root = view()->bounds().size;
    auto& panel = connected(stereoControls, "stereoControls");
    auto& correlograph = connected(correlographView, "correlographView");
    if (height < width && fitToHeight)
        panel.setFrame({root.width / 2 - height / kAspect / 2, 0, height / kAspect, height});
    else
        panel.setFrame({0, root.height / 2 - width * kAspect / 2, width, width * kAspect});
    correlograph.setFrame(panel.frame().insetBy(kCorrelographInsetX, kCorrelographInsetY));
    panel.setNeedsDisplay();
    correlograph.setNeedsDisplay();
}

}  // namespace qov
