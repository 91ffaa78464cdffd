#pragma once

#include "platform/uikit/UIView.h"

namespace qov::hosts {

/// Prepares a view that marks an area of the panel: touches pass through it, it is hidden at first,
/// and it is scaled with its superview. Main thread.
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
