#pragma once

#include "platform/uikit/UIView.h"

namespace qov::hosts {

/// Prepares a view that marks a place of the panel: touches pass through it, it is hidden until it
/// has a place, and that place grows with the window. Main thread.
inline void layOver(platform::UIView& view) {
    view.setUserInteractionEnabled(false);
    view.setHidden(true);
    view.setAutoresizingMask(
        platform::UIViewAutoresizingFlexibleLeftMargin | platform::UIViewAutoresizingFlexibleWidth |
        platform::UIViewAutoresizingFlexibleRightMargin |
        platform::UIViewAutoresizingFlexibleTopMargin | platform::UIViewAutoresizingFlexibleHeight |
        platform::UIViewAutoresizingFlexibleBottomMargin);
}

}  // namespace qov::hosts
