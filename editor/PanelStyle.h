#pragma once

#include "platform/coregraphics/CGColor.h"

namespace qov {

/// The panel's colours for one brightness. Values (screen, slots, knobs) have a dark background at
/// every brightness, so that amber, blue and red have contrast. Ink, which is drawn on the plate
/// itself, stays at a distance from the plate's grey at every brightness.
struct PanelStyle {
    PanelStyle(const platform::CGColor& background, const platform::CGColor& contrast);

    /// The plate at a part of its height, 0 (top) to 1.
    platform::CGColor plate(platform::CGFloat part) const;

    platform::CGFloat plateTop, plateBottom;  ///< greys
    platform::CGColor plateEdge;
    platform::CGColor ink;       ///< text on the plate
    platform::CGColor inkFaint;  ///< scale marks and outlines there
    platform::CGColor ground;    ///< background of screens and slots
    platform::CGColor edge;      ///< around them
    platform::CGColor light;     ///< text and pointers on it
    platform::CGColor lightFaint;
    platform::CGColor knobTop, knobBottom;
};

}  // namespace qov
