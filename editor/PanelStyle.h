#pragma once

#include "platform/coregraphics/CGColor.h"

namespace qov {

/// The panel's colours for one brightness. Everything that carries a value lies on a dark ground (a
/// screen, a slot, a knob), so amber, blue and red read at every brightness; what is printed on the
/// plate itself is kept away from the plate's grey even where foreground and background meet.
struct PanelStyle {
    PanelStyle(const platform::CGColor& background, const platform::CGColor& contrast);

    /// The plate at a part of its height, 0 (top) to 1.
    platform::CGColor plate(platform::CGFloat part) const;

    platform::CGFloat plateTop, plateBottom;  ///< greys
    platform::CGColor plateEdge;
    platform::CGColor ink;       ///< printed on the plate
    platform::CGColor inkFaint;  ///< scale marks and outlines there
    platform::CGColor ground;    ///< of screens and slots
    platform::CGColor edge;      ///< around them
    platform::CGColor light;     ///< text and pointers on the dark ground
    platform::CGColor lightFaint;
    platform::CGColor knobTop, knobBottom;
};

}  // namespace qov
