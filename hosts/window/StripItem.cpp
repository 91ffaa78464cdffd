#include "hosts/window/StripItem.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "editor/panelDrawing.h"
#include "platform/uikit/UIGraphics.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIWindow.h"

namespace qov::hosts {

using platform::CGColor;
using platform::CGContext;
using platform::CGFloat;
using platform::CGPath;
using platform::CGRect;
using platform::UITouchSet;

namespace {

constexpr CGColor clipRed{1, 0.16, 0.12, 1};
constexpr CGFloat textSize = 12;

bool isInside(const platform::UIView& view, const UITouchSet& touches) {
    return view.bounds().contains((*touches.begin())->location(&view));
}

}  // namespace

void StripItem::layOut(CGFloat scale, CGFloat left) {
    setFrame({left + place_.minX() * scale, place_.minY() * scale, place_.width() * scale,
              place_.height() * scale});
}

void StripItem::setStyle(const PanelStyle& style) {
    style_ = style;
    setNeedsDisplay();
}

CGFloat StripItem::pixel() const {
    const auto* const shownIn = window();
    const CGFloat pixels = bounds().width() * (shownIn ? shownIn->scale() : 1);
    return pixels > 0 ? place_.width() / pixels : 1;
}

void StripItem::draw(CGRect rect) {
    auto* context = platform::UIGraphicsGetCurrentContext();
    if (!context || place_.isEmpty()) return;
    context->saveGState();
    context->scaleBy(rect.width() / place_.width(), rect.height() / place_.height());
    paint(*context, {{}, place_.size});
    context->restoreGState();
}

// Button

StripButton::StripButton(const CGRect& place, Ground ground, std::function<void()> onPress,
                         Paint paint)
    : StripItem(place), ground_(ground), onPress_(std::move(onPress)), paint_(std::move(paint)) {}

void StripButton::setState(const State& state) {
    if (state == state_) return;
    state_ = state;
    setNeedsDisplay();
}

void StripButton::press() const {
    if (state_.isEnabled) onPress_();
}

void StripButton::setPressed(bool isPressed) {
    auto state = state_;
    state.isPressed = isPressed && state.isEnabled;
    setState(state);
}

void StripButton::touchesBegan(const UITouchSet&, platform::UIEvent*) {
    setPressed(true);
}

void StripButton::touchesMoved(const UITouchSet& touches, platform::UIEvent*) {
    setPressed(isInside(*this, touches));
}

void StripButton::touchesEnded(const UITouchSet& touches, platform::UIEvent*) {
    setPressed(false);
    if (isInside(*this, touches)) press();
}

void StripButton::touchesCancelled(const UITouchSet&, platform::UIEvent*) {
    setPressed(false);
}

void StripButton::paint(CGContext& context, const CGRect& bounds) {
    const auto box = bounds.insetBy(1.5, 1.5);
    const bool isLit = state_.isOn || state_.isPressed;
    const auto edge = isLit ? emphasisColor : style().edge;
    if (ground_ == Ground::raised) drawButton(context, style(), box, isLit, edge);
    if (ground_ == Ground::slot) drawSlot(context, style(), box, 4, edge);
    const auto plain = ground_ == Ground::bare ? style().ink : style().light;
    const auto color =
        isLit ? emphasisColor : plain.withAlpha(state_.isEnabled ? plain.alpha : 0.3);
    if (paint_) {
        paint_(context, box, color);
    } else {
        PanelText text{state_.text, boldFace, textSize, box};
        text.box.origin.x += (box.width() - text.width()) / 2;
        text.draw(context, color);
    }
    if (state_.isFocused)
        stroke(context, CGPath::roundedRect(bounds.insetBy(1, 1), 5), emphasisColor, 2);
}

// Figures

StripText::StripText(const CGRect& place, bool hasLamp) : StripItem(place), hasLamp_(hasLamp) {
    setUserInteractionEnabled(false);
}

void StripText::show(const std::string& text) {
    if (text == text_) return;
    text_ = text;
    setNeedsDisplay();
}

void StripText::light(bool isLit) {
    if (isLit == isLit_) return;
    isLit_ = isLit;
    setNeedsDisplay();
}

void StripText::paint(CGContext& context, const CGRect& bounds) {
    PanelText{text_, boldFace, textSize, bounds}.draw(context, style().light);
    if (!hasLamp_) return;
    constexpr CGFloat radius = 3.5;
    const CGRect lamp{bounds.maxX() - 2 * radius - 1, bounds.midY() - radius, 2 * radius,
                      2 * radius};
    fill(context, CGPath::ellipse(lamp), isLit_ ? clipRed : CGColor::gray(0.86, 0.14));
}

StripBar::StripBar(const CGRect& place, const Scale& scale) : StripItem(place), scale_(scale) {
    setUserInteractionEnabled(false);
}

std::optional<CGFloat> StripBar::placeOf(double value) const {
    if (std::isnan(value)) return std::nullopt;
    const double part = (value - scale_.first) / (scale_.last - scale_.first);
    const double reach = place().width() - 4;
    return 2 + std::round(std::clamp(part, 0.0, 1.0) * reach / pixel()) * pixel();
}

void StripBar::show(double value, double mark) {
    const auto shown = placeOf(value), marked = placeOf(mark);
    if (shown == value_ && marked == mark_) return;
    value_ = shown;
    mark_ = marked;
    setNeedsDisplay();
}

void StripBar::drawScale(CGContext& context, const CGColor& color) const {
    const auto marks = std::lround((scale_.last - scale_.first) / scale_.step);
    const CGFloat y = place().minY();
    for (long mark = 0; mark <= marks; ++mark) {
        const double value = scale_.first + static_cast<double>(mark) * scale_.step;
        const auto x = place().minX() + *placeOf(value);
        stroke(context, line({x, y - (value == scale_.zero ? 1 : -0.5)}, {x, y + 2}), color, 1,
               platform::CGLineCap::butt);
    }
}

/// Of rectangles alone, as it is drawn with every look at the meter.
void StripBar::paint(CGContext& context, const CGRect& bounds) {
    constexpr CGFloat top = 3, thickness = 3;
    context.setFillColor(CGColor::gray(0.86, 0.14));
    context.fillRect({0.5, top, bounds.width() - 1, thickness});
    const CGFloat zero = *placeOf(scale_.zero);
    if (value_) {
        context.setFillColor(emphasisColor);
        context.fillRect(CGRect(zero, top, *value_ - zero, thickness).standardized());
    }
    if (mark_) {
        context.setFillColor(style().light);
        context.fillRect({*mark_ - 1, 0, 2, bounds.height()});
    }
}

}  // namespace qov::hosts
