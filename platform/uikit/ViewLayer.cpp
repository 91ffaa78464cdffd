#include "platform/uikit/ViewLayer.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/uikit/UIGraphics.h"
#include "platform/uikit/UIView.h"

namespace platform {
namespace {

constexpr int kLargestWhole = 4096;  // pixels a side
constexpr int kMostPixels = 1 << 24;

int pixels(CGFloat points, CGFloat scale) {
    // Rounding errors must not add a row; NaN has none.
    const auto count = std::ceil(points * scale - 1e-6);
    return count > 0 ? static_cast<int>(std::min<CGFloat>(count, kMostPixels)) : 0;
}

PixelRect partOf(const UIView& view, CGFloat scale, const PixelRect& picture) {
    const auto size = view.bounds().size;
    const PixelRect whole{0, 0, pixels(size.width, scale), pixels(size.height, scale)};
    const bool isLarge = whole.width > kLargestWhole || whole.height > kLargestWhole;
    return isLarge ? whole.intersection(picture) : whole;
}

}  // namespace

ViewLayer::ViewLayer() = default;
ViewLayer::~ViewLayer() = default;

bool ViewLayer::needsDisplay(const UIView& view, CGFloat scale, const PixelRect& picture) const {
    return needsDisplay_ || partOf(view, scale, picture) != part_;
}

bool ViewLayer::display(UIView& view, CGFloat scale, const PixelRect& picture) {
    needsDisplay_ = false;
    const auto bounds = view.bounds();
    next_.begin(bounds.size, scale);
    {
        const UIGraphicsContextScope scope(next_);
        view.draw(bounds);
    }
    ++draws_;
    const auto before = std::exchange(part_, partOf(view, scale, picture));
    if (next_ == shown_ && part_ == before) return false;
    shown_.swap(next_);

    const bool hadBitmap = bitmap_ != nullptr;
    if (!shown_.paints() || part_.isEmpty()) {
        bitmap_.reset();
        return hadBitmap;
    }
    ++paints_;
    if (bitmap_ && bitmap_->pixelWidth() == part_.width && bitmap_->pixelHeight() == part_.height &&
        bitmap_->scale() == scale) {
        bitmap_->clearRect(CGRect({}, bitmap_->size()).insetBy(-1, -1));
    } else {
        bitmap_.reset();
        bitmap_ = makeBitmapContext(part_.width, part_.height, scale);
    }
    if (!bitmap_) return hadBitmap;
    bitmap_->saveGState();
    bitmap_->translateBy(-part_.x / scale, -part_.y / scale);
    shown_.play(*bitmap_);
    bitmap_->restoreGState();
    return true;
}

}  // namespace platform
