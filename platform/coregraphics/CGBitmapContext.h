#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "platform/coregraphics/CGContext.h"
#include "platform/coregraphics/CGImage.h"

namespace platform {

/// A context that draws into memory. User space is in points: scale pixels each, origin upper left.
/// Starts transparent.
class CGBitmapContext : public CGContext {
 public:
    virtual int pixelWidth() const = 0;
    virtual int pixelHeight() const = 0;
    virtual CGFloat scale() const = 0;
    CGSize size() const { return {pixelWidth() / scale(), pixelHeight() / scale()}; }
    /// pixelWidth * pixelHeight words as in CGImage; valid until something more is drawn.
    virtual std::span<const std::uint32_t> pixels() const = 0;
    /// A copy of what has been drawn so far.
    std::shared_ptr<const CGImage> makeImage() const;
};

/// Dimensions in pixels, 1..32767 each; null where the memory is not there.
std::unique_ptr<CGBitmapContext> makeBitmapContext(int pixelWidth, int pixelHeight, CGFloat scale);

}  // namespace platform
