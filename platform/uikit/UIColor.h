#pragma once

#include "platform/coregraphics/CGColor.h"

namespace platform {

/// A view's colour, as a value.
class UIColor {
 public:
    UIColor() = default;
    UIColor(CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha)
        : color_{red, green, blue, alpha} {}
    UIColor(CGFloat white, CGFloat alpha) : color_(CGColor::gray(white, alpha)) {}
    explicit UIColor(const CGColor& color) : color_(color) {}
    bool operator==(const UIColor&) const = default;

    static UIColor lightGray() { return {2 / 3.0, 1}; }

    const CGColor& cgColor() const { return color_; }
    // Of the current context; no-ops without one.

    void setFill() const;
    void setStroke() const;
    void set() const;

 private:
    CGColor color_{0, 0, 0, 0};
};

}  // namespace platform
