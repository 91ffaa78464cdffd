#pragma once

#include <functional>
#include <optional>
#include <string>

#include "editor/PanelStyle.h"
#include "platform/coregraphics/CGContext.h"
#include "platform/uikit/UIView.h"

namespace qov::hosts {

/// A part of the strip, drawn on the strip's canvas and scaled with it. Main thread.
class StripItem : public platform::UIView {
 public:
    /// place: on the strip's canvas.
    explicit StripItem(const platform::CGRect& place) : place_(place) {}

    const platform::CGRect& place() const { return place_; }
    void setPlace(const platform::CGRect& place) { place_ = place; }
    /// Gives it its frame. scale: points a point of the canvas, whose corner lies at `left`.
    void layOut(platform::CGFloat scale, platform::CGFloat left);
    void setStyle(const PanelStyle& style);
    void draw(platform::CGRect rect) final;

 protected:
    const PanelStyle& style() const { return style_; }
    /// A pixel's width, on the canvas.
    platform::CGFloat pixel() const;

 private:
    /// bounds: on the canvas, from (0, 0).
    virtual void paint(platform::CGContext& context, const platform::CGRect& bounds) = 0;

    platform::CGRect place_;
    PanelStyle style_{platform::CGColor::gray(0.25), platform::CGColor::gray(0.75)};
};

/// Something to press, by touch or by key.
class StripButton : public StripItem {
 public:
    /// How it looks at present.
    struct State {
        bool isEnabled = true, isOn = false, isFocused = false, isPressed = false;
        std::string text = {};
        bool operator==(const State&) const = default;
    };
    /// Draws what is on it, in that colour.
    using Paint = std::function<void(platform::CGContext& context, const platform::CGRect& bounds,
                                     const platform::CGColor& color)>;
    /// raised: a button of the panel; slot: a dark field; bare: nothing around it.
    enum class Ground { raised, slot, bare };

    /// Without paint, the state's text.
    StripButton(const platform::CGRect& place, Ground ground, std::function<void()> onPress,
                Paint paint = {});

    const State& state() const { return state_; }
    void setState(const State& state);
    /// A no-op while it is not enabled.
    void press() const;

    void touchesBegan(const platform::UITouchSet& touches, platform::UIEvent* event) override;
    void touchesMoved(const platform::UITouchSet& touches, platform::UIEvent* event) override;
    void touchesEnded(const platform::UITouchSet& touches, platform::UIEvent* event) override;
    void touchesCancelled(const platform::UITouchSet& touches, platform::UIEvent* event) override;

 private:
    void paint(platform::CGContext& context, const platform::CGRect& bounds) override;
    void setPressed(bool isPressed);

    Ground ground_;
    std::function<void()> onPress_;
    Paint paint_;
    State state_;
};

/// A figure's text, and a lamp at its right end. Touches pass through it.
class StripText : public StripItem {
 public:
    /// hasLamp: there is a lamp.
    StripText(const platform::CGRect& place, bool hasLamp);
    void show(const std::string& text);
    /// Turns the lamp on or off.
    void light(bool isLit);

 private:
    void paint(platform::CGContext& context, const platform::CGRect& bounds) override;

    bool hasLamp_, isLit_ = false;
    std::string text_;
};

/// A figure as a bar below a scale, which it draws itself where nothing moves. Touches pass through
/// it.
class StripBar : public StripItem {
 public:
    /// Values at the left and right ends, where the bar starts, and the distance of the marks.
    struct Scale {
        double first, last, zero, step;
    };
    StripBar(const platform::CGRect& place, const Scale& scale);
    /// Draws the marks above the bar; the context is that of the strip's canvas.
    void drawScale(platform::CGContext& context, const platform::CGColor& color) const;
    /// NaN for no bar and for no mark.
    void show(double value, double mark);

 private:
    void paint(platform::CGContext& context, const platform::CGRect& bounds) override;
    std::optional<platform::CGFloat> placeOf(double value) const;

    Scale scale_;
    std::optional<platform::CGFloat> value_, mark_;  // on the canvas, in whole pixels
};

}  // namespace qov::hosts
