#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "platform/coregraphics/CGColor.h"
#include "platform/uikit/GestureCenter.h"
#include "platform/uikit/PixelRect.h"
#include "platform/uikit/UIView.h"
#include "platform/uikit/ViewLayer.h"

namespace platform {

class RunLoop;

/// The root of a tree of views, with its picture in memory; touches enter the tree here. It is
/// independent of a screen: a back end feeds it and shows what update() has changed. Belongs to a
/// shared pointer and to the run loop that was current when it was made. Main thread.
class UIWindow : public UIView {
 public:
    /// size in points; scale: pixels a point, above 0.
    explicit UIWindow(CGSize size, CGFloat scale = 1);
    ~UIWindow() override;

    UIWindow* window() const override { return const_cast<UIWindow*>(this); }

    /// Its view fills the window. Loads the view.
    void setRootViewController(std::shared_ptr<UIViewController> controller);

    CGFloat scale() const { return scale_; }
    void setScale(CGFloat scale);
    void setSize(CGSize size) { setFrame({{}, size}); }
    /// Behind all views; opaque.
    void setBackgroundColor(const CGColor& color);

    // The picture

    /// Lays out and draws what is marked for it, composites the changed rectangles again and
    /// returns them. Empty if the picture has not changed.
    std::vector<PixelRect> update();
    /// The window's picture, in pixels (its own scale is 1). Null if its memory could not be
    /// allocated.
    const CGBitmapContext* picture() const { return picture_.get(); }
    /// Makes the next update() composite and return everything.
    void damageAll();
    /// Draws a view now, marked or not; update() shows it.
    void display(UIView& view);

    // Touches, in points of the window and seconds of the run loop's clock

    /// identifier: the same from touch-down to lifting; the back end's choice.
    void deliverTouch(std::int64_t identifier, UITouchPhase phase, CGPoint location, double time);
    /// A pinch without touches; scale: since its start.
    void deliverPinch(UITouchPhase phase, CGPoint location, CGFloat scale, double time);
    /// One step of a zooming wheel: a pinch that ends by itself when the wheel rests.
    void deliverZoomStep(CGPoint location, CGFloat factor, double time);
    /// Cancels all touches, and a pinch without them: the window is closing, or its back end has
    /// lost events.
    void cancelTouches();

    /// Called with the view that a touch belongs to, before gestures and view receive it and
    /// after.
    std::function<void(UIView&touched, UITouchPhase phase)> willDeliverTouch, didDeliverTouch;

    /// Called by an update() that is about to lay out and draw.
    std::function<void()> willUpdate;

    // For views.

    void setNeedsUpdate() { needsUpdate_ = true; }
    void addDamage(const UIView& view);

 private:
    void sendToView(const std::shared_ptr<UITouch>& touch);
    void scheduleDeadline();
    void endZoom();
    /// All of the picture.
    PixelRect wholePicture() const;
    /// The pixel of the view's corner; nothing for a view that lies too far away.
    std::optional<ViewLayer::Place> placeOf(const UIView& view) const;
    /// What of the picture a drawing there may reach, or the view's where it is.
    PixelRect pixelsAt(const ViewLayer::Place& place, const ViewLayer& layer) const;
    PixelRect pixelsOf(const UIView& view) const;
    void addDamage(const PixelRect& rect);
    void displayTree(UIView& view);

    /// A drawing in the picture.
    struct Shown {
        ViewLayer* layer;
        ViewLayer::Place place;
        PixelRect pixels;
        bool operator==(const Shown&) const = default;
    };
    /// All that shows, the farthest first.
    void collect(UIView& view, CGFloat alpha, std::vector<Shown>& into) const;
    /// Composites a part anew, on the ground or on the background.
    void compose(CGBitmapContext& picture, const PixelRect& rect, const CGBitmapContext* ground,
                 const std::vector<Shown>& shown) const;
    void updateGround(std::vector<Shown> quiet);
    void forgetGround();

    std::shared_ptr<UIViewController> root_;
    std::unique_ptr<CGBitmapContext> picture_;
    std::vector<PixelRect> damage_;
    /// The drawings that are quiet, and the picture of them alone.
    std::vector<Shown> quiet_;
    std::unique_ptr<CGBitmapContext> ground_;
    CGColor background_{0, 0, 0, 1};
    CGFloat scale_;
    bool needsUpdate_ = true;

    GestureCenter gestures_;
    std::map<std::int64_t, std::shared_ptr<UITouch>> touches_;
    /// The touches that their views have received.
    UITouchSet sent_;
    std::weak_ptr<RunLoop> loop_;
    std::optional<std::uint64_t> deadlineTimer_, zoomTimer_;
    CGPoint zoomPlace_;
    CGFloat zoom_ = 1;
};

}  // namespace platform
