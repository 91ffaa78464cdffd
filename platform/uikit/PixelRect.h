#pragma once

#include <algorithm>

namespace platform {

/// Whole pixels of a picture.
struct PixelRect {
    int x = 0, y = 0, width = 0, height = 0;
    bool operator==(const PixelRect&) const = default;

    /// In pixels.
    int area() const { return width * height; }
    bool isEmpty() const { return width <= 0 || height <= 0; }
    PixelRect intersection(const PixelRect& other) const {
        const int left = std::max(x, other.x), top = std::max(y, other.y);
        return {left, top, std::min(x + width, other.x + other.width) - left,
                std::min(y + height, other.y + other.height) - top};
    }
    bool touches(const PixelRect& other) const { return !intersection(other).isEmpty(); }
    /// The smallest one around both.
    PixelRect unionWith(const PixelRect& other) const {
        const int left = std::min(x, other.x), top = std::min(y, other.y);
        return {left, top, std::max(x + width, other.x + other.width) - left,
                std::max(y + height, other.y + other.height) - top};
    }
};

}  // namespace platform
