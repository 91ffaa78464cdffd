#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/coregraphics/CGGeometry.h"

namespace platform {

class UIWindow;
enum class UITouchPhase;

/// The keys that act as such; all others only type a character.
enum class Key {
    other,
    left,
    right,
    up,
    down,
    space,
    escape,
    enter,
    backspace,
    forwardDelete,
    home,
    end,
    tab
};

/// The modifier keys that are held.
struct KeyModifiers {
    bool shift = false;
    bool control = false;
};

/// A key going down, or repeating while it is held.
struct KeyStroke {
    Key key = Key::other;
    KeyModifiers held;
    std::string text =
        {};  ///< what it types, with Ctrl too: printable UTF-8; empty for anything else
};

/// The keys that a window inside another one takes from it: none, the arrows and Return or Tab
/// (while the mouse is in it or it has the focus), or all of them, with the input focus.
enum class KeyDemand { none, steps, tab, all };

/// A window on the screen that shows a UIWindow and delivers touches to it. It runs on the run loop
/// that was current when it was opened, and draws what has changed at the end of each turn.
/// The mouse's first button is one touch, each finger on a touch screen is one; a
/// trackpad's pinch and the wheel with Ctrl are pinches. Main thread.
class NativeWindow {
 public:
    /// What a window is opened with.
    struct Options {
        std::string title;
        /// The foreign window to open it in; 0 for a window of its own.
        std::uint64_t parent = 0;
        /// A foreign window that a window of its own stays above; 0 for none.
        std::uint64_t transientFor = 0;
        /// Pixels a point; 0 for the desktop's own.
        CGFloat scale = 0;
        /// The smallest size that the user may choose, in points.
        CGSize minimumSize{1, 1};
        /// Width and height whose ratio is kept when the user resizes; zero for any ratio.
        CGSize aspect = {};
        /// WM_CLASS, by which desktops find the application's entry and icon; empty for none.
        std::string application = {};
        /// Points of the screen a point of the content, for a window of that size in points of the
        /// screen. Called before the content gets the size. Empty: 1.
        std::function<CGFloat(CGSize size)> contentScale = {};
    };

    /// Sets the screen's scale on `content`, whose size stays. Not shown yet. Null, with one line
    /// in *error, where there is no screen to show it on.
    static std::unique_ptr<NativeWindow> open(std::shared_ptr<UIWindow> content,
                                              const Options& options, std::string* error);

    /// The desktop's own pixels a point, for hosts that ask for a size before there is a window.
    /// Nothing, with a line in *error as above, where there is no screen.
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
    /// As Options::aspect, from now on.
    virtual void setAspect(CGSize aspect) = 0;
    /// Pixels a point of the screen.
    virtual CGFloat scale() const = 0;
    /// The size in points stays.
    virtual void setScale(CGFloat scale) = 0;
    /// The window's identifier in the system: an X11 window.
    virtual std::uint64_t handle() const = 0;
    /// For a window inside another one; at first `none`. A window of its own gets every key while
    /// it has the focus, and this is a no-op. Leaving `all` gives the focus back.
    virtual void demandKeys(KeyDemand demand) = 0;
    /// Where the mouse is over the window, in points of the content, as are all places below.
    virtual std::optional<CGPoint> pointer() const = 0;
    /// False after the screen, or the window around it, is gone; all other calls are no-ops then.
    virtual bool isAlive() const = 0;

    /// The user asks to close it.
    std::function<void()> onClose;
    /// The screen, or the window around it, is gone.
    std::function<void()> onLost;
    /// A window inside another one gets the keys that demandKeys() asks for.
    std::function<void(const KeyStroke& key)> onKey;
    /// Another window has taken the focus while all keys were demanded.
    std::function<void()> onFocusLost;
    /// The wheel, in steps, positive for up. If it returns false, the wheel zooms.
    std::function<bool(CGPoint at, int steps, KeyModifiers held)> onWheel;
    /// Called with each touch of mouse or finger before the content gets it; returns the place that
    /// the content gets. Nothing at touch-down keeps the whole touch from the content. The
    /// identifier is as in UIWindow::deliverTouch().
    std::function<std::optional<CGPoint>(std::int64_t identifier, UITouchPhase phase, CGPoint at,
                                         KeyModifiers held)>
        routeTouch;
    /// The mouse has moved with no button down. Nothing for a mouse that has left the window, whose
    /// button is down, or after a touch by a finger.
    std::function<void(std::optional<CGPoint> at)> onHover;
    /// The size has changed, in points of the screen.
    std::function<void(CGSize size)> onResize;

 protected:
    NativeWindow() = default;
};

}  // namespace platform
