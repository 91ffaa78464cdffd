#pragma once

#include <cstdint>
#include <vector>

#include "platform/coregraphics/CGAffineTransform.h"

namespace platform {

/// Lines, curves and closed figures, as a value. Points are kept as given; nothing is flattened.
class CGPath {
 public:
    /// How many points each takes from points(): 1, 1, 3, 0.
    enum class Element : std::uint8_t { moveTo, lineTo, curveTo, close };

    static CGPath rect(const CGRect& r);
    /// Corners of radius x radius, no larger than half a side.
    static CGPath roundedRect(const CGRect& r, CGFloat radius);
    static CGPath ellipse(const CGRect& r);

    void moveTo(CGPoint p);
    /// Lines and curves need a current point; without one they start a figure at p.
    void addLineTo(CGPoint p);
    void addCurveTo(CGPoint control1, CGPoint control2, CGPoint p);
    /// Angles in radians from the x axis; clockwise as seen on the screen. A line leads to its
    /// start.
    void addArc(CGPoint center, CGFloat radius, CGFloat startAngle, CGFloat endAngle,
                bool clockwise);
    void closeSubpath();

    void addRect(const CGRect& r);
    void addRoundedRect(const CGRect& r, CGFloat radius);
    void addEllipse(const CGRect& r);
    void addPath(const CGPath& other, const CGAffineTransform& transform = {});
    void apply(const CGAffineTransform& transform);

    bool isEmpty() const { return elements_.empty(); }
    /// Around all points, control points too; null in an empty path.
    CGRect boundingBox() const;
    /// Inside when filled: open figures count as closed. Non-zero winding unless evenOdd.
    bool contains(CGPoint p, bool evenOdd = false) const;

    const std::vector<Element>& elements() const { return elements_; }
    const std::vector<CGPoint>& points() const { return points_; }

 private:
    std::vector<Element> elements_;
    std::vector<CGPoint> points_;
    CGPoint start_, current_;
};

/// The same type: a path may always be added to.
using CGMutablePath = CGPath;

}  // namespace platform
