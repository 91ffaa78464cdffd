#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "editor/panelCanvas.h"
#include "hosts/instance/product.h"
#include "hosts/window/CaptionView.h"
#include "hosts/window/EditGesture.h"
#include "platform/coregraphics/CGGeometry.h"

namespace platform {
class NativeWindow;
class UIView;
class UIWindow;
enum class KeyDemand;
struct KeyStroke;
}  // namespace platform

namespace qov {
class AudioUnitViewController;
}

namespace qov::hosts {

class HoverView;
class Instance;
class PanelFooter;
class PanelInput;

/// The editor of an instance in a window of its own or inside a host's; fitPanel() scales it to the
/// window. Its events arrive through the instance's run loop, which the owner has to pump. Editor's
/// thread; destroyed before the instance.
///
/// It meets the panel's requirements: before a touch the touched panel is drawn, so that it is the
/// last one drawn in the process, and the host's automation gets the beginning and the end of each
/// gesture. The control under the mouse is highlighted. See PanelInput for wheel, keys and clicks.
class EditorWindow {
 public:
    /// Place and size of the window.
    struct Options {
        std::string title = product::name;
        std::uint64_t parent = 0;           ///< the host's window to open it in; 0 for none
        std::uint64_t transientFor = 0;     ///< or the one to stay above; 0 for none
        platform::CGFloat scale = 0;        ///< pixels a point; 0 for the desktop's own
        platform::CGSize size = panelSize;  ///< points, with the footer
        /// Makes what is shown below the panel; empty for nothing.
        std::function<std::shared_ptr<PanelFooter>(EditorWindow& window)> makeFooter = {};
    };
    /// The panel's own size, in points.
    static constexpr platform::CGSize panelSize = panelCanvas;
    /// A quarter of it; smaller text is unreadable.
    static constexpr platform::CGSize smallestSize{170, 110};
    /// Limits of what a host may request: pixels a point, and pixels of a side.
    static constexpr double smallestScale = 0.5, largestScale = 8;
    static constexpr int largestSide = 8192;

    /// Opens it, not shown yet. The instance needs an AudioUnitViewController as its factory. Null,
    /// with a line about why in *error, without a screen or such a parent.
    static std::unique_ptr<EditorWindow> open(Instance& instance, const Options& options,
                                              std::string* error);
    ~EditorWindow();
    EditorWindow(const EditorWindow&) = delete;
    EditorWindow& operator=(const EditorWindow&) = delete;

    /// The window on the screen: show, hide, size, callbacks.
    platform::NativeWindow& native() { return *native_; }
    platform::UIWindow& content() { return *content_; }
    AudioUnitViewController& controller() { return *controller_; }

    /// Which of width, panorama and phase shift (their addresses) is drawn at a point of the
    /// window.
    std::optional<int> controlAt(platform::CGPoint point) const;
    /// The editing mode at a point of the window; empty outside the hot areas.
    std::string modeAt(platform::CGPoint point) const;
    /// The hot area of the panel, or the part of the footer, at a point of the window, in points of
    /// the window.
    std::optional<platform::CGRect> hotAreaAt(platform::CGPoint point) const;
    /// A tooltip for it.
    std::vector<CaptionView::Line> helpAt(platform::CGPoint point) const;
    /// An area of the panel's canvas, in points of the window.
    platform::CGRect windowArea(const platform::CGRect& canvasArea) const;
    /// Sets a parameter, 0..1, without a gesture, and shows the bypass.
    void setValue(std::uint64_t address, float value);
    /// Sets the panel's suspend switch, which follows touches only, as the bypass is.
    void showBypass();

    /// How the picture of the signal is drawn.
    struct Picture {
        bool isShown = true, isNormalized = true, isLines = false;
    };
    Picture picture() const;
    void setPicture(const Picture& picture);
    /// Of the panel's background, 0..1.
    float brightness() const;
    void setBrightness(float brightness);
    /// Handles a key of the window or of the host. True if it was used.
    bool key(const platform::KeyStroke& stroke);
    /// Receives the keys that the panel does not use; returns whether it used them.
    std::function<bool(const platform::KeyStroke&)> onKey;
    /// The user's gestures, whose beginning and end can be observed here.
    EditGesture& gesture() { return gesture_; }
    /// Ends the gesture of a wheel or a key that may still go on.
    void endTurn();
    /// Inside a host: the keys that the panel needs. The footer's need comes first.
    void demandKeys(platform::KeyDemand demand);

    /// What is shown below the panel; null for nothing.
    PanelFooter* footer() const { return footer_.get(); }
    /// The window's size in which the footer has its present height and the panel the place that it
    /// has now.
    platform::CGSize wantedSize() const;
    /// Also lays the window out anew, as after a change of the footer's height.
    void setSize(platform::CGSize size);
    /// The place for the panel, in points.
    platform::CGSize panelPlace() const;

 private:
    EditorWindow(Instance& instance, std::shared_ptr<AudioUnitViewController> controller,
                 std::shared_ptr<platform::UIWindow> content);
    /// A point of the window on the panel's canvas, where the panel is the frontmost there.
    std::optional<platform::CGPoint> canvasPoint(platform::CGPoint point) const;
    platform::CGFloat canvasScale() const;
    bool isInFooter(platform::CGPoint point) const;
    platform::CGFloat layOut(platform::CGSize size);
    platform::CGSize aspect() const;
    void takeInput();
    void hover(std::optional<platform::CGPoint> at);

    Instance& instance_;
    std::shared_ptr<AudioUnitViewController> controller_;
    std::shared_ptr<platform::UIWindow> content_;
    std::unique_ptr<platform::NativeWindow> native_;
    std::shared_ptr<HoverView> hover_;
    EditGesture gesture_;
    std::unique_ptr<PanelInput> input_;
    std::shared_ptr<PanelFooter> footer_;
    platform::CGFloat footerHeight_ = 0;  // that is laid out, on the panel's canvas
    bool isOverFooter_ = false;           // the mouse
};

}  // namespace qov::hosts
