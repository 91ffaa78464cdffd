#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "platform/coregraphics/CGGeometry.h"
#include "platform/coregraphics/CGImage.h"

namespace platform {

/// An image and its scale, in pixels a point.
class UIImage {
 public:
    explicit UIImage(std::shared_ptr<const CGImage> image, CGFloat scale = 1)
        : image_(std::move(image)), scale_(scale) {}
    /// Decodes PNG or JPEG data, see CGImage::decode. Any thread.
    static std::shared_ptr<UIImage> imageWithData(std::span<const std::byte> data,
                                                  CGFloat scale = 1, std::string* error = nullptr);

    CGSize size() const { return {image_->width() / scale_, image_->height() / scale_}; }
    CGFloat scale() const { return scale_; }
    const CGImage& cgImage() const { return *image_; }
    /// Draws on the current context; a no-op without one.
    void drawInRect(const CGRect& rect) const;

 private:
    std::shared_ptr<const CGImage> image_;
    CGFloat scale_;
};

}  // namespace platform
