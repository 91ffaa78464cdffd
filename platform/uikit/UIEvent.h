#pragma once

#include <utility>

#include "platform/uikit/UIResponder.h"

namespace platform {

/// One moment of a window's touches.
class UIEvent {
 public:
    UIEvent(UITouchSet touches, double time) : allTouches_(std::move(touches)), timestamp_(time) {}

    /// Every touch that is down in the window, those that have just ended included.
    const UITouchSet& allTouches() const { return allTouches_; }
    /// Seconds on the run loop's clock.
    double timestamp() const { return timestamp_; }

 private:
    UITouchSet allTouches_;
    double timestamp_;
};

}  // namespace platform
