#include "platform/coregraphics/CGPath.h"

#include <numbers>

namespace platform {

namespace {

constexpr CGFloat pi = std::numbers::pi;

CGPoint mix(CGPoint p, CGPoint q, CGFloat t) {
    return {p.x + (q.x - p.x) * t, p.y + (q.y - p.y) * t};
}

/// Signed crossings of the ray from p to the right, for one directed edge.
int windingOf(CGPoint a, CGPoint b, CGPoint p) {
    if ((a.y <= p.y) == (b.y <= p.y)) return 0;
    const CGFloat x = a.x + (p.y - a.y) / (b.y - a.y) * (b.x - a.x);
    if (x <= p.x) return 0;
    return b.y > a.y ? 1 : -1;
}

CGPoint onCurve(CGPoint a, CGPoint c1, CGPoint c2, CGPoint b, CGFloat t) {
    const CGPoint p = mix(a, c1, t), q = mix(c1, c2, t), r = mix(c2, b, t);
    return mix(mix(p, q, t), mix(q, r, t), t);
}

}  // namespace

CGPath CGPath::rect(const CGRect& r) {
    CGPath path;
    path.addRect(r);
    return path;
}

CGPath CGPath::roundedRect(const CGRect& r, CGFloat radius) {
    const CGFloat c = std::clamp(radius, 0.0, std::min(r.width(), r.height()) / 2);
    if (c == 0) return rect(r);
    CGPath path;
    path.moveTo({r.minX() + c, r.minY()});
    path.addArc({r.maxX() - c, r.minY() + c}, c, -pi / 2, 0, true);
    path.addArc({r.maxX() - c, r.maxY() - c}, c, 0, pi / 2, true);
    path.addArc({r.minX() + c, r.maxY() - c}, c, pi / 2, pi, true);
    path.addArc({r.minX() + c, r.minY() + c}, c, pi, 1.5 * pi, true);
    path.closeSubpath();
    return path;
}

CGPath CGPath::ellipse(const CGRect& r) {
    CGPath path;
    path.moveTo({1, 0});
    path.addArc({0, 0}, 1, 0, 2 * pi, true);
    path.closeSubpath();
    path.apply({r.width() / 2, 0, 0, r.height() / 2, r.midX(), r.midY()});
    return path;
}

void CGPath::moveTo(CGPoint p) {
    elements_.push_back(Element::moveTo);
    points_.push_back(p);
    start_ = current_ = p;
}

void CGPath::addLineTo(CGPoint p) {
    if (elements_.empty()) return moveTo(p);
    elements_.push_back(Element::lineTo);
    points_.push_back(p);
    current_ = p;
}

void CGPath::addCurveTo(CGPoint control1, CGPoint control2, CGPoint p) {
    if (elements_.empty()) return moveTo(p);
    elements_.push_back(Element::curveTo);
    points_.insert(points_.end(), {control1, control2, p});
    current_ = p;
}

void CGPath::addArc(CGPoint center, CGFloat radius, CGFloat startAngle, CGFloat endAngle,
                    bool clockwise) {
    CGFloat sweep = endAngle - startAngle;
    if (std::abs(sweep) >= 2 * pi) {
        sweep = clockwise ? 2 * pi : -2 * pi;
    } else if (clockwise && sweep < 0) {
        sweep += 2 * pi;
    } else if (!clockwise && sweep > 0) {
        sweep -= 2 * pi;
    }
    // Cubic pieces of at most a quarter turn: off by less than 0.03 % of the radius.
    const int pieces = std::max(1, static_cast<int>(std::ceil(std::abs(sweep) / (pi / 2) - 1e-9)));
    const CGFloat step = sweep / pieces, reach = 4 / 3.0 * std::tan(step / 4) * radius;
    const auto at = [&](CGFloat angle) {
        return CGPoint{center.x + radius * std::cos(angle), center.y + radius * std::sin(angle)};
    };
    const CGPoint start = at(startAngle);
    if (elements_.empty() || current_ != start) addLineTo(start);
    for (int i = 0; i < pieces; ++i) {
        const CGFloat from = startAngle + i * step, to = from + step;
        const CGPoint p = at(from), q = at(to);
        addCurveTo({p.x - reach * std::sin(from), p.y + reach * std::cos(from)},
                   {q.x + reach * std::sin(to), q.y - reach * std::cos(to)}, q);
    }
}

void CGPath::closeSubpath() {
    if (elements_.empty() || elements_.back() == Element::close) return;
    elements_.push_back(Element::close);
    current_ = start_;
}

void CGPath::addRect(const CGRect& r) {
    moveTo({r.minX(), r.minY()});
    addLineTo({r.maxX(), r.minY()});
    addLineTo({r.maxX(), r.maxY()});
    addLineTo({r.minX(), r.maxY()});
    closeSubpath();
}

void CGPath::addPath(const CGPath& other, const CGAffineTransform& transform) {
    const std::size_t first = points_.size(), count = other.points_.size();
    elements_.insert(elements_.end(), other.elements_.begin(), other.elements_.end());
    points_.resize(first + count);
    for (std::size_t i = 0; i < count; ++i) points_[first + i] = transform.apply(other.points_[i]);
    if (count == 0) return;
    start_ = transform.apply(other.start_);
    current_ = transform.apply(other.current_);
}

void CGPath::apply(const CGAffineTransform& transform) {
    for (auto& p : points_) p = transform.apply(p);
    start_ = transform.apply(start_);
    current_ = transform.apply(current_);
}

CGRect CGPath::boundingBox() const {
    CGRect box = CGRect::null();
    for (const auto& p : points_) box = box.unionWith({p, {}});
    return box;
}

bool CGPath::contains(CGPoint p) const {
    int winding = 0;
    CGPoint start, current;
    const auto lineTo = [&](CGPoint to) {
        winding += windingOf(current, to, p);
        current = to;
    };
    const CGPoint* next = points_.data();
    for (const Element element : elements_) {
        switch (element) {
            case Element::moveTo:
                lineTo(start);
                start = current = *next++;
                break;
            case Element::lineTo:
                lineTo(*next++);
                break;
            case Element::curveTo: {
                constexpr int pieces = 32;
                const CGPoint from = current;
                for (int i = 1; i <= pieces; ++i)
                    lineTo(onCurve(from, next[0], next[1], next[2], i / CGFloat{pieces}));
                next += 3;
                break;
            }
            case Element::close:
                lineTo(start);
                break;
        }
    }
    lineTo(start);
    return winding != 0;
}

}  // namespace platform
