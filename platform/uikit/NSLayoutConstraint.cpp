#include "platform/uikit/NSLayoutConstraint.h"

#include <algorithm>
#include <map>

#include "platform/foundation/fatalError.h"
#include "platform/uikit/UIView.h"

namespace platform {
namespace {

using Attribute = NSLayoutAttribute;

bool isHorizontal(Attribute attribute) {
    return attribute == Attribute::leading || attribute == Attribute::trailing;
}

/// Of a rectangle: where that edge lies on its axis.
CGFloat edge(const CGRect& rect, Attribute attribute) {
    switch (attribute) {
        case Attribute::top:
            return rect.minY();
        case Attribute::leading:
            return rect.minX();
        case Attribute::bottom:
            return rect.maxY();
        case Attribute::trailing:
            break;
    }
    return rect.maxX();
}

/// The edges of a view that are tied, by attribute.
using Edges = std::map<Attribute, CGFloat>;

void place(const Edges& edges, Attribute start, Attribute end, CGFloat& origin, CGFloat& length) {
    const auto first = edges.find(start), last = edges.find(end);
    if (first != edges.end() && last != edges.end())
        length = std::max<CGFloat>(0, last->second - first->second);
    if (first != edges.end())
        origin = first->second;
    else if (last != edges.end())
        origin = last->second - length;
}

}  // namespace

NSLayoutAnchor::NSLayoutAnchor(UIView& view, NSLayoutAttribute attribute)
    : view_(std::static_pointer_cast<UIView>(view.shared_from_this())), attribute_(attribute) {}

std::shared_ptr<NSLayoutConstraint> NSLayoutAnchor::constraintEqualTo(
    const NSLayoutAnchor& other) const {
    if (isHorizontal(attribute_) != isHorizontal(other.attribute_))
        fatalError("a layout constraint ties two anchors that cannot be compared");
    return std::shared_ptr<NSLayoutConstraint>(new NSLayoutConstraint(*this, other));
}

void NSLayoutConstraint::activate(
    const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints) {
    for (const auto& constraint : constraints) {
        const auto view = constraint->firstItem(), host = constraint->secondItem();
        if (!view || !host || view->superview() != host.get())
            fatalError("a layout constraint ties a view to another than its superview");
        host->constraints_.push_back(constraint);
        host->setNeedsLayout();
    }
}

void NSLayoutConstraint::solve(
    UIView& host, const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints) {
    std::map<std::shared_ptr<UIView>, Edges> views;
    for (const auto& constraint : constraints)
        if (const auto view = constraint->firstItem())
            views[view][constraint->first_.attribute_] =
                edge(host.bounds(), constraint->second_.attribute_);
    for (const auto& [view, edges] : views) {
        auto frame = view->frame();
        place(edges, Attribute::leading, Attribute::trailing, frame.origin.x, frame.size.width);
        place(edges, Attribute::top, Attribute::bottom, frame.origin.y, frame.size.height);
        view->setFrame(frame);
    }
}

}  // namespace platform
