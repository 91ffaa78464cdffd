#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "hosts/window/EditorWindow.h"

namespace qov::hosts {

/// The editor of a plug-in with the operations that plug-in formats have: scale and size, open
/// inside a window of the host's or above one, show, resize, close. The strip is below the panel,
/// unless the user has folded it away in a plug-in window before. Sizes are pixels. It is drawn
/// in Instance::pump(), which the host calls every `tick` and when the run loop's descriptor is
/// readable. Editor's thread; destroyed before the instance.
class EmbeddedEditor {
 public:
    /// Of the window, in pixels.
    struct Size {
        int width, height;
    };
    /// Shorter than the 50 ms of the editor's own redraw, so that a drag follows the mouse.
    static constexpr std::chrono::milliseconds tick{20};

    /// Closed, of its own size. scale: pixels a point.
    EmbeddedEditor(Instance& instance, double scale);
    ~EmbeddedEditor();
    EmbeddedEditor(const EmbeddedEditor&) = delete;
    EmbeddedEditor& operator=(const EmbeddedEditor&) = delete;

    /// Where it opens.
    struct Place {
        std::uint64_t parent = 0;        ///< the host's window to open it in; 0 for none
        std::uint64_t transientFor = 0;  ///< or the one to stay above; 0 for none
        std::string title = {};          ///< empty for the product's name
    };
    /// Opens it, not shown yet. False, with a line about why in *error, without a screen or such a
    /// parent. No-op while it is open.
    bool open(const Place& place, std::string* error);
    void close();
    bool isOpen() const { return window_ != nullptr; }

    /// A no-op that returns false while it is not open.
    bool show();
    bool hide();

    /// The size in points stays. Clamped to what can be drawn; false if not positive and finite.
    bool setScale(double scale);
    double scale() const { return scale_; }
    /// At most EditorWindow::largestSide; false if empty.
    bool setSize(Size size);
    Size size() const;
    /// The largest size of its aspect that fits, at least the smallest one. Idempotent.
    Size fitting(Size size) const;
    /// Panel and strip in points, at the panel's own size.
    platform::CGSize ownSize() const;
    /// Asks the host for another size of its window around this one, true if it agrees. Called when
    /// the user folds the strip; panel and strip are scaled to fit where the host refuses.
    std::function<bool(Size size)> requestSize;

    /// Handles a key from the host; false if the editor does not use it or is not open.
    bool key(const platform::KeyStroke& stroke) { return window_ && window_->key(stroke); }
    /// The control drawn at a place; see EditorWindow::controlAt().
    std::optional<int> controlAt(int x, int y) const;
    /// The X11 window; 0 while it is not open.
    std::uint64_t handle() const;

    /// How the window ended other than by close(): the user closed a floating one, or the screen or
    /// the parent was destroyed.
    enum class End { none, closed, lost };
    /// The end since open() or the last call.
    End takeEnd() { return std::exchange(end_, End::none); }

 private:
    int pixels(double points) const;
    void stripFolded(bool isShown);

    Instance& instance_;
    double scale_;
    bool isStripShown_;
    platform::CGSize size_ = ownSize();  // points, before it is open
    bool isFloating_ = false;
    std::optional<platform::CGSize> refusedAt_;  // the host has refused another size
    std::unique_ptr<EditorWindow> window_;
    End end_ = End::none;
};

}  // namespace qov::hosts
