#include "platform/uikit/UIImageView.h"

#include <utility>

#include "platform/uikit/UIImage.h"

namespace platform {

UIImageView::UIImageView(CGRect frame) : UIView(frame) {
    setUserInteractionEnabled(false);
}

void UIImageView::setImage(std::shared_ptr<UIImage> image) {
    image_ = std::move(image);
    setNeedsDisplay();
}

void UIImageView::draw(CGRect rect) {
    if (image_) image_->drawInRect(rect);
}

}  // namespace platform
