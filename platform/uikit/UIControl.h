#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/uikit/UIView.h"

namespace platform {

/// Bits.
enum UIControlEvents : std::uint32_t {
    UIControlEventTouchDown = 1,
    UIControlEventTouchUpInside = 64,
    UIControlEventTouchUpOutside = 128,
    UIControlEventTouchCancel = 256,
    UIControlEventValueChanged = 4096,
};

/// A view that notifies its targets of what is done to it.
class UIControl : public UIView {
 public:
    using UIView::UIView;
    using Action = std::function<void(UIControl& sender)>;

    /// events: one or several of UIControlEvents.
    void addTarget(Action action, std::uint32_t events);
    /// Calls the targets of these events.
    void sendActions(std::uint32_t forControlEvents);

    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled);
    /// A touch that began here is down, and at this moment inside.
    bool isHighlighted() const { return highlighted_; }
    void setHighlighted(bool highlighted);

    // Tracking; false from beginTracking() declines the touch.
    virtual bool beginTracking(UITouch& /*touch*/) { return true; }
    virtual void continueTracking(UITouch& /*touch*/) {}

    void touchesBegan(const UITouchSet& touches, UIEvent* event) override;
    void touchesMoved(const UITouchSet& touches, UIEvent* event) override;
    void touchesEnded(const UITouchSet& touches, UIEvent* event) override;
    void touchesCancelled(const UITouchSet& touches, UIEvent* event) override;

 private:
    struct Target {
        Action action;
        std::uint32_t events;
    };
    std::vector<Target> targets_;
    bool enabled_ = true;
    bool highlighted_ = false;
    bool tracking_ = false;
};

}  // namespace platform
