#include "platform/uikit/UIWindow.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIViewController.h"
#include "platform/uikit/ViewLayer.h"

namespace platform {
namespace {

constexpr CGFloat kFarthest = 1e6;  // pixels from the window's corner that a view can lie
constexpr std::size_t kMostRects = 8;
constexpr double kZoomRest = 0.25;  // seconds without a wheel step that end a zoom

int pixelSide(CGFloat points, CGFloat scale) {
    return static_cast<int>(std::clamp<CGFloat>(std::round(points * scale), 1, 32767));
}

void markAll(UIView& view) {
    view.layer().setNeedsDisplay();
    for (const auto& subview : view.subviews()) markAll(*subview);
}

}  // namespace

UIWindow::UIWindow(CGSize size, CGFloat scale)
    : UIView({{}, size}), scale_(scale), loop_(RunLoop::current().weak_from_this()) {}

UIWindow::~UIWindow() {
    const auto loop = loop_.lock();
    if (loop && deadlineTimer_) loop->cancel(*deadlineTimer_);
    if (loop && zoomTimer_) loop->cancel(*zoomTimer_);
}

void UIWindow::setRootViewController(std::shared_ptr<UIViewController> controller) {
    if (root_) root_->view()->removeFromSuperview();
    root_ = std::move(controller);
    if (!root_) return;
    const auto& view = root_->view();
    view->setFrame(bounds());
    view->setAutoresizingMask(UIViewAutoresizingFlexibleWidth | UIViewAutoresizingFlexibleHeight);
    insertSubview(view, 0);
}

void UIWindow::setScale(CGFloat scale) {
    if (scale == scale_) return;
    scale_ = scale;
    markAll(*this);
    damageAll();
}

void UIWindow::setBackgroundColor(const CGColor& color) {
    background_ = color.withAlpha(1);
    damageAll();
}

// The picture

PixelRect UIWindow::wholePicture() const {
    return {0, 0, pixelSide(bounds().size.width, scale_), pixelSide(bounds().size.height, scale_)};
}

void UIWindow::damageAll() {
    damage_ = {wholePicture()};
    needsUpdate_ = true;
}

void UIWindow::addDamage(const PixelRect& rect) {
    auto added = rect.intersection(wholePicture());
    if (added.isEmpty()) return;
    needsUpdate_ = true;
    // Those that overlap become one, so that no pixel is composited twice.
    for (auto old = damage_.begin(); old != damage_.end();) {
        if (old->intersection(added).isEmpty()) {
            ++old;
            continue;
        }
        added = added.unionWith(*old);
        damage_.erase(old);
        old = damage_.begin();
    }
    damage_.push_back(added);
    if (damage_.size() <= kMostRects) return;
    for (const auto& old : damage_) added = added.unionWith(old);
    damage_ = {added};
}

PixelRect UIWindow::pictureFrom(const UIView& view) const {
    // Layers are placed on whole pixels, so that a moving picture stays sharp.
    const auto corner = view.convertToWindow({});
    const auto x = std::round(corner.x * scale_), y = std::round(corner.y * scale_);
    if (!(std::abs(x) < kFarthest && std::abs(y) < kFarthest)) return {};
    auto picture = wholePicture();
    picture.x = static_cast<int>(-x);
    picture.y = static_cast<int>(-y);
    return picture;
}

std::optional<PixelRect> UIWindow::pixelsOf(const UIView& view) const {
    const auto& layer = view.layer();
    const auto picture = pictureFrom(view);
    if (!layer.bitmap() || picture.isEmpty()) return {};
    return layer.part().movedBy(-picture.x, -picture.y);
}

void UIWindow::addDamage(const UIView& view) {
    needsUpdate_ = true;
    if (view.isHidden()) return;
    if (const auto rect = pixelsOf(view)) addDamage(*rect);
    for (const auto& subview : view.subviews()) addDamage(*subview);
}

void UIWindow::display(UIView& view) {
    const auto before = pixelsOf(view);
    const auto picture = pictureFrom(view);
    const auto changed = view.layer().display(view, scale_, picture);
    if (before && before != pixelsOf(view)) addDamage(*before);
    if (!picture.isEmpty()) addDamage(changed.movedBy(-picture.x, -picture.y));
}

void UIWindow::displayTree(UIView& view) {
    if (view.isHidden() || view.alpha() == 0) return;
    if (view.layer().needsDisplay(view, scale_, pictureFrom(view))) display(view);
    const auto views = view.subviews();
    for (const auto& subview : views) displayTree(*subview);
}

void UIWindow::composeTree(CGContext& context, const UIView& view, CGFloat alpha,
                           const PixelRect& damaged) const {
    if (view.isHidden() || view.alpha() == 0) return;
    alpha *= view.alpha();
    if (const auto rect = pixelsOf(view)) {
        const auto& layer = view.layer();
        const auto& part = layer.part();
        const auto painted = layer.painted().movedBy(rect->x - part.x, rect->y - part.y);
        if (!painted.intersection(damaged).isEmpty()) {
            context.setAlpha(alpha);
            context.drawBitmap(*layer.bitmap(),
                               CGRect(rect->x, rect->y, rect->width, rect->height));
        }
    }
    for (const auto& subview : view.subviews()) composeTree(context, *subview, alpha, damaged);
}

std::vector<PixelRect> UIWindow::update() {
    if (!needsUpdate_) return {};
    const auto keep = shared_from_this();
    layoutIfNeeded();
    displayTree(*this);
    needsUpdate_ = false;

    const auto whole = wholePicture();
    if (!picture_ || picture_->pixelWidth() != whole.width ||
        picture_->pixelHeight() != whole.height) {
        picture_.reset();
        picture_ = makeBitmapContext(whole.width, whole.height, 1);
        damage_ = {whole};
    }
    auto damaged = std::exchange(damage_, {});
    if (!picture_) return {};
    for (const auto& rect : damaged) {
        const CGRect area(rect.x, rect.y, rect.width, rect.height);
        picture_->saveGState();
        picture_->clipTo(area);
        picture_->setFillColor(background_);
        picture_->fillRect(area);
        composeTree(*picture_, *this, 1, rect);
        picture_->restoreGState();
    }
    return damaged;
}

// Touches

void UIWindow::deliverTouch(std::int64_t identifier, UITouchPhase phase, CGPoint location,
                            double time) {
    const auto keep = shared_from_this();
    auto place = touches_.find(identifier);
    if (phase == UITouchPhase::began) {
        if (place != touches_.end())
            deliverTouch(identifier, UITouchPhase::cancelled, location, time);
        layoutIfNeeded();
        touches_[identifier] = std::make_shared<UITouch>(hitTest(location), location, time);
        place = touches_.find(identifier);
    } else if (place == touches_.end()) {
        return;
    } else {
        place->second->update(phase, location, time);
    }
    const auto touch = place->second;
    const auto view = touch->view();
    if (view && willDeliverTouch) willDeliverTouch(*view, phase);
    gestures_.deliver(touch);
    sendToView(touch);
    if (view && didDeliverTouch) didDeliverTouch(*view, phase);
    if (phase == UITouchPhase::ended || phase == UITouchPhase::cancelled) {
        touches_.erase(identifier);
        sent_.erase(touch);
    }
    scheduleDeadline();
}

void UIWindow::sendToView(const std::shared_ptr<UITouch>& touch) {
    const auto view = touch->view();
    if (!view) return;
    if (touch->phase() == UITouchPhase::began) {
        const bool taken = std::any_of(sent_.begin(), sent_.end(),
                                       [&](const auto& other) { return other->view() == view; });
        if (taken) return;
        sent_.insert(touch);
    } else if (!sent_.contains(touch)) {
        return;
    }
    switch (touch->phase()) {
        case UITouchPhase::began:
            return view->touchesBegan({touch}, nullptr);
        case UITouchPhase::moved:
            return view->touchesMoved({touch}, nullptr);
        case UITouchPhase::ended:
            return view->touchesEnded({touch}, nullptr);
        case UITouchPhase::cancelled:
            return view->touchesCancelled({touch}, nullptr);
    }
}

void UIWindow::cancelTouches() {
    const auto keep = shared_from_this();
    endZoom();
    while (!touches_.empty()) {
        const auto [identifier, touch] = *touches_.begin();
        deliverTouch(identifier, UITouchPhase::cancelled, touch->location(nullptr),
                     touch->timestamp());
    }
    gestures_.cancelPinch();
}

void UIWindow::deliverPinch(UITouchPhase phase, CGPoint location, CGFloat scale, double /*time*/) {
    const auto keep = shared_from_this();
    layoutIfNeeded();
    gestures_.deliverPinch(hitTest(location), phase, location, scale);
    scheduleDeadline();
}

void UIWindow::deliverZoomStep(CGPoint location, CGFloat factor, double time) {
    const auto loop = loop_.lock();
    if (!loop) return;
    if (zoomTimer_) {
        loop->cancel(*zoomTimer_);
    } else {
        zoom_ = 1;
        zoomPlace_ = location;
        deliverPinch(UITouchPhase::began, location, 1, time);
    }
    zoom_ *= factor;
    deliverPinch(UITouchPhase::moved, zoomPlace_, zoom_, time);
    // The timer goes with the window, which cancels it.
    zoomTimer_ = loop->schedule(kZoomRest, false, [this] { endZoom(); });
}

void UIWindow::endZoom() {
    if (!zoomTimer_) return;
    if (const auto loop = loop_.lock()) loop->cancel(*zoomTimer_);
    zoomTimer_.reset();
    deliverPinch(UITouchPhase::ended, zoomPlace_, zoom_, 0);
}

void UIWindow::scheduleDeadline() {
    const auto loop = loop_.lock();
    if (!loop) return;
    if (deadlineTimer_) loop->cancel(*deadlineTimer_);
    deadlineTimer_.reset();
    const auto deadline = gestures_.nextDeadline();
    if (!deadline) return;
    deadlineTimer_ = loop->schedule(*deadline - loop->now(), false, [this] {
        const auto keep = shared_from_this();
        deadlineTimer_.reset();
        if (const auto mine = loop_.lock()) gestures_.timePassed(mine->now());
        scheduleDeadline();
    });
}

}  // namespace platform
