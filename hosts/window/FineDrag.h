#pragma once

#include "platform/coregraphics/CGGeometry.h"

namespace qov::hosts {

/// Scales the movement of a drag down while it is fine. A drag may change between fine and usual;
/// the resulting point never jumps. Main thread.
class FineDrag {
 public:
    static constexpr platform::CGFloat finePart = 0.1;  // of the usual movement

    void begin(platform::CGPoint at) { real_ = scaled_ = at; }
    /// The point to deliver to the panel.
    platform::CGPoint move(platform::CGPoint at, bool isFine) {
        const platform::CGFloat part = isFine ? finePart : 1;
        scaled_ = {scaled_.x + (at.x - real_.x) * part, scaled_.y + (at.y - real_.y) * part};
        real_ = at;
        return scaled_;
    }

 private:
    platform::CGPoint real_, scaled_;
};

}  // namespace qov::hosts
