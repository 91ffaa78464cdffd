#pragma once

#include <cmath>
#include <optional>

#include "platform/coregraphics/CGGeometry.h"

namespace qov::hosts {

/// Finds the second of two clicks at the same place of the same control, neither of which was a
/// drag. Main thread.
class DoubleClick {
 public:
    static constexpr double longest = 0.4;  // seconds from press to press
    static constexpr platform::CGFloat reach =
        5;  // points from press to press, and of movement in a click

    // now: seconds
    void press(int control, platform::CGPoint at, double now) {
        const bool isSecond = control_ == control && now - pressed_ < longest && isNear(at);
        second_ = isSecond ? control_ : std::nullopt;
        control_ = control;
        pressed_ = now;
        place_ = at;
    }
    void move(platform::CGPoint at) {
        if (!isNear(at)) forget();
    }
    /// The control that has been double-clicked with this release.
    std::optional<int> release() {
        const auto second = second_;
        if (second) forget();
        return second;
    }
    void forget() {
        control_.reset();
        second_.reset();
    }

 private:
    bool isNear(platform::CGPoint at) const {
        return std::hypot(at.x - place_.x, at.y - place_.y) <= reach;
    }

    std::optional<int> control_;  // of the last press
    double pressed_ = 0;
    platform::CGPoint place_;
    std::optional<int> second_;  // of a press that was the second one
};

}  // namespace qov::hosts
