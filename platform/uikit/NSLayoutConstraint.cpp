#include "platform/uikit/NSLayoutConstraint.h"

#include <algorithm>
#include <map>
#include <optional>

#include "platform/foundation/fatalError.h"
#include "platform/uikit/UIView.h"

namespace platform {
namespace {

using Attribute = NSLayoutAttribute;

bool isHorizontal(Attribute attribute) {
    switch (attribute) {
        case Attribute::left:
        case Attribute::right:
        case Attribute::leading:
        case Attribute::trailing:
        case Attribute::width:
        case Attribute::centerX:
            return true;
        case Attribute::top:
        case Attribute::bottom:
        case Attribute::height:
        case Attribute::centerY:
            break;
    }
    return false;
}

/// What an attribute says of a view's extent along its axis.
enum class Role { start, end, length, middle };

Role role(Attribute attribute) {
    switch (attribute) {
        case Attribute::left:
        case Attribute::leading:
        case Attribute::top:
            return Role::start;
        case Attribute::right:
        case Attribute::trailing:
        case Attribute::bottom:
            return Role::end;
        case Attribute::width:
        case Attribute::height:
            return Role::length;
        case Attribute::centerX:
        case Attribute::centerY:
            break;
    }
    return Role::middle;
}

/// What is known of a view along one axis; two facts of it fix the rest.
struct Extent {
    std::optional<CGFloat> start, end, length, middle;

    std::optional<CGFloat>& of(Role r) {
        switch (r) {
            case Role::start:
                return start;
            case Role::end:
                return end;
            case Role::length:
                return length;
            case Role::middle:
                break;
        }
        return middle;
    }

    void complete() {
        if (start && end) length = *end - *start;
        if (start && middle) length = 2 * (*middle - *start);
        if (end && middle) length = 2 * (*end - *middle);
        if (!length) return;
        if (!start && end) start = *end - *length;
        if (!start && middle) start = *middle - *length / 2;
        if (!start) return;
        end = *start + *length;
        middle = *start + *length / 2;
    }

    bool isWhole() const { return start && length; }
};

std::shared_ptr<UIView> holder(UIView* first, UIView* second) {
    for (auto* view = first ? first->superview() : nullptr; view; view = view->superview())
        if (!second || second->isDescendant(*view)) return view->shared_from_this();
    return nullptr;
}

}  // namespace

NSLayoutAnchor::NSLayoutAnchor(UIView& view, NSLayoutAttribute attribute)
    : view_(std::static_pointer_cast<UIView>(view.shared_from_this())), attribute_(attribute) {}

std::shared_ptr<NSLayoutConstraint> NSLayoutAnchor::constraintEqualTo(const NSLayoutAnchor& other,
                                                                      CGFloat constant) const {
    if (isHorizontal(attribute_) != isHorizontal(other.attribute_) ||
        (role(attribute_) == Role::length) != (role(other.attribute_) == Role::length))
        fatalError("a layout constraint ties two anchors that cannot be compared");
    return std::shared_ptr<NSLayoutConstraint>(new NSLayoutConstraint(*this, &other, constant));
}

std::shared_ptr<NSLayoutConstraint> NSLayoutAnchor::constraintEqualToConstant(
    CGFloat constant) const {
    if (role(attribute_) != Role::length)
        fatalError("a layout constraint gives a constant to what is not a dimension");
    return std::shared_ptr<NSLayoutConstraint>(new NSLayoutConstraint(*this, nullptr, constant));
}

NSLayoutConstraint::NSLayoutConstraint(const NSLayoutAnchor& first, const NSLayoutAnchor* second,
                                       CGFloat constant)
    : first_(first),
      second_(second ? *second : first),
      constant_(constant),
      hasSecond_(second != nullptr) {
    if (!hasSecond_) second_.view_.reset();
}

void NSLayoutConstraint::activate(
    const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints) {
    for (const auto& constraint : constraints) {
        if (constraint->active_) continue;
        const auto first = constraint->firstItem(), second = constraint->secondItem();
        // An edge tied to the superview's is placed by that superview.
        const auto host = second && first && first->isDescendant(*second) && first != second
                              ? second
                              : holder(first.get(), second.get());
        if (!host) fatalError("a layout constraint's views have no superview in common");
        constraint->active_ = true;
        host->constraints_.push_back(constraint);
        host->setNeedsLayout();
    }
}

void NSLayoutConstraint::deactivate(
    const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints) {
    for (const auto& constraint : constraints) {
        if (!constraint->active_) continue;
        constraint->active_ = false;
        const auto first = constraint->firstItem();
        for (auto* view = first.get(); view; view = view->superview())
            if (std::erase(view->constraints_, constraint)) view->setNeedsLayout();
    }
}

/// What is known along one axis of the host and of the views that its constraints speak of.
class NSLayoutConstraint::Axis {
 public:
    Axis(UIView& host, bool isHorizontal) : host_(host), isHorizontal_(isHorizontal) {}

