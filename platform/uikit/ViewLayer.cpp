#include "platform/uikit/ViewLayer.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/uikit/UIGraphics.h"
#include "platform/uikit/UIView.h"

namespace platform {
namespace {

CGFloat pixels(CGFloat points, CGFloat scale) {
    // Rounding errors must not add a row; NaN has none.
    const auto count = std::ceil(points * scale - 1e-6);
    return count > 0 ? count : 0;
}

CGSize sizeOf(const UIView& view, CGFloat scale) {
    const auto [width, height] = view.bounds().size;
    return {pixels(width, scale), pixels(height, scale)};
}

}  // namespace

bool ViewLayer::needsDisplay(const UIView& view, CGFloat scale) const {
    return needsDisplay_ || scale != scale_ || sizeOf(view, scale) != size_;
}

bool ViewLayer::display(UIView& view, CGFloat scale) {
    needsDisplay_ = false;
    scale_ = scale;
    size_ = sizeOf(view, scale);
    const auto bounds = view.bounds();
    next_.begin(bounds.size, scale);
    {
        const UIGraphicsContextScope scope(next_);
        view.draw(bounds);
    }
    ++draws_;
    if (next_ == shown_) return false;
    shown_.swap(next_);
    ++changes_;
    updates_ = 0;
    return true;
}

void ViewLayer::compose(CGContext& picture, const Place& place) const {
    const auto [x, y, alpha] = place;
    const CGRect area(CGPoint{static_cast<CGFloat>(x), static_cast<CGFloat>(y)}, size_);
    picture.saveGState();
    picture.clipTo(area.intersection(picture.clipBoundingBox()));
    // What is erased must not be what lies below.
    const bool isGroup = alpha < 1 || shown_.erases();
    picture.setAlpha(alpha);
    if (isGroup) picture.beginTransparencyLayer();
    picture.translateBy(x, y);
    picture.scaleBy(scale_, scale_);
    shown_.play(picture);
    if (isGroup) picture.endTransparencyLayer();
    picture.restoreGState();
}

bool ViewLayer::isQuietAt(const Place& place) {
    if (std::exchange(place_, place) != place) updates_ = 0;
    // 2 s of the panel's redraws: what moves now and then is not made part of a picture each time.
    constexpr int some = 40;
    updates_ = std::min(updates_ + 1, some);
    return updates_ == some;
}

}  // namespace platform
