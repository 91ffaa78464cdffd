#include "platform/uikit/UISlider.h"

#include <algorithm>
#include <cmath>

#include "platform/uikit/UIGraphics.h"
#include "platform/uikit/UILongPressGestureRecognizer.h"
#include "platform/uikit/UIPanGestureRecognizer.h"
#include "platform/uikit/UITouch.h"

namespace platform {
namespace {

constexpr CGFloat kThumbRadius = 10;
constexpr CGFloat kThumbReach = 22;  // how far from its centre a finger still takes the thumb
constexpr CGFloat kTrackHeight = 4;
constexpr CGColor kTint{1, 0.737, 0.155};  // of the track up to the thumb

}  // namespace

void UISlider::setValue(float value) {
    // NaN becomes the minimum.
    const float held = value > minimum_ ? std::min(value, maximum_) : minimum_;
    if (held == value_) return;
    value_ = held;
    setNeedsDisplay();
}

void UISlider::setMinimumValue(float minimum) {
    minimum_ = minimum;
    maximum_ = std::max(maximum_, minimum);
    setNeedsDisplay();
    setValue(value_);
}

void UISlider::setMaximumValue(float maximum) {
    maximum_ = maximum;
    minimum_ = std::min(minimum_, maximum);
    setNeedsDisplay();
    setValue(value_);
}

CGFloat UISlider::thumbCenter() const {
    const CGFloat travel = std::max<CGFloat>(0, bounds().size.width - 2 * kThumbRadius);
    const CGFloat part =
        maximum_ > minimum_ ? (CGFloat{value_} - minimum_) / (CGFloat{maximum_} - minimum_) : 0;
    return kThumbRadius + travel * part;
}

void UISlider::takeFrom(CGFloat x) {
    const CGFloat travel = bounds().size.width - 2 * kThumbRadius;
    if (travel <= 0) return;
    const CGFloat part = std::clamp<CGFloat>((x - grip_ - kThumbRadius) / travel, 0, 1);
    const float before = value_;
    setValue(static_cast<float>(minimum_ + part * (CGFloat{maximum_} - minimum_)));
    if (value_ != before) sendActions(UIControlEventValueChanged);
}

bool UISlider::beginTracking(UITouch& touch) {
    const auto x = touch.location(this).x;
    grip_ = x - thumbCenter();
    if (std::abs(grip_) > kThumbReach) grip_ = 0;
    takeFrom(x);
    return true;
}

void UISlider::continueTracking(UITouch& touch) {
    takeFrom(touch.location(this).x);
}

bool UISlider::gestureRecognizerShouldBegin(const UIGestureRecognizer& recognizer) {
    // A thumb that rests under the finger is held, not pressed.
    return !dynamic_cast<const UIPanGestureRecognizer*>(&recognizer) &&
           !dynamic_cast<const UILongPressGestureRecognizer*>(&recognizer);
}

void UISlider::draw(CGRect rect) {
    auto* context = UIGraphicsGetCurrentContext();
    if (!context) return;
    const CGFloat middle = rect.midY(), thumb = thumbCenter();
    const CGRect track(kThumbRadius / 2, middle - kTrackHeight / 2,
                       std::max<CGFloat>(0, rect.width() - kThumbRadius), kTrackHeight);
    const auto fillTrack = [&](const CGRect& part, const CGColor& color) {
        context->setFillColor(color);
        context->addPath(CGPath::roundedRect(part, kTrackHeight / 2));
        context->fillPath();
    };
    fillTrack(track, CGColor::gray(0, 0.55));
    fillTrack(track.insetBy(1, 1), CGColor::gray(0.5, 0.6));
    fillTrack({track.minX(), track.minY(), thumb - track.minX(), kTrackHeight}, kTint);

    const auto disc = [&](CGFloat radius, CGFloat drop) {
        context->fillEllipse({thumb - radius, middle - radius + drop, 2 * radius, 2 * radius});
    };
    context->setFillColor(CGColor::gray(0, 0.35));
    disc(kThumbRadius, 1);
    context->setFillColor(CGColor::gray(isHighlighted() ? 1 : 0.9));
    disc(kThumbRadius - 0.5, 0);
    context->setFillColor(CGColor::gray(0.72));
    disc(3, 0);
}

}  // namespace platform