    /// True if it tells something that was not known.
    bool learn(const NSLayoutConstraint& constraint) {
        const auto first = constraint.firstItem(), second = constraint.secondItem();
        if (!first || isHorizontal(constraint.firstAttribute()) != isHorizontal_) return false;
        auto& a = extentOf(*first);
        const auto roleA = role(constraint.firstAttribute());
        if (!constraint.hasSecond_) return learn(a, roleA, constraint.constant());
        if (!second) return false;
        auto& b = extentOf(*second);
        const auto roleB = role(constraint.secondAttribute());
        bool learned = false;
        if (const auto value = b.of(roleB))
            learned |= learn(a, roleA, *value + constraint.constant());
        if (const auto value = a.of(roleA))
            learned |= learn(b, roleB, *value - constraint.constant());
        return learned;
    }

    /// Puts the host's subviews where they are known to be.
    void place() {
        for (auto& [view, extent] : extents_) {
            if (view == &host_ || view->superview() != &host_) continue;
            auto frame = view->frame();
            auto& start = isHorizontal_ ? frame.origin.x : frame.origin.y;
            auto& length = isHorizontal_ ? frame.size.width : frame.size.height;
            // Where only one fact is known, the view keeps its length.
            if (!extent.isWhole() && (extent.start || extent.end || extent.middle)) {
                extent.length = length;
                extent.complete();
            }
            start = extent.start.value_or(start);
            length = std::max<CGFloat>(0, extent.length.value_or(length));
            view->setFrame(frame);
        }
    }

 private:
    Extent& extentOf(UIView& view) {
        const auto [place, isNew] = extents_.try_emplace(&view);
        auto& extent = place->second;
        const bool isHost = &view == &host_;
        if (isNew && (isHost || view.translatesAutoresizingMaskIntoConstraints())) {
            const auto rect = isHost ? view.bounds() : view.frame();
            extent.start = isHorizontal_ ? rect.minX() : rect.minY();
            extent.length = isHorizontal_ ? rect.width() : rect.height();
            extent.complete();
        }
        return extent;
    }

    static bool learn(Extent& extent, Role what, CGFloat value) {
        if (extent.of(what) || extent.isWhole()) return false;
        extent.of(what) = value;
        extent.complete();
        return true;
    }

    UIView& host_;
    const bool isHorizontal_;
    std::map<UIView*, Extent> extents_;
};

void NSLayoutConstraint::solve(
    UIView& host, const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints) {
    if (constraints.empty()) return;
    for (const bool horizontal : {true, false}) {
        Axis axis(host, horizontal);
        // Facts spread along the equations until nothing new is learned.
        for (bool learned = true; learned;) {
            learned = false;
            for (const auto& constraint : constraints) learned |= axis.learn(*constraint);
        }
        axis.place();
    }
}

}  // namespace platform
