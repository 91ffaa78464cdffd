#pragma once

#include <cstdint>
#include <vector>

#include "platform/coregraphics/CGAffineTransform.h"

namespace platform {

/// Lines, curves and closed figures, as a value. Curves are kept as curves.
class CGPath {
 public:
    /// They use 1, 1, 3 and 0 of points().
    enum class Element : std::uint8_t { moveTo, lineTo, curveTo, close };

    static CGPath rect(const CGRect& r);
    /// Corner radius in points, limited to half the shorter side.
    static CGPath roundedRect(const CGRect& r, CGFloat radius);
    static CGPath ellipse(const CGRect& r);

    void moveTo(CGPoint p);
    /// Without a current point, lines and curves start a figure at p.
    void addLineTo(CGPoint p);
    void addCurveTo(CGPoint control1, CGPoint control2, CGPoint p);
    /// Angles in radians from the x axis, clockwise on the screen. A line joins the current point
    /// to the start of the arc.
    void addArc(CGPoint center, CGFloat radius, CGFloat startAngle, CGFloat endAngle,
                bool clockwise);
    void closeSubpath();

    void addRect(const CGRect& r);
    void addPath(const CGPath& other, const CGAffineTransform& transform = {});
    void apply(const CGAffineTransform& transform);

    bool isEmpty() const { return elements_.empty(); }
    /// Of all points, control points included; null for an empty path.
    CGRect boundingBox() const;
    /// Whether filling would cover p: winding number not zero, open figures closed.
    bool contains(CGPoint p) const;

    const std::vector<Element>& elements() const { return elements_; }
    const std::vector<CGPoint>& points() const { return points_; }

 private:
    std::vector<Element> elements_;
    std::vector<CGPoint> points_;
    CGPoint start_, current_;
};

}  // namespace platform
