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
constexpr std::size_t kMostRects = 16;
// Pixels that are composited and sent in the time that one more rectangle takes.
constexpr int kRectCost = 4096;
constexpr double kZoomRest = 0.25;  // seconds without a wheel step that end a zoom

int pixelSide(CGFloat points, CGFloat scale) {
    return static_cast<int>(std::clamp<CGFloat>(std::round(points * scale), 1, 32767));
}

/// Those that overlap become one, so that no pixel is composited twice, and so do neighbours.
void join(std::vector<PixelRect>& rects, PixelRect added) {
    const auto areJoined = [](const PixelRect& one, const PixelRect& other) {
        return one.touches(other) ||
               one.unionWith(other).area() - one.area() - other.area() < kRectCost;
    };
    for (auto old = rects.begin(); old != rects.end();) {
        if (!areJoined(*old, added)) {
            ++old;
            continue;
        }
        added = added.unionWith(*old);
        rects.erase(old);
        old = rects.begin();
    }
    rects.push_back(added);
    if (rects.size() <= kMostRects) return;
    for (const auto& old : rects) added = added.unionWith(old);
    rects = {added};
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
    forgetGround();
    damage_ = {wholePicture()};
    needsUpdate_ = true;
}

void UIWindow::addDamage(const PixelRect& rect) {
    const auto added = rect.intersection(wholePicture());
    if (added.isEmpty()) return;
    needsUpdate_ = true;
    join(damage_, added);
}

std::optional<ViewLayer::Place> UIWindow::placeOf(const UIView& view) const {
    // On whole pixels, so that a moving picture stays sharp.
    const auto corner = view.convertToWindow({});
    const auto x = std::round(corner.x * scale_), y = std::round(corner.y * scale_);
    if (!(std::abs(x) < kFarthest && std::abs(y) < kFarthest)) return {};
    return ViewLayer::Place{static_cast<int>(x), static_cast<int>(y), 1};
}

PixelRect UIWindow::pixelsAt(const ViewLayer::Place& place, const ViewLayer& layer) const {
    const auto whole = wholePicture();
    const auto rect = layer.painted()
                          .offsetBy(place.x, place.y)
                          .intersection(CGRect(0, 0, whole.width, whole.height))
                          .integral();
    if (rect.isEmpty()) return {};
    return {static_cast<int>(rect.minX()), static_cast<int>(rect.minY()),
            static_cast<int>(rect.width()), static_cast<int>(rect.height())};
}

PixelRect UIWindow::pixelsOf(const UIView& view) const {
    const auto place = placeOf(view);
    return place ? pixelsAt(*place, view.layer()) : PixelRect{};
}

void UIWindow::addDamage(const UIView& view) {
    needsUpdate_ = true;
    if (view.isHidden()) return;
    addDamage(pixelsOf(view));
    for (const auto& subview : view.subviews()) addDamage(*subview);
}

void UIWindow::display(UIView& view) {
    const auto before = pixelsOf(view);
    if (!view.layer().display(view, scale_)) return;
    addDamage(before);
    addDamage(pixelsOf(view));
}

void UIWindow::displayTree(UIView& view) {
    if (view.isHidden() || view.alpha() == 0) return;
    if (view.layer().needsDisplay(view, scale_)) display(view);
    const auto views = view.subviews();
    for (const auto& subview : views) displayTree(*subview);
}

void UIWindow::collect(UIView& view, CGFloat alpha, std::vector<Shown>& into) const {
    if (view.isHidden() || view.alpha() == 0) return;
    alpha *= view.alpha();
    if (auto place = placeOf(view)) {
        place->alpha = alpha;
        const auto pixels = pixelsAt(*place, view.layer());
        if (!pixels.isEmpty()) into.push_back({&view.layer(), *place, pixels});
    }
    for (const auto& subview : view.subviews()) collect(*subview, alpha, into);
}

std::vector<PixelRect> UIWindow::update() {
    if (!needsUpdate_) return {};
    const auto keep = shared_from_this();
    if (willUpdate) willUpdate();
    layoutIfNeeded();
    displayTree(*this);
    needsUpdate_ = false;

    const auto whole = wholePicture();
    if (!picture_ || picture_->pixelWidth() != whole.width ||
        picture_->pixelHeight() != whole.height) {
        picture_.reset();
        picture_ = makeBitmapContext(whole.width, whole.height, 1);
        forgetGround();
        damage_ = {whole};
    }
    auto damaged = std::exchange(damage_, {});
    if (!picture_) return {};
    std::vector<Shown> shown;
    collect(*this, 1, shown);
    // What has been quiet for a while, and has nothing restless behind it, is composited once.
    std::vector<Shown> quiet, restless;
    for (const auto& one : shown) {
        const bool isQuiet = one.layer->isQuietAt(one.place) &&
                             std::none_of(restless.begin(), restless.end(), [&](const auto& other) {
                                 return other.pixels.touches(one.pixels);
                             });
        (isQuiet ? quiet : restless).push_back(one);
    }
    updateGround(std::move(quiet));
    for (const auto& rect : damaged)
        compose(*picture_, rect, ground_.get(), ground_ ? restless : shown);
    return damaged;
}

/// Only what another drawing is on, or the same one above others than before.
void UIWindow::updateGround(std::vector<Shown> quiet) {
    std::vector<PixelRect> changed;
    auto before = quiet_.begin();
    for (const auto& one : quiet) {
        const auto same = std::find(before, quiet_.end(), one);
        if (same == quiet_.end()) {
            join(changed, one.pixels);
            continue;
        }
        for (; before != same; ++before) join(changed, before->pixels);
        ++before;
    }
    for (; before != quiet_.end(); ++before) join(changed, before->pixels);
    if (changed.empty()) return;
    quiet_ = std::move(quiet);
    if (quiet_.empty()) return ground_.reset();
    if (!ground_) {
        const auto whole = wholePicture();
        ground_ = makeBitmapContext(whole.width, whole.height, 1);
        changed = {whole};
    }
    if (!ground_) return;
    for (const auto& rect : changed) compose(*ground_, rect, nullptr, quiet_);
}

void UIWindow::forgetGround() {
    quiet_.clear();
    ground_.reset();
}

void UIWindow::compose(CGBitmapContext& picture, const PixelRect& rect,
                       const CGBitmapContext* ground, const std::vector<Shown>& shown) const {
    const CGRect area(rect.x, rect.y, rect.width, rect.height);
    picture.saveGState();
    picture.clipTo(area);
    picture.saveGState();
    if (ground) {
        picture.copyBitmap(*ground, CGRect({}, ground->size()));
    } else {
        picture.setFillColor(background_);
        picture.fillRect(area);
    }
    picture.restoreGState();
    for (const auto& one : shown)
        if (one.pixels.touches(rect)) one.layer->compose(picture, one.place);
    picture.restoreGState();
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
