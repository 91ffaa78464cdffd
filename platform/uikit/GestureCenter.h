#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/uikit/UITouch.h"

namespace platform {

class UIGestureRecognizer;

/// Feeds the recognisers of one window and applies the rules between them:
/// - a touch goes to the recognisers of the view that was hit and of all views around it;
/// - of the gestures that share a touch, the first to begin makes the others fail, and a gesture
///   cannot begin while another is under way;
/// - a gesture that requires another to fail is recognised only after it has failed, and fails when
///   the other is recognised;
/// - recognisers are reset when the last touch is up.
class GestureCenter {
 public:
    /// Handles a touch by its phase. Its view is the one that was hit.
    void deliver(const std::shared_ptr<UITouch>& touch);
    /// A pinch that comes as a scale (a trackpad's, or made from a wheel), not as touches.
    /// scale: from the gesture's start. Goes to the innermost pinch recogniser around `hit`.
    void deliverPinch(const std::shared_ptr<UIView>& hit, UITouchPhase phase, CGPoint location,
                      CGFloat scale);
    /// Cancels such a pinch; a no-op if none is under way.
    void cancelPinch();
    /// When timePassed() is due, in seconds on the touches' clock.
    std::optional<double> nextDeadline() const;
    void timePassed(double now);

    /// Whether a recogniser may begin now. For recognisers.
    bool mayBegin(const UIGestureRecognizer& candidate);

 private:
    void settle();

    /// Recognisers with a touch, or pending (a failure to come, a further tap).
    std::vector<std::shared_ptr<UIGestureRecognizer>> players_;
    std::weak_ptr<UIGestureRecognizer> pinch_;
    int touchesDown_ = 0;
};

}  // namespace platform
