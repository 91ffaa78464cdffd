#include "platform/uikit/ViewLayer.h"

#include <algorithm>
#include <cmath>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/uikit/UIGraphics.h"
#include "platform/uikit/UIView.h"

namespace platform {
namespace {

constexpr int kLargestSide = 32767;  // of a bitmap, in pixels

int pixels(CGFloat points, CGFloat scale) {
    // Rounding errors must not add a row.
    const auto count = std::ceil(points * scale - 1e-6);
    return static_cast<int>(std::clamp<CGFloat>(count, 0, kLargestSide));
}

}  // namespace

ViewLayer::ViewLayer() = default;
ViewLayer::~ViewLayer() = default;

bool ViewLayer::display(UIView& view, CGFloat scale) {
    needsDisplay_ = false;
    const auto bounds = view.bounds();
    next_.begin(bounds.size, scale);
    {
        const UIGraphicsContextScope scope(next_);
        view.draw(bounds);
    }
    ++draws_;
    if (next_ == shown_) return false;
    shown_.swap(next_);

    const bool hadBitmap = bitmap_ != nullptr;
    const int width = pixels(bounds.size.width, scale);
    const int height = pixels(bounds.size.height, scale);
    if (!shown_.paints() || width == 0 || height == 0) {
        bitmap_.reset();
        return hadBitmap;
    }
    ++paints_;
    if (bitmap_ && bitmap_->pixelWidth() == width && bitmap_->pixelHeight() == height &&
        bitmap_->scale() == scale) {
        bitmap_->clearRect(bounds.insetBy(-1, -1));
    } else {
        bitmap_.reset();
        bitmap_ = makeBitmapContext(width, height, scale);
    }
    if (!bitmap_) return hadBitmap;
    bitmap_->saveGState();
    shown_.play(*bitmap_);
    bitmap_->restoreGState();
    return true;
}

}  // namespace platform
