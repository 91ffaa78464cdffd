#pragma once

#include "platform/coregraphics/CGGeometry.h"

namespace qov::hosts {

/// How a window of any size and shape shows the whole panel.
struct PanelFit {
    /// Points of the screen a point of the content, at most 1: the content is never narrower than
    /// the panel's text can be read in.
    platform::CGFloat scale = 1;
    /// For AudioUnitViewController::fitToHeight: the window is flatter than the panel.
    bool fitToHeight = false;
};

/// The fit for a window of that size in points, which must be positive. Any thread.
PanelFit fitPanel(platform::CGSize window);

}  // namespace qov::hosts
