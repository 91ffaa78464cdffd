#pragma once

#include "editor/PluginFrameBaseEx.h"
#include "platform/uikit/UIControl.h"

namespace qov {

/// The editor's background view.
class PluginFrameEx : public platform::UIControl {
 public:
    using UIControl::UIControl;

    void draw(platform::CGRect rect) override;

    float contrast = 0.25f;  ///< 0 black .. 1 white; shown by the next redraw
    platform::UIColor mainColor = platform::UIColor::lightGray();

 private:
    PluginFrameBaseEx baseClass;
};

}  // namespace qov
