#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/coregraphics/CGGeometry.h"

namespace platform {

/// Coverage of thin lines and small shapes, from 64 samples a pixel. A pixel's samples are the bits
/// of one word and the half plane right of an edge is a word looked up by direction and distance,
/// so a convex shape costs a few loads a pixel, whatever else has been drawn there: no list of
/// edges grows with the figure and no intersection is ever searched for.
class SampleMask {
 public:
    /// Empties it and makes it the size of an area of whole pixels.
    void reset(int x, int y, int width, int height);

    /// United with what is there: overlap covers once. Coordinates in pixels.
    void uniteStrip(CGPoint from, CGPoint to, CGFloat width);
    void uniteConvex(std::span<const CGPoint> corners);
    /// A copy of the shape (up to 16 corners) at each place, put over what is there as a paint of
    /// its own with this alpha (0..1).
    void coverConvex(std::span<const CGPoint> corners, std::span<const CGPoint> places,
                     CGFloat alpha);

    int x() const { return x_; }
    int y() const { return y_; }
    int width() const { return width_; }
    int height() const { return height_; }
    /// Bytes a row of coverage().
    int stride() const { return stride_; }
    /// The united samples counted and put together with the covered shapes: 0..255 a pixel.
    std::span<std::uint8_t> coverage();

 private:
    struct Shape;
    template <typename Visit>
    void visit(const Shape& shape, CGPoint at, Visit visit);
    void touchRows(int first, int last);

    int x_ = 0, y_ = 0, width_ = 0, height_ = 0, stride_ = 0;
    std::vector<std::uint64_t> samples_;
    std::vector<std::uint8_t> coverage_;
    /// Rows of samples_ that hold anything.
    int firstRow_ = 0, lastRow_ = -1;
    /// Whether coverage_ holds shapes already.
    bool hasCovered_ = false;
};

}  // namespace platform
