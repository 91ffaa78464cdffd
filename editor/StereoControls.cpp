#include "editor/StereoControls.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

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

/// What a touch in a hot area edits.
struct StereoControls::Control {
    enum class Kind { drag, reset, toggle, option };
    std::string_view mode;
    Kind kind;
    int target;  // a parameter's address or an option
    CGFloat StereoControlsBase::*value;
    bool StereoControlsBase::*isActive;
    bool StereoControlsBase::*isOn;

    /// Whether the value of its parameter is drawn here.
    constexpr bool showsParameter() const { return kind == Kind::drag || kind == Kind::toggle; }
    static const Control* of(std::string_view mode);
    static const Control table[];
};

using Base = StereoControlsBase;

// The bypass has no row: only touches change its switch.
constexpr StereoControls::Control StereoControls::Control::table[] = {
    {"stereo width", Kind::drag, kStereoWidth, &Base::stereoWidthNormalized,
     &Base::isStereoWidthActive, nullptr},
    {"panorama", Kind::drag, kPanorama, &Base::panoramaNormalized, &Base::isPanoramaActive,
     nullptr},
    {"phase shift", Kind::drag, kPhaseShift, &Base::phaseShiftValue, &Base::isPhaseShiftActive,
     nullptr},
    {"reset1", Kind::reset, kPanorama, nullptr, &Base::isPanoramaResetActive, nullptr},
    {"reset2", Kind::reset, kStereoWidth, nullptr, &Base::isStereoWidthResetActive, nullptr},
    {"swap channels", Kind::toggle, kSwapChannels, nullptr, nullptr, &Base::isSwapOn},
    {"invert channel", Kind::toggle, kInvertChannel, nullptr, nullptr, &Base::isInvert},
    {"recover mono", Kind::toggle, kRecoverMono, nullptr, nullptr, &Base::isRecover},
    {"test mono", Kind::toggle, kTestMono, nullptr, nullptr, &Base::isMonoOn},
    {"graph normalized", Kind::option, kOptionNormalized, nullptr, nullptr, &Base::isNormalized},
    {"bezier", Kind::option, kOptionDrawMode, nullptr, nullptr, &Base::isBezier},
    {"show oscillograph", Kind::option, kOptionOscillograph, nullptr, nullptr,
     &Base::isOscillograph},
    {"go pro", Kind::option, kOptionSuspended, nullptr, nullptr, &Base::isGoPro},
};

const StereoControls::Control* StereoControls::Control::of(std::string_view mode) {
    static_assert(std::count_if(std::begin(table), std::end(table),
                                [](const Control& each) { return each.showsParameter(); }) +
                          1 ==
                      parameterCount,
                  "the panel has a row for each parameter but the bypass");
    const auto* row = std::find_if(std::begin(table), std::end(table),
                                   [&](const Control& each) { return each.mode == mode; });
    return row == std::end(table) ? nullptr : row;
}

void StereoControls::draw(platform::CGRect rect) {
    baseClass.viewController = viewController;
    baseClass.drawControls(rect, StereoControlsBase::ResizingBehavior::aspectFit);
}

void StereoControls::updateParameter(int address, float value) {
    for (const Control& row : Control::table) {
        if (!row.showsParameter() || row.target != address) continue;
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
    const auto* control = Control::of(currentEditingMode);
    if (!control) return;
    if (control->isActive) baseClass.*control->isActive = true;
    switch (control->kind) {
        case Control::Kind::drag:
            startValue = baseClass.*control->value;
            break;
        case Control::Kind::reset:
            to.onStereoControlsParameter(control->target, 0.5f);
            break;
        case Control::Kind::toggle: {
            bool& isOn = baseClass.*control->isOn;
            isOn = !isOn;
            to.onStereoControlsParameter(control->target, isOn ? 1.0f : 0.0f);
            break;
        }
        case Control::Kind::option: {
            const auto option = static_cast<StereoControlsOption>(control->target);
            switchOption(option, !isOn(option));
            if (option == kOptionSuspended)
                to.onStereoControlsParameter(kBypass, baseClass.isGoPro ? 1.0f : 0.0f);
            break;
        }
    }
}

bool StereoControlsBase::*StereoControls::switchOf(StereoControlsOption option) {
    const auto* row = std::find_if(
        std::begin(Control::table), std::end(Control::table), [&](const Control& control) {
            return control.kind == Control::Kind::option && control.target == option;
        });
    return row->isOn;
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
    const auto* control = Control::of(currentEditingMode);
    if (control && control->kind == Control::Kind::drag) {
        baseClass.*control->value = value;
        to->onStereoControlsParameter(control->target, static_cast<float>(value));
    }
    setNeedsDisplay();
    sendActions(platform::UIControlEventValueChanged);
}

void StereoControls::touchesEnded(const platform::UITouchSet& touches, platform::UIEvent* event) {
    const auto controller = viewController.lock();
    if (!controller || !delegate.lock()) return;
    touchesMoved(touches, event);
    const auto* control = Control::of(currentEditingMode);
    if (control && control->isActive) baseClass.*control->isActive = false;
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
