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

/// The whole pixels of the part that the rectangle touches.
PixelRect touched(const PixelRect& part, const CGRect& by) {
    const auto rect = by.intersection(CGRect(part.x, part.y, part.width, part.height));
    if (part.isEmpty() || rect.isEmpty()) return {};
    const int left = static_cast<int>(std::floor(rect.minX()));
    const int top = static_cast<int>(std::floor(rect.minY()));
    return {left, top, static_cast<int>(std::ceil(rect.maxX())) - left,
            static_cast<int>(std::ceil(rect.maxY())) - top};
}

}  // namespace

ViewLayer::ViewLayer() = default;
ViewLayer::~ViewLayer() = default;

bool ViewLayer::needsDisplay(const UIView& view, CGFloat scale, const PixelRect& picture) const {
    return needsDisplay_ || partOf(view, scale, picture) != part_;
}

PixelRect ViewLayer::display(UIView& view, CGFloat scale, const PixelRect& picture) {
    needsDisplay_ = false;
    const auto bounds = view.bounds();
    next_.begin(bounds.size, scale);
    {
        const UIGraphicsContextScope scope(next_);
        view.draw(bounds);
    }
    ++draws_;
    const auto before = std::exchange(part_, partOf(view, scale, picture));
    if (next_ == shown_ && part_ == before) return {};
    shown_.swap(next_);

    const auto cleared = std::exchange(painted_, touched(part_, shown_.painted()));
    if (painted_.isEmpty()) {
        bitmap_.reset();
        return cleared;
    }
    ++paints_;
    const CGPoint corner{part_.x / scale, part_.y / scale};
    const bool isKept = bitmap_ && part_ == before && bitmap_->scale() == scale;
    if (!isKept) {
        bitmap_.reset();
        bitmap_ = makeBitmapContext(part_.width, part_.height, scale);
    }
    if (!bitmap_) return cleared;
    bitmap_->saveGState();
    bitmap_->translateBy(-corner.x, -corner.y);
    if (isKept && !cleared.isEmpty())
        bitmap_->clearRect({(cleared.x - 1) / scale, (cleared.y - 1) / scale,
                            (cleared.width + 2) / scale, (cleared.height + 2) / scale});
    shown_.play(*bitmap_);
    bitmap_->restoreGState();
    return cleared.isEmpty() ? painted_ : painted_.unionWith(cleared);
}

}  // namespace platform
