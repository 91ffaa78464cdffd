#include "platform/uikit/UIColor.h"

#include "platform/uikit/UIGraphics.h"

namespace platform {

void UIColor::setFill() const {
    if (auto* context = UIGraphicsGetCurrentContext()) context->setFillColor(color_);
}

void UIColor::setStroke() const {
    if (auto* context = UIGraphicsGetCurrentContext()) context->setStrokeColor(color_);
}

void UIColor::set() const {
    setFill();
    setStroke();
}

}  // namespace platform
