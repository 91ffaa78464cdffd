#pragma once

#include "platform/coregraphics/CGColor.h"

namespace qov {

/// The panel's colours for one brightness. Values (screen, slots, knobs) have a dark ground at
/// every brightness, so amber, blue and red have contrast on it; ink, which is drawn on the plate
/// itself, keeps a distance from the plate's grey where foreground and background are about the
/// same.
struct PanelStyle {
    PanelStyle(const platform::CGColor& background, const platform::CGColor& contrast);

    /// The plate at a part of its height, 0 (top) to 1.
    platform::CGColor plate(platform::CGFloat part) const;

    platform::CGFloat plateTop, plateBottom;  ///< greys
    platform::CGColor plateEdge;
    platform::CGColor ink;       ///< text on the plate
    platform::CGColor inkFaint;  ///< scale marks and outlines there
    platform::CGColor ground;    ///< of screens and slots
    platform::CGColor edge;      ///< around them
    platform::CGColor light;     ///< text and pointers on the dark ground
    platform::CGColor lightFaint;
    platform::CGColor knobTop, knobBottom;
};

}  // namespace qov
