#pragma once

#include "platform/coregraphics/CGGeometry.h"

namespace qov::hosts {

/// How a window of any size and shape shows the whole panel, and a footer below it.
struct PanelFit {
    /// Points of the screen a point of the content, at most 1: the content is never narrower than
    /// the panel's text can be read in.
    platform::CGFloat scale = 1;
    /// For AudioUnitViewController::fitToHeight: the place for the panel is flatter than it.
    bool fitToHeight = false;
    /// The footer's height, in points of the content.
    platform::CGFloat footer = 0;
};

/// The fit for a window of that size in points, which must be positive. footer: its height on the
/// panel's canvas. Any thread.
PanelFit fitPanel(platform::CGSize window, platform::CGFloat footer = 0);

/// The window in which the panel has that place, with a footer below it, in points.
platform::CGSize withFooter(platform::CGSize panel, platform::CGFloat footer);
/// The panel's place in such a window.
platform::CGSize withoutFooter(platform::CGSize window, platform::CGFloat footer);

}  // namespace qov::hosts
