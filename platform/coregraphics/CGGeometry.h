#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

namespace platform {

/// Lengths and coordinates: points (or canvas units) with y growing downward.
using CGFloat = double;

/// A point or a vector.
struct CGPoint {
    CGFloat x = 0, y = 0;
    bool operator==(const CGPoint&) const = default;
};

/// Width and height; negative ones occur in rectangles.
struct CGSize {
    CGFloat width = 0, height = 0;
    bool operator==(const CGSize&) const = default;
};

/// A rectangle whose size may be negative; the edges below are those of standardized().
struct CGRect {
    CGPoint origin;
    CGSize size;

    constexpr CGRect() = default;
    constexpr CGRect(CGFloat x, CGFloat y, CGFloat width, CGFloat height)
        : origin{x, y}, size{width, height} {}
    constexpr CGRect(CGPoint o, CGSize s) : origin(o), size(s) {}
    bool operator==(const CGRect&) const = default;

    static constexpr CGRect zero() { return {}; }
    /// The result of an empty intersection; contains no point.
    static constexpr CGRect null() {
        constexpr CGFloat infinity = std::numeric_limits<CGFloat>::infinity();
        return {infinity, infinity, 0, 0};
    }

    constexpr CGFloat width() const { return size.width < 0 ? -size.width : size.width; }
    constexpr CGFloat height() const { return size.height < 0 ? -size.height : size.height; }
    constexpr CGFloat minX() const { return std::min(origin.x, origin.x + size.width); }
    constexpr CGFloat minY() const { return std::min(origin.y, origin.y + size.height); }
    constexpr CGFloat maxX() const { return std::max(origin.x, origin.x + size.width); }
    constexpr CGFloat maxY() const { return std::max(origin.y, origin.y + size.height); }
    constexpr CGFloat midX() const { return origin.x + size.width / 2; }
    constexpr CGFloat midY() const { return origin.y + size.height / 2; }
    constexpr CGPoint center() const { return {midX(), midY()}; }

    bool isNull() const { return std::isinf(origin.x) || std::isinf(origin.y); }
    bool isEmpty() const { return isNull() || size.width == 0 || size.height == 0; }

    constexpr CGRect standardized() const { return {minX(), minY(), width(), height()}; }
    constexpr CGRect offsetBy(CGFloat dx, CGFloat dy) const {
        return {{origin.x + dx, origin.y + dy}, size};
    }
    /// Moves the left and right edges in by dx, the top and bottom ones by dy; negative amounts
    /// enlarge. null() where the edges would cross.
    CGRect insetBy(CGFloat dx, CGFloat dy) const;
    CGRect intersection(const CGRect& other) const;
    /// The smallest rectangle around both; null() adds nothing.
    CGRect unionWith(const CGRect& other) const;

    /// The smallest one of whole units around it.
    CGRect integral() const;

    /// The left and top edges are inside, the right and bottom ones outside.
    bool contains(CGPoint p) const {
        return !isEmpty() && p.x >= minX() && p.x < maxX() && p.y >= minY() && p.y < maxY();
    }
};

inline CGRect CGRect::insetBy(CGFloat dx, CGFloat dy) const {
    if (isNull()) return *this;
    const CGRect r{minX() + dx, minY() + dy, width() - 2 * dx, height() - 2 * dy};
    return r.size.width < 0 || r.size.height < 0 ? null() : r;
}

inline CGRect CGRect::intersection(const CGRect& other) const {
    if (isNull() || other.isNull()) return null();
    const CGFloat x = std::max(minX(), other.minX()), y = std::max(minY(), other.minY());
    const CGFloat right = std::min(maxX(), other.maxX()), bottom = std::min(maxY(), other.maxY());
    return right < x || bottom < y ? null() : CGRect{x, y, right - x, bottom - y};
}

inline CGRect CGRect::unionWith(const CGRect& other) const {
    if (isNull()) return other;
    if (other.isNull()) return standardized();
    const CGFloat x = std::min(minX(), other.minX()), y = std::min(minY(), other.minY());
    return {x, y, std::max(maxX(), other.maxX()) - x, std::max(maxY(), other.maxY()) - y};
}

inline CGRect CGRect::integral() const {
    if (isNull()) return *this;
    const CGFloat x = std::floor(minX()), y = std::floor(minY());
    return {x, y, std::ceil(maxX()) - x, std::ceil(maxY()) - y};
}

}  // namespace platform
