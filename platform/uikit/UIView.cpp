#include "platform/uikit/UIView.h"

#include <algorithm>
#include <utility>

#include "platform/uikit/UIGestureRecognizer.h"
#include "platform/uikit/UIViewController.h"
#include "platform/uikit/UIWindow.h"
#include "platform/uikit/ViewLayer.h"

namespace platform {
namespace {

/// Where a list of shared objects has this one.
template <class Object, class List>
auto placeOf(const Object* object, List& list) {
    return std::find_if(list.begin(), list.end(),
                        [&](const auto& each) { return each.get() == object; });
}

}  // namespace

UIView::UIView(CGRect frame) : frame_(frame), layer_(std::make_unique<ViewLayer>()) {}

UIView::~UIView() {
    for (const auto& view : subviews_) view->superview_ = nullptr;
    for (const auto& recognizer : recognizers_) recognizer->view_ = nullptr;
}

// Place

void UIView::setFrame(const CGRect& frame) {
    if (frame == frame_) return;
    damage();
    const auto before = std::exchange(frame_, frame).size;
    damage();
    if (before == frame.size) return;
    setNeedsDisplay();
    setNeedsLayout();
    resizeSubviews(before);
}

void UIView::setCenter(CGPoint center) {
    setFrame({{center.x - frame_.size.width / 2, center.y - frame_.size.height / 2}, frame_.size});
}

CGPoint UIView::convertFromWindow(CGPoint point) const {
    for (const auto* view = this; view && view->superview_; view = view->superview_) {
        point.x -= view->frame_.origin.x;
        point.y -= view->frame_.origin.y;
    }
    return point;
}

CGPoint UIView::convertToWindow(CGPoint point) const {
    for (const auto* view = this; view && view->superview_; view = view->superview_) {
        point.x += view->frame_.origin.x;
        point.y += view->frame_.origin.y;
    }
    return point;
}

// Hierarchy

void UIView::addSubview(std::shared_ptr<UIView> view) {
    insertSubview(std::move(view), subviews_.size());
}

void UIView::insertSubview(std::shared_ptr<UIView> view, std::size_t at) {
    view->removeFromSuperview();
    view->superview_ = this;
    auto& added = *view;
    const auto place = std::min(at, subviews_.size());
    subviews_.insert(subviews_.begin() + static_cast<std::ptrdiff_t>(place), std::move(view));
    setNeedsLayout();
    added.setNeedsLayout();
    added.damage();
}

void UIView::removeFromSuperview() {
    if (!superview_) return;
    damage();
    auto& from = *std::exchange(superview_, nullptr);
    const auto place = placeOf(this, from.subviews_);
    const auto keep = *place;
    from.subviews_.erase(place);
    std::erase_if(from.constraints_, [&](const auto& constraint) {
        return constraint->firstItem() == keep || constraint->secondItem() == keep;
    });
    from.setNeedsLayout();
}

void UIView::bringSubviewToFront(UIView& view) {
    const auto place = placeOf(&view, subviews_);
    if (place == subviews_.end()) return;
    std::rotate(place, place + 1, subviews_.end());
    view.damage();
}

UIWindow* UIView::window() const {
    return superview_ ? superview_->window() : nullptr;
}

// Looks

void UIView::setHidden(bool hidden) {
    if (hidden == hidden_) return;
    damage();
    hidden_ = hidden;
    damage();
}

void UIView::setAlpha(CGFloat alpha) {
    alpha = alpha >= 0 ? std::min<CGFloat>(alpha, 1) : 0;
    if (alpha == alpha_) return;
    damage();
    alpha_ = alpha;
    damage();
}

void UIView::setNeedsDisplay() {
    layer_->setNeedsDisplay();
    if (auto* window = this->window()) window->setNeedsUpdate();
}

void UIView::damage() const {
    if (auto* window = this->window()) window->addDamage(*this);
}

// Layout

void UIView::setNeedsLayout() {
    needsLayout_ = true;
    if (auto* window = this->window()) window->setNeedsUpdate();
}

void UIView::layoutIfNeeded() {
    if (std::exchange(needsLayout_, false)) {
        layoutSubviews();
        if (controller_) controller_->viewDidLayoutSubviews();
    }
    const auto views = subviews_;
    for (const auto& view : views) view->layoutIfNeeded();
}

void UIView::layoutSubviews() {
    NSLayoutConstraint::solve(*this, constraints_);
}

void UIView::setTranslatesAutoresizingMaskIntoConstraints(bool translates) {
    translatesMask_ = translates;
    if (superview_) superview_->setNeedsLayout();
}

namespace {

struct Span {
    CGFloat start, length;
};

/// The flexible ones of margin, length and margin share the change by their present lengths.
Span resized(Span span, CGFloat before, CGFloat after, bool flexStart, bool flexLength,
             bool flexEnd) {
    const CGFloat end = before - span.start - span.length;
    const CGFloat change = after - before;
    const int flexible = flexStart + flexLength + flexEnd;
    if (flexible == 0) return span;
    const CGFloat sum =
        (flexStart ? span.start : 0) + (flexLength ? span.length : 0) + (flexEnd ? end : 0);
    const auto share = [&](bool flex, CGFloat length) -> CGFloat {
        if (!flex) return 0;
        return sum > 0 ? change * length / sum : change / flexible;
    };
    return {span.start + share(flexStart, span.start),
            std::max<CGFloat>(0, span.length + share(flexLength, span.length))};
}

}  // namespace

void UIView::resizeSubviews(CGSize before) {
    for (const auto& view : subviews_) {
        const auto mask = view->autoresizingMask_;
        if (!view->translatesMask_ || mask == UIViewAutoresizingNone || view->frame_.isNull())
            continue;
        const auto& f = view->frame_;
        const auto x = resized({f.origin.x, f.size.width}, before.width, frame_.size.width,
                               mask & UIViewAutoresizingFlexibleLeftMargin,
                               mask & UIViewAutoresizingFlexibleWidth,
                               mask & UIViewAutoresizingFlexibleRightMargin);
        const auto y = resized({f.origin.y, f.size.height}, before.height, frame_.size.height,
                               mask & UIViewAutoresizingFlexibleTopMargin,
                               mask & UIViewAutoresizingFlexibleHeight,
                               mask & UIViewAutoresizingFlexibleBottomMargin);
        view->setFrame({x.start, y.start, x.length, y.length});
    }
}

// Touches

std::shared_ptr<UIView> UIView::hitTest(CGPoint point) {
    constexpr CGFloat kLeastVisible = 0.01;
    if (hidden_ || !interactive_ || alpha_ < kLeastVisible || !pointInside(point)) return nullptr;
    for (auto view = subviews_.rbegin(); view != subviews_.rend(); ++view) {
        const auto& origin = (*view)->frame_.origin;
        if (auto hit = (*view)->hitTest({point.x - origin.x, point.y - origin.y})) return hit;
    }
    return shared_from_this();
}

void UIView::addGestureRecognizer(std::shared_ptr<UIGestureRecognizer> recognizer) {
    if (auto* view = recognizer->view_) view->removeGestureRecognizer(*recognizer);
    recognizer->view_ = this;
    recognizers_.push_back(std::move(recognizer));
}

void UIView::removeGestureRecognizer(UIGestureRecognizer& recognizer) {
    const auto place = placeOf(&recognizer, recognizers_);
    if (place == recognizers_.end()) return;
    recognizer.view_ = nullptr;
    recognizers_.erase(place);
}

}  // namespace platform
