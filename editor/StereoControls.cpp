#include "editor/StereoControls.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "audiounit/parameters.h"
#include "editor/AudioUnitViewController.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/fatalError.h"
#include "platform/uikit/UITouch.h"

namespace qov {

using platform::CGFloat;
using platform::CGPoint;

namespace {

/// Canvas units of a drag, up and to the right at the same time, for the whole range.
constexpr float dragRange = 300;

const platform::UITouch& anyOf(const platform::UITouchSet& touches) {
    if (touches.empty()) platform::fatalError("the panel received an empty set of touches");
    return **touches.begin();
}

platform::UIColor grey(CGFloat white) {
    return {white, white, white, 1};
}

}  // namespace

void StereoControls::draw(platform::CGRect rect) {
    baseClass.viewController = viewController;
    baseClass.drawControls(rect, StereoControlsBase::ResizingBehavior::aspectFit);
}

void StereoControls::updateParameter(int address, float value) {
    // The field that shows each parameter. The bypass has none: only touches change its toggle.
    struct Shown {
        ParameterAddress address;
        CGFloat StereoControlsBase::*value;
        bool StereoControlsBase::*isOn;
    };
    static constexpr Shown shown[] = {
        {kStereoWidth, &StereoControlsBase::stereoWidthNormalized, nullptr},
        {kPanorama, &StereoControlsBase::panoramaNormalized, nullptr},
        {kPhaseShift, &StereoControlsBase::phaseShiftValue, nullptr},
        {kSwapChannels, nullptr, &StereoControlsBase::isSwapOn},
        {kInvertChannel, nullptr, &StereoControlsBase::isInvert},
        {kRecoverMono, nullptr, &StereoControlsBase::isRecover},
        {kTestMono, nullptr, &StereoControlsBase::isMonoOn},
    };
    static_assert(std::size(shown) + 1 == parameterCount,
                  "the panel has a row for each parameter but the bypass");
    for (const Shown& row : shown) {
        if (row.address != static_cast<std::uint64_t>(address)) continue;
        if (row.value) baseClass.*row.value = value;
        if (row.isOn) baseClass.*row.isOn = value >= 0.5f;
    }
    setNeedsDisplay();
}

void StereoControls::setBrightness(float value) {
    baseClass.colorBackground = grey(value);
    baseClass.colorContrast = grey(1 - value);
    setNeedsDisplay();
}

void StereoControls::hitTestHotspots(CGPoint point) {
    currentEditingMode = baseClass.modeAt(point);
    platform::console::print("Current editing mode is: " + currentEditingMode);
}

CGPoint StereoControls::canvasLocation(const platform::UITouch& touch) const {
    const CGPoint p = touch.location(this);
    return {p.x / drawScaleX, p.y / drawScaleY};
}

bool StereoControls::isInHotspot(const platform::UITouch& touch) const {
    return *baseClass.modeAt(canvasLocation(touch)) != '\0';
}

void StereoControls::touchesBegan(const platform::UITouchSet& touches, platform::UIEvent*) {
    const auto controller = viewController.lock();
    if (!controller) return;
    startLocation = canvasLocation(anyOf(touches));
    hitTestHotspots(startLocation);
    controller->touchesLocked = !currentEditingMode.empty();
    const auto to = delegate.lock();
    if (currentEditingMode.empty() || !to) return;
    beginEditing(*to);
    setNeedsDisplay();
    sendActions(platform::UIControlEventTouchDown);
}

void StereoControls::beginEditing(StereoControlsDelegate& to) {
    const std::string& mode = currentEditingMode;
    if (mode == "stereo width") {
        baseClass.isStereoWidthActive = true;
        startValue = baseClass.stereoWidthNormalized;
    } else if (mode == "panorama") {
        baseClass.isPanoramaActive = true;
        startValue = baseClass.panoramaNormalized;
    } else if (mode == "phase shift") {
        baseClass.isPhaseShiftActive = true;
        startValue = baseClass.phaseShiftValue;
    } else if (mode == "reset1") {
        baseClass.isPanoramaResetActive = true;
        to.onStereoControlsParameter(kPanorama, 0.5f);
    } else if (mode == "reset2") {
        baseClass.isStereoWidthResetActive = true;
        to.onStereoControlsParameter(kStereoWidth, 0.5f);
    } else if (mode == "swap channels") {
        toggle(baseClass.isSwapOn, to, kSwapChannels);
    } else if (mode == "invert channel") {
        toggle(baseClass.isInvert, to, kInvertChannel);
    } else if (mode == "recover mono") {
        toggle(baseClass.isRecover, to, kRecoverMono);
    } else if (mode == "test mono") {
        toggle(baseClass.isMonoOn, to, kTestMono);
    } else if (mode == "graph normalized") {
        switchOption(kOptionNormalized, !isOn(kOptionNormalized));
    } else if (mode == "bezier") {
        switchOption(kOptionDrawMode, !isOn(kOptionDrawMode));
    } else if (mode == "show oscillograph") {
        switchOption(kOptionOscillograph, !isOn(kOptionOscillograph));
    } else if (mode == "go pro") {
        switchOption(kOptionSuspended, !isOn(kOptionSuspended));
        to.onStereoControlsParameter(kBypass, baseClass.isGoPro ? 1.0f : 0.0f);
    }
}

void StereoControls::toggle(bool& flag, StereoControlsDelegate& to, int parameter) {
    flag = !flag;
    to.onStereoControlsParameter(parameter, flag ? 1.0f : 0.0f);
}

bool StereoControlsBase::*StereoControls::switchOf(StereoControlsOption option) {
    switch (option) {
        case kOptionNormalized:
            return &StereoControlsBase::isNormalized;
        case kOptionOscillograph:
            return &StereoControlsBase::isOscillograph;
        case kOptionSuspended:
            return &StereoControlsBase::isGoPro;
        case kOptionDrawMode:
            break;
    }
    return &StereoControlsBase::isBezier;
}

bool StereoControls::isOn(StereoControlsOption option) const {
    return baseClass.*switchOf(option);
}

void StereoControls::switchOption(StereoControlsOption option, bool isOn) {
    const auto to = delegate.lock();
    if (!to || this->isOn(option) == isOn) return;
    baseClass.*switchOf(option) = isOn;
    to->onStereoControlsOption(option, isOn ? 1.0f : 0.0f);
    setNeedsDisplay();
}

void StereoControls::touchesMoved(const platform::UITouchSet& touches, platform::UIEvent*) {
    const auto to = delegate.lock();
    if (!to) return;
    const CGPoint p = canvasLocation(anyOf(touches));
    // Divided by the scale twice: a larger panel needs longer drags. Deliberate.
    const CGFloat dx = (p.x - startLocation.x) / drawScaleX * scaler;
    const CGFloat dy = (p.y - startLocation.y) / drawScaleY * scaler;
    const float delta = std::clamp(static_cast<float>(dy - dx) * 0.5f / dragRange, -1.0f, 1.0f);
    const CGFloat value = std::clamp(startValue - delta, 0.0, 1.0);
    const auto edit = [&](CGFloat& shown, int address) {
        shown = value;
        to->onStereoControlsParameter(address, static_cast<float>(value));
    };
    if (currentEditingMode == "stereo width") {
        edit(baseClass.stereoWidthNormalized, kStereoWidth);
    } else if (currentEditingMode == "panorama") {
        edit(baseClass.panoramaNormalized, kPanorama);
    } else if (currentEditingMode == "phase shift") {
        edit(baseClass.phaseShiftValue, kPhaseShift);
    }
    setNeedsDisplay();
    sendActions(platform::UIControlEventValueChanged);
}

void StereoControls::touchesEnded(const platform::UITouchSet& touches, platform::UIEvent* event) {
    const auto controller = viewController.lock();
    if (!controller || !delegate.lock()) return;
    touchesMoved(touches, event);
    if (currentEditingMode == "stereo width") baseClass.isStereoWidthActive = false;
    if (currentEditingMode == "panorama") baseClass.isPanoramaActive = false;
    if (currentEditingMode == "phase shift") baseClass.isPhaseShiftActive = false;
    if (currentEditingMode == "reset1") baseClass.isPanoramaResetActive = false;
    if (currentEditingMode == "reset2") baseClass.isStereoWidthResetActive = false;
    currentEditingMode.clear();
    controller->touchesLocked = false;
    setNeedsDisplay();
    // Compares canvas units with points. Deliberate.
    sendActions(bounds().contains(startLocation) ? platform::UIControlEventTouchUpInside
                                                 : platform::UIControlEventTouchUpOutside);
}

void StereoControls::touchesCancelled(const platform::UITouchSet&, platform::UIEvent*) {
    const auto controller = viewController.lock();
    if (!controller) return;
    // The mode and what is drawn as being edited stay until the next touch ends. Deliberate.
    controller->touchesLocked = false;
    setNeedsDisplay();
    sendActions(platform::UIControlEventTouchCancel);
}

}  // namespace qov
