#include "editor/PanelStyle.h"

#include <algorithm>

namespace qov {

using platform::CGColor;
using platform::CGFloat;

namespace {

CGFloat mix(CGFloat from, CGFloat to, CGFloat part) {
    return from + (to - from) * part;
}

/// On a background from this grey on, dark ink has more contrast than light ink.
constexpr CGFloat lightPlate = 0.46;

/// The foreground grey, kept away from the background: lighter on a dark plate, darker on a light
/// one.
CGFloat inkFor(CGFloat background, CGFloat contrast) {
    return background < lightPlate ? std::min(1.0, std::max(contrast, background + 0.5))
                                   : std::max(0.0, std::min(contrast, background - 0.45));
}

}  // namespace

PanelStyle::PanelStyle(const CGColor& background, const CGColor& contrast) {
    const CGFloat b = std::clamp(background.red, 0.0, 1.0);
    const CGFloat printed = inkFor(b, std::clamp(contrast.red, 0.0, 1.0));
    plateTop = mix(b, 1, 0.055);
    plateBottom = mix(b, 0, 0.14);
    plateEdge = CGColor::gray(printed, 0.16);
    ink = CGColor::gray(printed);
    inkFaint = CGColor::gray(printed, 0.5);
    ground = CGColor::gray(mix(0.055, 0.11, b));
    // A dark field needs more of an outline on a dark plate.
    edge = CGColor::gray(mix(0.30, 0.02, std::min(1.0, b * 1.6)));
    light = CGColor::gray(0.86);
    lightFaint = CGColor::gray(0.86, 0.38);
    knobTop = CGColor::gray(mix(0.27, 0.36, b));
    knobBottom = CGColor::gray(mix(0.12, 0.16, b));
}

CGColor PanelStyle::plate(CGFloat part) const {
    return CGColor::gray(mix(plateTop, plateBottom, part));
}

}  // namespace qov
