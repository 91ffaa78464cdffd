#pragma once

#include <algorithm>
#include <cmath>
#include <optional>

#include "platform/coregraphics/CGGeometry.h"
#include "platform/foundation/fatalError.h"

namespace qov {

/// How a drawing object fits its canvas into a view. Each drawing object (Owner) has its own type,
/// which passes the scale factors to Owner::keepDrawScale().
template <typename Owner>
class ResizingBehaviorOf {
 public:
    enum Case : int {
        aspectFit = 0,   ///< the whole canvas is visible
        aspectFill = 1,  ///< the canvas covers the whole view
        stretch = 2,     ///< width and height are scaled independently
        center = 3,      ///< not scaled
    };

    // NOLINTNEXTLINE(google-explicit-constructor): a case is a behaviour.
    constexpr ResizingBehaviorOf(Case value) : case_(value) {}
    /// Empty for a raw value without a case.
    static constexpr std::optional<ResizingBehaviorOf> fromRawValue(int rawValue) {
        if (rawValue < aspectFit || rawValue > center) return std::nullopt;
        return ResizingBehaviorOf(static_cast<Case>(rawValue));
    }
    constexpr int rawValue() const { return case_; }
    constexpr bool operator==(const ResizingBehaviorOf&) const = default;

    /// The rectangle, centred in target, in which a canvas of rect's size is drawn; stores the
    /// scale factors. Returns rect, and stores nothing, if it equals target or target is the zero
    /// rectangle.
    platform::CGRect apply(platform::CGRect rect, const platform::CGRect& target) const;

 private:
    Case case_;
};

template <typename Owner>
platform::CGRect ResizingBehaviorOf<Owner>::apply(platform::CGRect rect,
                                                  const platform::CGRect& target) const {
    if (rect == target || target == platform::CGRect::zero()) return rect;
    const platform::CGFloat across = std::abs(target.size.width / rect.size.width);
    const platform::CGFloat down = std::abs(target.size.height / rect.size.height);
    platform::CGSize scale{across, down};
    switch (case_) {
        case aspectFit:
            scale.width = scale.height = std::min(across, down);
            break;
        case aspectFill:
            scale.width = scale.height = std::max(across, down);
            break;
        case stretch:
            break;
        case center:
            scale = {1, 1};
            break;
        default:
            platform::fatalError("a resizing behaviour has no such case");
    }
    Owner::keepDrawScale(scale);
    rect = rect.standardized();
    const platform::CGSize size{rect.size.width * scale.width, rect.size.height * scale.height};
    return {{target.minX() + (target.width() - size.width) / 2,
             target.minY() + (target.height() - size.height) / 2},
            size};
}

}  // namespace qov
