#pragma once

#include <memory>
#include <vector>

#include "platform/coregraphics/CGGeometry.h"

namespace platform {

class NSLayoutConstraint;
class UIView;

/// The edge of a view in a constraint. leading is left, trailing right.
enum class NSLayoutAttribute { top, leading, bottom, trailing };

/// One edge of a view, from which constraints are made.
class NSLayoutAnchor {
 public:
    NSLayoutAnchor(UIView& view, NSLayoutAttribute attribute);

    /// Aligns this edge with the other. Edges of different axes are a fatal error.
    std::shared_ptr<NSLayoutConstraint> constraintEqualTo(const NSLayoutAnchor& other) const;

 private:
    friend class NSLayoutConstraint;
    std::weak_ptr<UIView> view_;
    NSLayoutAttribute attribute_;
};

/// Aligns an edge of a view with an edge of its superview. While it is active, each layout pass of
/// the superview places the view; along an axis with only one constrained edge the view keeps its
/// length.
class NSLayoutConstraint {
 public:
    /// Activates all in one layout pass. A constraint to another view than the superview is a fatal
    /// error.
    static void activate(const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints);

    /// The view that is placed; null once it is gone.
    std::shared_ptr<UIView> firstItem() const { return first_.view_.lock(); }
    /// Its superview; null once it is gone.
    std::shared_ptr<UIView> secondItem() const { return second_.view_.lock(); }

    /// Places the subviews that `constraints` refer to, in coordinates of `host`, their superview.
    static void solve(UIView& host,
                      const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints);

 private:
    friend class NSLayoutAnchor;
    NSLayoutConstraint(const NSLayoutAnchor& first, const NSLayoutAnchor& second)
        : first_(first), second_(second) {}

    NSLayoutAnchor first_, second_;
};

}  // namespace platform
