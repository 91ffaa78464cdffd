#pragma once

#include "platform/coregraphics/CGColor.h"

namespace platform {

/// A colour as views hold it; a value.
class UIColor {
 public:
    UIColor() = default;
    UIColor(CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha)
        : color_{red, green, blue, alpha} {}
    UIColor(CGFloat white, CGFloat alpha) : color_(CGColor::gray(white, alpha)) {}
    explicit UIColor(const CGColor& color) : color_(color) {}
    bool operator==(const UIColor&) const = default;

    static UIColor black() { return {0, 1}; }
    static UIColor darkGray() { return {1 / 3.0, 1}; }
    static UIColor gray() { return {0.5, 1}; }
    static UIColor lightGray() { return {2 / 3.0, 1}; }
    static UIColor white() { return {1, 1}; }
    static UIColor clear() { return {0, 0}; }
    static UIColor red() { return {1, 0, 0, 1}; }

    const CGColor& cgColor() const { return color_; }
    /// Of the current context; without one nothing happens.
    void setFill() const;
    void setStroke() const;
    void set() const;

 private:
    CGColor color_{0, 0, 0, 0};
};

}  // namespace platform
