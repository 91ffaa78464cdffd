#pragma once

#include <optional>
#include <vector>

#include "hosts/window/CaptionView.h"
#include "platform/uikit/NativeWindow.h"
#include "platform/uikit/UIView.h"

namespace qov::hosts {

/// What an EditorWindow shows below its panel, as wide as the window. Main thread, with the
/// instance's run loop current. Places are in points of the window's content.
class PanelFooter : public platform::UIView {
 public:
    /// Its present height, on a canvas as wide as the panel's.
    virtual platform::CGFloat canvasHeight() const = 0;

    /// Whether it is to get every key, as while it is typed into.
    virtual bool takesKeys() const = 0;
    /// A key that takesKeys() has asked for, or that nobody else has used. True if it was used.
    virtual bool key(const platform::KeyStroke& stroke) = 0;
    /// Another window has the keys now.
    virtual void loseKeys() = 0;

    /// Before the window is drawn, which happens with each of the panel's 20 redraws a second and
    /// whenever something else has changed.
    virtual void willDraw() = 0;
    /// Before a touch begins anywhere in the window. False if nobody is to get it.
    virtual bool willTouch(platform::CGPoint at) = 0;
    /// True if it used the wheel.
    virtual bool wheel(platform::CGPoint at, int steps) = 0;
    /// Whether the mouse is over it.
    virtual bool hover(std::optional<platform::CGPoint> at) = 0;
    /// The part at a place; nothing beside the parts.
    virtual std::optional<platform::CGRect> areaAt(platform::CGPoint at) const = 0;
    /// A tooltip for that part.
    virtual std::vector<CaptionView::Line> helpAt(platform::CGPoint at) const = 0;
    /// The panel's brightness, 0..1, may have changed.
    virtual void setBrightness(platform::CGFloat brightness) = 0;
};

}  // namespace qov::hosts
