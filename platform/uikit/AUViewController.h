#pragma once

#include "platform/uikit/UIViewController.h"

namespace platform {

/// The view controller of an audio unit's editor. It draws in the view that the host gives it room
/// for and usually is the unit's factory, too (AUAudioUnitFactory).
class AUViewController : public UIViewController {
 public:
    using UIViewController::UIViewController;
};

}  // namespace platform
