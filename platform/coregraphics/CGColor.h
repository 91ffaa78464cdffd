#pragma once

#include "platform/coregraphics/CGGeometry.h"

namespace platform {

/// Red, green, blue and alpha in 0..1, not premultiplied, in the screen's colour space.
struct CGColor {
    CGFloat red = 0, green = 0, blue = 0, alpha = 1;
    bool operator==(const CGColor&) const = default;

    static constexpr CGColor gray(CGFloat white, CGFloat alpha = 1) {
        return {white, white, white, alpha};
    }
    constexpr CGColor withAlpha(CGFloat a) const { return {red, green, blue, a}; }
};

/// A stop of a gradient; locations in 0..1, ascending.
struct CGGradientStop {
    CGFloat location = 0;
    CGColor color;
};

}  // namespace platform
