#include "platform/uikit/UIControl.h"

#include <utility>

#include "platform/uikit/UITouch.h"

namespace platform {

void UIControl::addTarget(Action action, std::uint32_t events) {
    targets_.push_back({std::move(action), events});
}

void UIControl::sendActions(std::uint32_t forControlEvents) {
    // A target may add to the list.
    const auto targets = targets_;
    for (const auto& target : targets)
        if (target.events & forControlEvents) target.action(*this);
}

void UIControl::setEnabled(bool enabled) {
    if (std::exchange(enabled_, enabled) != enabled) setNeedsDisplay();
}

void UIControl::setHighlighted(bool highlighted) {
    if (std::exchange(highlighted_, highlighted) != highlighted) setNeedsDisplay();
}

void UIControl::touchesBegan(const UITouchSet& touches, UIEvent* /*event*/) {
    if (!enabled_ || touches.empty() || !beginTracking(**touches.begin())) return;
    tracking_ = true;
    setHighlighted(true);
    sendActions(UIControlEventTouchDown);
}

void UIControl::touchesMoved(const UITouchSet& touches, UIEvent* /*event*/) {
    if (!tracking_ || touches.empty()) return;
    auto& touch = **touches.begin();
    setHighlighted(pointInside(touch.location(this)));
    continueTracking(touch);
}

void UIControl::touchesEnded(const UITouchSet& touches, UIEvent* /*event*/) {
    if (!std::exchange(tracking_, false) || touches.empty()) return;
    auto& touch = **touches.begin();
    setHighlighted(false);
    sendActions(pointInside(touch.location(this)) ? UIControlEventTouchUpInside
                                                  : UIControlEventTouchUpOutside);
}

void UIControl::touchesCancelled(const UITouchSet& /*touches*/, UIEvent* /*event*/) {
    if (!std::exchange(tracking_, false)) return;
    setHighlighted(false);
    sendActions(UIControlEventTouchCancel);
}

}  // namespace platform
