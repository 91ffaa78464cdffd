#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "platform/coregraphics/CGGeometry.h"
#include "platform/coregraphics/CGImage.h"

namespace platform {

/// A picture in points: its pixels and how many of them make a point.
class UIImage {
 public:
    explicit UIImage(std::shared_ptr<const CGImage> image, CGFloat scale = 1)
        : image_(std::move(image)), scale_(scale) {}
    /// PNG or JPEG. Null with a reason in error (where given) if the bytes are no picture.
    /// May be called on any thread.
    static std::shared_ptr<UIImage> imageWithData(std::span<const std::byte> data,
                                                  CGFloat scale = 1, std::string* error = nullptr);

    CGSize size() const { return {image_->width() / scale_, image_->height() / scale_}; }
    CGFloat scale() const { return scale_; }
    const CGImage& cgImage() const { return *image_; }
    /// On the current context; without one nothing happens.
    void drawInRect(const CGRect& rect) const;

 private:
    std::shared_ptr<const CGImage> image_;
    CGFloat scale_;
};

}  // namespace platform
