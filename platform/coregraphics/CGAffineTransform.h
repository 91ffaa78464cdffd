#pragma once

#include <cmath>

#include "platform/coregraphics/CGGeometry.h"

namespace platform {

/// (x, y) becomes (a x + c y + tx, b x + d y + ty).
struct CGAffineTransform {
    CGFloat a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;
    bool operator==(const CGAffineTransform&) const = default;

    static CGAffineTransform translation(CGFloat x, CGFloat y) { return {1, 0, 0, 1, x, y}; }
    static CGAffineTransform scale(CGFloat x, CGFloat y) { return {x, 0, 0, y, 0, 0}; }
    /// Radians; positive turns clockwise on the screen, as y grows downward.
    static CGAffineTransform rotation(CGFloat angle) {
        const CGFloat s = std::sin(angle), k = std::cos(angle);
        return {k, s, -s, k, 0, 0};
    }

    /// Applies this transform first, then the next.
    CGAffineTransform concatenating(const CGAffineTransform& next) const {
        return {a * next.a + b * next.c,
                a * next.b + b * next.d,
                c * next.a + d * next.c,
                c * next.b + d * next.d,
                tx * next.a + ty * next.c + next.tx,
                tx * next.b + ty * next.d + next.ty};
    }

    CGFloat determinant() const { return a * d - b * c; }
    /// A singular transform returns itself.
    CGAffineTransform inverted() const {
        const CGFloat det = determinant();
        if (det == 0) return *this;
        return {
            d / det, -b / det, -c / det, a / det, (c * ty - d * tx) / det, (b * tx - a * ty) / det};
    }

    CGPoint apply(CGPoint p) const { return {a * p.x + c * p.y + tx, b * p.x + d * p.y + ty}; }
    /// The bounding box of the transformed corners.
    CGRect apply(const CGRect& r) const {
        const CGPoint p = apply(CGPoint{r.minX(), r.minY()}),
                      q = apply(CGPoint{r.maxX(), r.minY()});
        const CGPoint s = apply(CGPoint{r.minX(), r.maxY()}),
                      t = apply(CGPoint{r.maxX(), r.maxY()});
        const auto [left, right] = std::minmax({p.x, q.x, s.x, t.x});
        const auto [top, bottom] = std::minmax({p.y, q.y, s.y, t.y});
        return {left, top, right - left, bottom - top};
    }
};

}  // namespace platform
