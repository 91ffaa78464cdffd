#pragma once

#include <optional>

#include "platform/coregraphics/CGColor.h"
#include "platform/uikit/UIView.h"

namespace qov::hosts {

/// Lies on the panel and marks the hot area under the mouse, so that the panel itself stays as a
/// finger sees it. Touches go through it, and it follows the panel's size.
class HoverView : public platform::UIView {
 public:
    HoverView();

    /// area: in the panel's coordinates, none to mark nothing. takesKeys: it also has the arrow
    /// keys and the wheel; its outline is then wider. ink: a colour that stands out from the
    /// panel.
    void mark(const std::optional<platform::CGRect>& area, bool takesKeys,
              const platform::CGColor& ink);

    void draw(platform::CGRect rect) override;

 private:
    bool takesKeys_ = false;
    platform::CGColor ink_;
};

}  // namespace qov::hosts
