#pragma once

#include <memory>

#include "platform/coregraphics/CGGeometry.h"

namespace platform {

class UIView;

/// What a finger does; cancelled: the touch ended without lifting.
enum class UITouchPhase { began, moved, ended, cancelled };

/// One finger, or the mouse with its first button down, from touching to lifting.
/// The window makes and updates it; everyone else reads it. Main thread.
class UITouch {
 public:
    /// view: what was hit at touch-down, which stays the touch's view to its end; null for none.
    UITouch(const std::shared_ptr<UIView>& view, CGPoint windowLocation, double timestamp);

    UITouchPhase phase() const { return phase_; }
    /// Seconds on the run loop's clock of the last change of phase or place.
    double timestamp() const { return timestamp_; }
    std::shared_ptr<UIView> view() const { return view_.lock(); }

    /// Where the touch is in the coordinates of a view, or of the window for null.
    CGPoint location(const UIView* in) const;

    void update(UITouchPhase phase, CGPoint windowLocation, double timestamp);

 private:
    std::weak_ptr<UIView> view_;
    CGPoint location_;
    double timestamp_;
    UITouchPhase phase_ = UITouchPhase::began;
};

}  // namespace platform
