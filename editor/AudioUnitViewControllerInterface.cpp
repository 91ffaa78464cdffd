// The editor's interface: the views, their initial frames, and the gestures with their actions.
//
//   root view            pan, pinch, double tap, tap (after the double tap has failed), long press
//   +- pluginFrame       fills the root view
//   +- stereoControls    placed by the controller
//   +- correlographView  above the panel's middle, placed by the controller; ignores touches
//   +- brightnessSlider  along the top, hidden at first
//   +- contrastButton    in the upper right corner, hidden at first
//
// All gestures belong to the root view, so that a double tap anywhere brings back a panel that was
// moved out of sight. Only the pinch receives touches in a hotspot, on the slider or on the button;
// the pan also ignores a touch that begins while touchesLocked is set.

#include <memory>
#include <numbers>

#include "editor/AudioUnitViewController.h"
#include "editor/CorrelographViewAU.h"
#include "editor/PluginFrameEx.h"
#include "editor/StereoControls.h"
#include "editor/panelCanvas.h"
#include "platform/uikit/UIBezierPath.h"
#include "platform/uikit/UIButton.h"
#include "platform/uikit/UILongPressGestureRecognizer.h"
#include "platform/uikit/UIPanGestureRecognizer.h"
#include "platform/uikit/UIPinchGestureRecognizer.h"
#include "platform/uikit/UISlider.h"
#include "platform/uikit/UITapGestureRecognizer.h"
#include "platform/uikit/UITouch.h"

namespace qov {
namespace {

using platform::CGFloat;
using platform::CGRect;
using platform::UIColor;

// Points.
constexpr CGFloat kWidth = panelCanvas.width, kHeight = panelCanvas.height;
constexpr CGFloat kMargin = 6;
constexpr CGFloat kButtonSide = 32;

/// A half-filled disc, the sign for contrast.
class ContrastButton : public platform::UIButton {
 public:
    using UIButton::UIButton;

    void draw(CGRect rect) override {
        const auto center = rect.center();
        const CGFloat radius = rect.width() / 2 - 4;
        const auto disc = [&](CGFloat r) {
            return platform::UIBezierPath::ovalInRect({center.x - r, center.y - r, 2 * r, 2 * r});
        };
        UIColor(isHighlighted() ? 0.4 : 0.1, 0.85).setFill();
        disc(radius).fill();
        UIColor(0.9, 1).set();
        auto half = platform::UIBezierPath::arc(center, radius - 4, -std::numbers::pi / 2,
                                                std::numbers::pi / 2, true);
        half.closePath();
        half.fill();
        auto ring = disc(radius - 4);
        ring.lineWidth = 1.5;
        ring.stroke();
    }
};

/// Draws a background in the button's colour, for contrast with the panel under it.
class BrightnessSlider : public platform::UISlider {
 public:
    using UISlider::UISlider;

    void draw(CGRect rect) override {
        UIColor(0.1, 0.85).setFill();
        platform::UIBezierPath::roundedRect(rect.insetBy(0, 4), rect.height() / 2 - 4).fill();
        UISlider::draw(rect);
    }
};

/// Calls a method of the controller with the sender; a no-op once the controller is destroyed.
template <class Sender, class Base>
std::function<void(Base&)> action(const std::weak_ptr<AudioUnitViewController>& target,
                                  void (AudioUnitViewController::*method)(Sender&)) {
    return [target, method](Base& sender) {
        if (const auto controller = target.lock())
            (controller.get()->*method)(static_cast<Sender&>(sender));
    };
}

}  // namespace

void AudioUnitViewController::loadView() {
    using namespace platform;
    const std::weak_ptr self(strongSelf());
    constexpr auto kFill = UIViewAutoresizingFlexibleWidth | UIViewAutoresizingFlexibleHeight;
    const CGRect whole(0, 0, kWidth, kHeight);
    auto root = std::make_shared<UIView>(whole);

    pluginFrame = std::make_shared<PluginFrameEx>(NSCoder{whole});
    pluginFrame->setAutoresizingMask(kFill);
    stereoControls = std::make_shared<StereoControls>(NSCoder{whole});
    correlographView = std::make_shared<CorrelographViewAU>(NSCoder{whole.insetBy(200, 90)});
    // Its margins are points, not canvas units: on a large panel it covers controls.
    correlographView->setUserInteractionEnabled(false);

    contrastButton = std::make_shared<ContrastButton>(
        CGRect(kWidth - kMargin - kButtonSide, kMargin, kButtonSide, kButtonSide));
    contrastButton->setAutoresizingMask(UIViewAutoresizingFlexibleLeftMargin);
    contrastButton->setHidden(true);
    contrastButton->addTarget(
        action<UIButton, UIControl>(self, &AudioUnitViewController::onContrastButton),
        UIControlEventTouchUpInside);

    brightnessSlider = std::make_shared<BrightnessSlider>(
        CGRect(kMargin, kMargin, kWidth - 3 * kMargin - kButtonSide, kButtonSide));
    brightnessSlider->setAutoresizingMask(UIViewAutoresizingFlexibleWidth);
    brightnessSlider->setMinimumValue(0);
    brightnessSlider->setMaximumValue(1);
    brightnessSlider->setValue(0.25F);
    brightnessSlider->setHidden(true);
    brightnessSlider->addTarget(
        action<UISlider, UIControl>(self, &AudioUnitViewController::onBrightnessSlider),
        UIControlEventValueChanged);

    for (const std::shared_ptr<UIView>& view : std::initializer_list<std::shared_ptr<UIView>>{
             pluginFrame, stereoControls, correlographView, brightnessSlider, contrastButton})
        root->addSubview(view);
    addGestures(*root);
    setView(std::move(root));
}

void AudioUnitViewController::addGestures(platform::UIView& root) {
    using namespace platform;
    const std::weak_ptr self(strongSelf());
    const auto isBesideControls = [self](const UITouch& touch) {
        const auto controller = self.lock();
        if (!controller) return true;
        const auto view = touch.view();
        if (view == controller->contrastButton || view == controller->brightnessSlider)
            return false;
        const auto& panel = controller->stereoControls;
        return view != panel || !panel->isInHotspot(touch);
    };
    const auto add = [&]<class Gesture>(std::shared_ptr<Gesture>& outlet,
                                        void (AudioUnitViewController::*method)(Gesture&)) {
        outlet = std::make_shared<Gesture>();
        outlet->addTarget(action<Gesture, UIGestureRecognizer>(self, method));
        outlet->shouldReceive = isBesideControls;
        root.addGestureRecognizer(outlet);
    };
    add(panGesture, &AudioUnitViewController::onPanGesture);
    add(pinchGesture, &AudioUnitViewController::onPinchGesture);
    add(doubleTapGesture, &AudioUnitViewController::onDoubleTapGesture);
    add(tapGesture, &AudioUnitViewController::onTapGesture);
    add(longPressGesture, &AudioUnitViewController::onlongPressGesture);
    pinchGesture->shouldReceive = {};
    doubleTapGesture->setNumberOfTapsRequired(2);
    tapGesture->require(doubleTapGesture);
    // The panel clears the lock when a touch begins outside its hotspots, which is after this.
    panGesture->shouldReceive = [self, isBesideControls](const UITouch& touch) {
        const auto controller = self.lock();
        return isBesideControls(touch) && !(controller && controller->touchesLocked);
    };
}

}  // namespace qov
