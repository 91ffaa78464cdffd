#pragma once

#include <memory>

#include "editor/CorrelographBaseAU.h"
#include "platform/uikit/UIControl.h"

namespace qov {

/// The view of the goniometer. The view controller's timer asks it to draw.
class CorrelographViewAU : public platform::UIControl {
 public:
    using UIControl::UIControl;

    void draw(platform::CGRect rect) override;

    std::weak_ptr<AudioUnitViewController> viewController;
    bool isSuspended = false;  ///< kept for the panel's toggle; the picture goes on
    CorrelographBaseAU baseClass;
};

}  // namespace qov
