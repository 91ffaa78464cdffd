#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "hosts/instance/product.h"
#include "platform/coregraphics/CGGeometry.h"

namespace platform {
class NativeWindow;
class UIView;
class UIWindow;
}  // namespace platform

namespace qov {
class AudioUnitViewController;
}

namespace qov::hosts {

class HoverView;
class Instance;

/// The editor of an instance in a window of its own or inside a host's, where fitPanel() scales it
/// to the window. It takes part in the
/// instance's run loop, which somebody has to pump. Belongs to the editor's thread, like all of its
/// operations, and goes before the instance does.
///
/// It keeps what the panel expects of its host: the panel that is touched was the last one to draw
/// in the process, and the host's automation hears of the beginning and the end of a touch. The
/// wheel turns the control under the mouse, and what a press would act on is marked there.
class EditorWindow {
 public:
    /// Where the window goes, and how large it is.
    struct Options {
        std::string title = product::name;
        std::uint64_t parent = 0;           ///< a foreign window to live in; 0 for none
        std::uint64_t transientFor = 0;     ///< or one to stay above; 0 for none
        platform::CGFloat scale = 0;        ///< pixels a point; 0 for what the desktop says
        platform::CGSize size = panelSize;  ///< points
    };
    /// The panel's own size, in points.
    static constexpr platform::CGSize panelSize{680, 440};
    /// A quarter of it: less cannot be read.
    static constexpr platform::CGSize smallestSize{170, 110};
    /// What a host may ask for: pixels a point, and pixels of a side.
    static constexpr double smallestScale = 0.5, largestScale = 8;
    static constexpr int largestSide = 8192;

    /// Not shown yet. The instance was made with an AudioUnitViewController as its factory. Null,
    /// with a line about why in *error, where there is no screen.
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
    /// Turns that control by so much of its range, as a touch would; it stops at the ends.
    void nudge(int address, float by);

 private:
    EditorWindow(Instance& instance, std::shared_ptr<AudioUnitViewController> controller,
                 std::shared_ptr<platform::UIWindow> content);
    /// A point of the window on the panel's canvas, where the panel is the frontmost there.
    std::optional<platform::CGPoint> canvasPoint(platform::CGPoint point) const;
    platform::CGFloat canvasScale() const;
    void hover(std::optional<platform::CGPoint> at);

    Instance& instance_;
    std::shared_ptr<AudioUnitViewController> controller_;
    std::shared_ptr<platform::UIWindow> content_;
    std::unique_ptr<platform::NativeWindow> native_;
    std::shared_ptr<HoverView> hover_;
    int touches_ = 0;  // down on the panel
};

}  // namespace qov::hosts
