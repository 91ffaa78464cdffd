#pragma once

#include <optional>

#include "platform/coregraphics/CGColor.h"
#include "platform/uikit/UIView.h"

namespace qov::hosts {

/// Highlights the hot area under the mouse. It is a view over the panel, so that the panel itself
/// is drawn as on a touch screen; touches pass through it, and it follows the panel's size.
class HoverView : public platform::UIView {
 public:
    HoverView();

    /// area: in the panel's coordinates; empty hides the view. takesKeys: the area also takes the
    /// arrow keys and the wheel, which a wider outline shows. ink: a colour with contrast to the
    /// plate.
    void mark(const std::optional<platform::CGRect>& area, bool takesKeys,
              const platform::CGColor& ink);

    void draw(platform::CGRect rect) override;

 private:
    bool takesKeys_ = false;
    platform::CGColor ink_;
};

}  // namespace qov::hosts
