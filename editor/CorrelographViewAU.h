#pragma once

#include <memory>

#include "editor/CorrelographBaseAU.h"
#include "platform/uikit/UIControl.h"

namespace qov {

/// The goniometer's view, redrawn by the view controller's timer.
class CorrelographViewAU : public platform::UIControl {
 public:
    using UIControl::UIControl;

    void draw(platform::CGRect rect) override;

    std::weak_ptr<AudioUnitViewController> viewController;
    bool isSuspended = false;  ///< set by the panel's toggle; drawing continues
    CorrelographBaseAU baseClass;
};

}  // namespace qov
