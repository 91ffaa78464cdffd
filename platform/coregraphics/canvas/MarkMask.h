#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/coregraphics/CGGeometry.h"

namespace platform {

/// Coverage of many copies of one small polygon. A canvas takes microseconds for each path, however
/// small; here a copy is a few additions, since the polygon's coverage is kept for each place
/// between the pixels, to an eighth of a pixel.
class MarkMask {
 public:
    /// Largest width and height of the polygon, in pixels.
    static constexpr CGFloat largest = 16;

    /// Corners in pixels about the mark's place.
    explicit MarkMask(std::span<const CGPoint> outline);
    bool isOf(std::span<const CGPoint> outline) const;

    /// Begins with nothing in an area of whole pixels.
    void begin(const CGRect& area);
    /// A copy at a place, in pixels; over another one their coverages add up as those of paint do.
    void add(CGPoint place);

    int x() const { return x_; }
    int y() const { return y_; }
    int columns() const { return columns_; }
    int rows() const { return rows_; }
    /// 0..1, row by row.
    std::span<const float> coverage() const { return coverage_; }

 private:
    static constexpr int phases = 8;  // of places in a pixel, each way

    const std::vector<CGPoint> outline_;
    int left_ = 0, top_ = 0, width_ = 0, height_ = 0;  // of a copy, in pixels from its place's
    std::array<std::vector<float>, phases * phases> copies_;
    int x_ = 0, y_ = 0, columns_ = 0, rows_ = 0;
    std::vector<float> coverage_;
};

}  // namespace platform
