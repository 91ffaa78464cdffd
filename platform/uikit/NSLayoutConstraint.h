#pragma once

#include <memory>
#include <vector>

#include "platform/coregraphics/CGGeometry.h"

namespace platform {

class NSLayoutConstraint;
class UIView;

/// What of a view a constraint ties. leading is left, trailing right.
enum class NSLayoutAttribute { top, leading, bottom, trailing };

/// One edge of a view, to be tied to another one.
class NSLayoutAnchor {
 public:
    NSLayoutAnchor(UIView& view, NSLayoutAttribute attribute);

    /// This edge lies on the other. Both along the same axis, or it is a fatal error.
    std::shared_ptr<NSLayoutConstraint> constraintEqualTo(const NSLayoutAnchor& other) const;

 private:
    friend class NSLayoutConstraint;
    std::weak_ptr<UIView> view_;
    NSLayoutAttribute attribute_;
};

/// An edge of a view that lies on an edge of its superview. While it is active, each layout pass of
/// the superview places the view; along an axis of which only one edge is tied, it keeps its
/// length.
class NSLayoutConstraint {
 public:
    /// All at once, in one layout pass. A constraint to another view than the superview is a fatal
    /// error.
    static void activate(const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints);

    /// The view that is placed; null once it is gone.
    std::shared_ptr<UIView> firstItem() const { return first_.view_.lock(); }
    /// Its superview; null once it is gone.
    std::shared_ptr<UIView> secondItem() const { return second_.view_.lock(); }

    /// Places the subviews that `constraints` speak of, in coordinates of `host`, their superview.
    static void solve(UIView& host,
                      const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints);

 private:
    friend class NSLayoutAnchor;
    NSLayoutConstraint(const NSLayoutAnchor& first, const NSLayoutAnchor& second)
        : first_(first), second_(second) {}

    NSLayoutAnchor first_, second_;
};

}  // namespace platform
