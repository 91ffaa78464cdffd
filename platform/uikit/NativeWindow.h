#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/coregraphics/CGGeometry.h"

namespace platform {

class UIWindow;

/// The keys that mean something to somebody.
enum class Key { other, left, right, up, down, space, escape };

/// A key going down, or repeating while it is held.
struct KeyStroke {
    Key key = Key::other;
    bool shift = false;
};

/// A window on the screen that shows a UIWindow and feeds it with touches. Works inside the run
/// loop that was current when it was opened: it draws at the end of each turn, what has changed.
/// The mouse's first button is one touch, a touch screen gives as many as there are fingers; a
/// trackpad's pinch and the wheel with Ctrl are pinches. Main thread.
class NativeWindow {
 public:
    /// How a window comes up.
    struct Options {
        std::string title;
        /// A foreign window that it is to live in; 0 for a window of its own.
        std::uint64_t parent = 0;
        /// A foreign window that a window of its own stays above; 0 for none.
        std::uint64_t transientFor = 0;
        /// Pixels a point; 0 for what the desktop says.
        CGFloat scale = 0;
        /// Smallest size that the desktop lets the user choose, in points.
        CGSize minimumSize{1, 1};
        /// Points of the screen a point of the content, for a window of that size in points of the
        /// screen. Called before the content gets the size. Empty: 1.
        std::function<CGFloat(CGSize size)> contentScale;
    };

    /// Gives `content` the screen's scale and keeps its size. Not shown yet. Null, with a line
    /// about why in *error, where there is no screen to show it on.
    static std::unique_ptr<NativeWindow> open(std::shared_ptr<UIWindow> content,
                                              const Options& options, std::string* error);

    /// Pixels a point that the desktop asks for, for hosts that want to know a size before there
    /// is a window. Nothing, with a line in *error as above, where there is no screen.
    static std::optional<CGFloat> desktopScale(std::string* error);

    NativeWindow(const NativeWindow&) = delete;
    NativeWindow& operator=(const NativeWindow&) = delete;
    /// Cancels the touches that are down, then closes. Not from inside one of the callbacks.
    virtual ~NativeWindow() = default;

    virtual void show() = 0;
    virtual void hide() = 0;
    /// Points of the screen, as the size of `content` is at the time of open().
    virtual void setSize(CGSize size) = 0;
    virtual CGSize size() const = 0;
    /// Pixels a point of the screen.
    virtual CGFloat scale() const = 0;
    /// The size in points stays.
    virtual void setScale(CGFloat scale) = 0;
    /// Names it to the system: an X11 window.
    virtual std::uint64_t handle() const = 0;
    /// Where the mouse is over the window, in points of the content, as are all places below.
    virtual std::optional<CGPoint> pointer() const = 0;
    /// False once the screen is gone; everything else does nothing then.
    virtual bool isAlive() const = 0;

    /// The user asks to close it.
    std::function<void()> onClose;
    /// The screen, or the window it lived in, is gone.
    std::function<void()> onLost;
    /// True if the key meant something. A window that lives in another one gets none.
    std::function<bool(const KeyStroke& key)> onKey;
    /// The wheel without Ctrl, in steps, up counts positive. What it leaves (false) zooms.
    std::function<bool(CGPoint at, int steps)> onWheel;
    /// The mouse is at another place with no button down, or has left, gone down or given way to a
    /// finger (none).
    std::function<void(std::optional<CGPoint> at)> onHover;
    /// It has another size now, in points of the screen.
    std::function<void(CGSize size)> onResize;

 protected:
    NativeWindow() = default;
};

}  // namespace platform
