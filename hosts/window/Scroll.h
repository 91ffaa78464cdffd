#pragma once

#include <cmath>
#include <optional>

#include "platform/coregraphics/CGGeometry.h"

namespace qov::hosts {

/// Keeps the target of a scroll: its first step selects it, and further steps have the same target
/// until the pointer moves or the scroll pauses. So a zoom that moves a control under the pointer
/// does not turn that control. Main thread.
class Scroll {
 public:
    static constexpr double pause = 0.4;           // seconds
    static constexpr platform::CGFloat reach = 3;  // points

    /// The address of the control that a step turns; empty for the panel's zoom. now: seconds.
    /// decide() returns the target of a new scroll.
    template <class Decide>
    std::optional<int> target(platform::CGPoint at, double now, Decide&& decide) {
        const bool goesOn =
            last_ && now - *last_ < pause && std::hypot(at.x - start_.x, at.y - start_.y) <= reach;
        last_ = now;
        if (!goesOn) {
            start_ = at;
            target_ = decide();
        }
        return target_;
    }

 private:
    std::optional<double> last_;  // time of the last step
    platform::CGPoint start_;
    std::optional<int> target_;
};

}  // namespace qov::hosts
