#include "platform/uikit/UIImage.h"

#include "platform/uikit/UIGraphics.h"

namespace platform {

std::shared_ptr<UIImage> UIImage::imageWithData(std::span<const std::byte> data) {
    auto image = CGImage::decode(data);
    return image ? std::make_shared<UIImage>(std::move(image)) : nullptr;
}

void UIImage::drawInRect(const CGRect& rect) const {
    if (auto* context = UIGraphicsGetCurrentContext()) context->drawImage(*image_, rect);
}

}  // namespace platform
