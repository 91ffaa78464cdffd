#pragma once

#include "platform/coregraphics/CGContext.h"
#include "platform/coregraphics/CGPath.h"

namespace platform {

/// A path and its line width, drawn on the current context in its current colours.
class UIBezierPath {
 public:
    UIBezierPath() = default;
    explicit UIBezierPath(CGPath path) : path_(std::move(path)) {}
    static UIBezierPath rect(const CGRect& r) { return UIBezierPath(CGPath::rect(r)); }
    static UIBezierPath roundedRect(const CGRect& r, CGFloat cornerRadius) {
        return UIBezierPath(CGPath::roundedRect(r, cornerRadius));
    }
    static UIBezierPath ovalInRect(const CGRect& r) { return UIBezierPath(CGPath::ellipse(r)); }
    static UIBezierPath arc(CGPoint center, CGFloat radius, CGFloat startAngle, CGFloat endAngle,
                            bool clockwise);

    void addArc(CGPoint center, CGFloat radius, CGFloat startAngle, CGFloat endAngle,
                bool clockwise) {
        path_.addArc(center, radius, startAngle, endAngle, clockwise);
    }
    void closePath() { path_.closeSubpath(); }

    bool isEmpty() const { return path_.isEmpty(); }
    CGRect bounds() const { return path_.boundingBox(); }
    bool containsPoint(CGPoint p) const { return path_.contains(p); }

    // No-ops without a current context.

    void fill() const;
    void stroke() const;

    CGFloat lineWidth = 1;

 private:
    CGPath path_;
};

}  // namespace platform
