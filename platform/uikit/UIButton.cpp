#include "platform/uikit/UIButton.h"

#include "platform/uikit/UITapGestureRecognizer.h"

namespace platform {

bool UIButton::gestureRecognizerShouldBegin(const UIGestureRecognizer& recognizer) {
    return !dynamic_cast<const UITapGestureRecognizer*>(&recognizer);
}

}  // namespace platform
