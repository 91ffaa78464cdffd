#include "platform/uikit/UIImage.h"

#include "platform/uikit/UIGraphics.h"

namespace platform {

std::shared_ptr<UIImage> UIImage::imageWithData(std::span<const std::byte> data, CGFloat scale,
                                                std::string* error) {
    auto image = CGImage::decode(data, error);
    return image ? std::make_shared<UIImage>(std::move(image), scale) : nullptr;
}

void UIImage::drawInRect(const CGRect& rect) const {
    if (auto* context = UIGraphicsGetCurrentContext()) context->drawImage(*image_, rect);
}

}  // namespace platform
