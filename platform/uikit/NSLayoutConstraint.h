#pragma once

#include <memory>
#include <vector>

#include "platform/coregraphics/CGGeometry.h"

namespace platform {

class NSLayoutConstraint;
class UIView;

/// What of a view a constraint ties. leading is left, trailing right.
enum class NSLayoutAttribute {
    left,
    right,
    top,
    bottom,
    leading,
    trailing,
    width,
    height,
    centerX,
    centerY
};

/// One edge, middle or dimension of a view, to be tied to another one.
class NSLayoutAnchor {
 public:
    NSLayoutAnchor(UIView& view, NSLayoutAttribute attribute);

    /// This one = the other + constant (points). Both along the same axis, or it is a fatal error.
    std::shared_ptr<NSLayoutConstraint> constraintEqualTo(const NSLayoutAnchor& other,
                                                          CGFloat constant = 0) const;
    /// For dimensions: this one = constant.
    std::shared_ptr<NSLayoutConstraint> constraintEqualToConstant(CGFloat constant) const;

 private:
    friend class NSLayoutConstraint;
    std::weak_ptr<UIView> view_;
    NSLayoutAttribute attribute_;
};

/// An equation between two anchors. While it is active, each layout pass makes it true by placing
/// the first anchor's view, or, where that one still follows its autoresizing mask, the second's.
/// A constraint is placed by the nearest view that holds both of its views.
class NSLayoutConstraint {
 public:
    using Attribute = NSLayoutAttribute;

    /// All at once, in one layout pass. Constraints whose views share no superview are a fatal
    /// error.
    static void activate(const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints);
    static void deactivate(const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints);

    bool isActive() const { return active_; }
    std::shared_ptr<UIView> firstItem() const { return first_.view_.lock(); }
    /// The other anchor's view. Null for an equation with a constant alone.
    std::shared_ptr<UIView> secondItem() const { return second_.view_.lock(); }
    Attribute firstAttribute() const { return first_.attribute_; }
    Attribute secondAttribute() const { return second_.attribute_; }
    CGFloat constant() const { return constant_; }

    /// Places the subviews that `constraints` speak of, in coordinates of `host`, their superview.
    static void solve(UIView& host,
                      const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints);

 private:
    class Axis;
    friend class NSLayoutAnchor;
    NSLayoutConstraint(const NSLayoutAnchor& first, const NSLayoutAnchor* second, CGFloat constant);

    NSLayoutAnchor first_, second_;
    CGFloat constant_;
    bool hasSecond_;
    bool active_ = false;
};

}  // namespace platform
