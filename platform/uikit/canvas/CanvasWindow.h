#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/NativeWindow.h"

namespace platform {

/// A canvas of a page as a window. The page passes its events on, in points of the canvas (CSS
/// pixels), and pumps the run loop. Main thread.
class CanvasWindow final : public NativeWindow {
 public:
    CanvasWindow(std::shared_ptr<UIWindow> content, const Options& options);
    ~CanvasWindow() override;

    // Events of the page

    /// A pointer that is down; identifier: the pointer's.
    void touch(std::int64_t identifier, UITouchPhase phase, CGPoint at, KeyModifiers held);
    /// A mouse with no button down; nothing for one that has left.
    void hover(std::optional<CGPoint> at);
    /// Steps of the wheel, positive for up.
    void wheel(CGPoint at, int steps, KeyModifiers held);
    /// A pinch on a trackpad; factor: since the last call.
    void zoom(CGPoint at, CGFloat factor);
    /// The canvas has another size, in CSS pixels, or another number of pixels for each.
    void resize(CGSize size, CGFloat scale);

    void show() override { setShown(true); }
    void hide() override { setShown(false); }
    void setSize(CGSize size) override { resize(size, scale_); }
    CGSize size() const override { return size_; }
    CGFloat scale() const override { return scale_; }
    void setScale(CGFloat scale) override { resize(size_, scale); }
    /// Always 1: a module has one window.
    std::uint64_t handle() const override { return 1; }
    /// The canvas gets keys while it has the page's focus.
    void setAspect(CGSize) override {}
    void demandKeys(KeyDemand) override {}
    std::optional<CGPoint> pointer() const override { return pointer_; }
    bool isAlive() const override { return true; }

 private:
    void setShown(bool isShown);
    CGPoint contentPoint(CGPoint p) const;
    void present();

    std::shared_ptr<UIWindow> content_;
    std::function<CGFloat(CGSize)> contentScale_;
    CGSize size_;
    CGFloat scale_ = 1;
    std::optional<CGPoint> pointer_;
    bool isShown_ = false;
    std::shared_ptr<RunLoop> loop_;
    RunLoop::ObserverID observer_ = 0;
};

}  // namespace platform
