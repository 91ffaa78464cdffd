#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "platform/coregraphics/CGGeometry.h"
#include "platform/coregraphics/CGImage.h"

namespace platform {

/// An image of one pixel a point.
class UIImage {
 public:
    explicit UIImage(std::shared_ptr<const CGImage> image) : image_(std::move(image)) {}
    /// Decodes PNG or JPEG data, see CGImage::decode. Any thread.
    static std::shared_ptr<UIImage> imageWithData(std::span<const std::byte> data);

    CGSize size() const { return {CGFloat(image_->width()), CGFloat(image_->height())}; }
    const CGImage& cgImage() const { return *image_; }
    /// Draws on the current context; a no-op without one.
    void drawInRect(const CGRect& rect) const;

 private:
    std::shared_ptr<const CGImage> image_;
};

}  // namespace platform
