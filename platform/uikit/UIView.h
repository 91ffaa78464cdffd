#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/coregraphics/CGGeometry.h"
#include "platform/uikit/NSCoder.h"
#include "platform/uikit/NSLayoutConstraint.h"
#include "platform/uikit/UIResponder.h"

namespace platform {

class CGBitmapContext;
class UIGestureRecognizer;
class UIViewController;
class UIWindow;
class ViewLayer;

/// How a view follows its superview's size without constraints. Bits.
enum UIViewAutoresizing : std::uint32_t {
    UIViewAutoresizingNone = 0,
    UIViewAutoresizingFlexibleLeftMargin = 1,
    UIViewAutoresizingFlexibleWidth = 2,
    UIViewAutoresizingFlexibleRightMargin = 4,
    UIViewAutoresizingFlexibleTopMargin = 8,
    UIViewAutoresizingFlexibleHeight = 16,
    UIViewAutoresizingFlexibleBottomMargin = 32,
};

/// A rectangle of the screen that draws itself, holds other views and takes touches.
///
/// Its drawing is cached in a bitmap and repeated only after setNeedsDisplay() or a change of size;
/// a view that is moved, hidden or faded is composited again from its bitmap.
/// Views lie in their superview without turning or scaling; a view is not clipped to its superview.
/// Views belong to shared pointers. Main thread.
class UIView : public UIResponder, public std::enable_shared_from_this<UIView> {
 public:
    explicit UIView(CGRect frame = {});
    explicit UIView(const NSCoder& coder) : UIView(coder.frame) {}
    UIView(const UIView&) = delete;
    UIView& operator=(const UIView&) = delete;
    ~UIView() override;

    // Place, in points

    /// In the superview's coordinates.
    CGRect frame() const { return frame_; }
    /// A frame that is null or not finite is kept, and the view is then neither drawn nor hit.
    void setFrame(const CGRect& frame);
    /// The same size, in the view's own coordinates: the origin is (0, 0).
    CGRect bounds() const { return {{}, frame_.size}; }
    CGPoint center() const { return frame_.center(); }
    void setCenter(CGPoint center);

    CGPoint convertFromWindow(CGPoint point) const;
    CGPoint convertToWindow(CGPoint point) const;

    // Hierarchy, back to front

    UIView* superview() const { return superview_; }
    const std::vector<std::shared_ptr<UIView>>& subviews() const { return subviews_; }
    void addSubview(std::shared_ptr<UIView> view);
    void insertSubview(std::shared_ptr<UIView> view, std::size_t at);
    /// Afterwards the caller's pointer may be the last one.
    void removeFromSuperview();
    void bringSubviewToFront(UIView& view);
    virtual UIWindow* window() const;
    UIResponder* next() const override { return superview_; }

    // Looks

    bool isHidden() const { return hidden_; }
    void setHidden(bool hidden);
    /// 0..1, for the view and all inside it (each by itself, not as a group).
    CGFloat alpha() const { return alpha_; }
    void setAlpha(CGFloat alpha);

    /// Marks the view for draw() before the next picture.
    void setNeedsDisplay();
    /// Draws the view into the current context. rect: the bounds. A view that draws nothing costs
    /// no bitmap.
    virtual void draw(CGRect /*rect*/) {}

    // Layout

    /// Marks the view for layoutSubviews() before the next picture.
    void setNeedsLayout();
    /// Lays out this view and everything in it that is marked for it.
    void layoutIfNeeded();
    /// Places the subviews; by default as the active constraints say.
    virtual void layoutSubviews();

    std::uint32_t autoresizingMask() const { return autoresizingMask_; }
    void setAutoresizingMask(std::uint32_t mask) { autoresizingMask_ = mask; }
    bool translatesAutoresizingMaskIntoConstraints() const { return translatesMask_; }
    void setTranslatesAutoresizingMaskIntoConstraints(bool translates);

    NSLayoutAnchor topAnchor() { return {*this, NSLayoutAttribute::top}; }
    NSLayoutAnchor bottomAnchor() { return {*this, NSLayoutAttribute::bottom}; }
    NSLayoutAnchor leadingAnchor() { return {*this, NSLayoutAttribute::leading}; }
    NSLayoutAnchor trailingAnchor() { return {*this, NSLayoutAttribute::trailing}; }
    /// The active constraints that this view places.
    const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints() const {
        return constraints_;
    }

    // Touches; only the first finger on a view is sent to it

    bool isUserInteractionEnabled() const { return interactive_; }
    void setUserInteractionEnabled(bool enabled) { interactive_ = enabled; }
    /// The frontmost view at a point of this view's coordinates; null outside.
    virtual std::shared_ptr<UIView> hitTest(CGPoint point);
    virtual bool pointInside(CGPoint point) const { return bounds().contains(point); }

    void addGestureRecognizer(std::shared_ptr<UIGestureRecognizer> recognizer);
    void removeGestureRecognizer(UIGestureRecognizer& recognizer);
    const std::vector<std::shared_ptr<UIGestureRecognizer>>& gestureRecognizers() const {
        return recognizers_;
    }
    /// Whether a gesture of this or an outer view may begin; called on the view that was hit.
    virtual bool gestureRecognizerShouldBegin(const UIGestureRecognizer& /*recognizer*/) {
        return true;
    }

    // For windows and view controllers.

    ViewLayer& layer() { return *layer_; }
    const ViewLayer& layer() const { return *layer_; }
    void setViewController(UIViewController* controller) { controller_ = controller; }

 private:
    friend class NSLayoutConstraint;
    void damage() const;
    void resizeSubviews(CGSize before);

    CGRect frame_;
    UIView* superview_ = nullptr;
    UIViewController* controller_ = nullptr;
    std::vector<std::shared_ptr<UIView>> subviews_;
    std::vector<std::shared_ptr<UIGestureRecognizer>> recognizers_;
    std::vector<std::shared_ptr<NSLayoutConstraint>> constraints_;
    std::unique_ptr<ViewLayer> layer_;
    CGFloat alpha_ = 1;
    std::uint32_t autoresizingMask_ = UIViewAutoresizingNone;
    bool hidden_ = false;
    bool interactive_ = true;
    bool needsLayout_ = true;
    bool translatesMask_ = true;
};

}  // namespace platform
