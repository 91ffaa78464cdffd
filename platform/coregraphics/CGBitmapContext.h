#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "platform/coregraphics/CGContext.h"
#include "platform/coregraphics/CGImage.h"

namespace platform {

/// A context that draws into memory, transparent at first. User space is in points of scale pixels.
class CGBitmapContext : public CGContext {
 public:
    virtual int pixelWidth() const = 0;
    virtual int pixelHeight() const = 0;
    virtual CGFloat scale() const = 0;
    CGSize size() const { return {pixelWidth() / scale(), pixelHeight() / scale()}; }
    /// pixelWidth * pixelHeight words as in CGImage; valid until the next drawing call.
    virtual std::span<const std::uint32_t> pixels() const = 0;
    /// A copy of what has been drawn so far.
    std::shared_ptr<const CGImage> makeImage() const;
};

/// Width and height in pixels, 1..32767; null for other sizes or without memory.
std::unique_ptr<CGBitmapContext> makeBitmapContext(int pixelWidth, int pixelHeight, CGFloat scale);

}  // namespace platform
