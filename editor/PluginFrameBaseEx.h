#pragma once

#include "editor/ResizingBehavior.h"
#include "platform/uikit/UIColor.h"

namespace qov {

/// Draws the editor's background: a rounded panel in one grey. Main thread.
class PluginFrameBaseEx {
 public:
    using ResizingBehavior = ResizingBehaviorOf<PluginFrameBaseEx>;
    static void keepDrawScale(platform::CGSize /*scale*/) {}

    /// On the current context; without one nothing is drawn.
    void draw(const platform::CGRect& frame, ResizingBehavior resizing) const;

 private:
    friend class PluginFrameEx;
    platform::CGFloat contrast = 0.25;  ///< 0 black .. 1 white
    platform::UIColor mainColor = platform::UIColor::lightGray();
};

}  // namespace qov
