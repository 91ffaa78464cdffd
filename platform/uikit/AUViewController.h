#pragma once

#include "platform/uikit/UIViewController.h"

namespace platform {

/// The view controller of an audio unit's editor. Its view is placed by the host, and it usually
/// is the unit's factory as well (AUAudioUnitFactory).
class AUViewController : public UIViewController {
 public:
    using UIViewController::UIViewController;
};

}  // namespace platform
