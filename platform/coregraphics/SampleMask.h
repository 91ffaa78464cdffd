#pragma once

#include <algorithm>
#include <bit>
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

    /// A line through the points with its corners, over which it covers once wherever it meets
    /// itself; one line a mask. Coordinates and width in pixels; corners sharper than the miter
    /// limit are cut off.
    void setLine(std::span<const CGPoint> points, bool closed, CGFloat width, CGFloat miterLimit);
    /// A copy of the shape (up to 16 corners) at each place, put over what is there as a paint of
    /// its own with this alpha (0..1).
    void coverConvex(std::span<const CGPoint> corners, std::span<const CGPoint> places,
                     CGFloat alpha);

    int x() const { return x_; }
    int y() const { return y_; }
    int width() const { return width_; }
    int height() const { return height_; }

    /// Hands over where anything may be, and empties the mask: visit(row, column, coverage) with
    /// 0..255 for each pixel from that column on, the line over the shapes. Each pixel comes once.
    template <typename Visit>
    void take(Visit visit);

 private:
    struct Strip;
    struct Shape;
    struct Rows {
        int first, end;
    };

    void drawLine(Rows band);
    void drawStrip(const Strip& strip, Rows band);
    void drawJoin(const Strip& in, const Strip& out, Rows band);
    template <typename Visit>
    void visit(const Shape& shape, CGPoint at, Rows within, Visit visit);

    void touch(int row, int first, int last) {
        touched_[static_cast<std::size_t>(row)] |=
            (~std::uint64_t{0} << (first >> blockShift_)) &
            (~std::uint64_t{0} >> (63 - (last >> blockShift_)));
    }
    std::span<const std::uint8_t> takeRun(int row, int first, int end);

    int x_ = 0, y_ = 0, width_ = 0, height_ = 0;
    /// The line, and its samples in a band of rows that the processor's cache holds.
    std::vector<Strip> strips_;
    bool closed_ = false;
    CGFloat half_ = 0, miterLimit_ = 0;
    std::vector<std::uint64_t> samples_;
    int bandRows_ = 0, bandFirst_ = 0;
    /// Covered by shapes, 0..255 a pixel; there since the first one.
    std::vector<std::uint8_t> covered_;
    bool hasCovered_ = false;
    /// For each row the blocks of 2^blockShift_ columns, a bit each, in which anything may be.
    std::vector<std::uint64_t> touched_;
    int blockShift_ = 0;
    std::vector<std::uint8_t> run_;
};

/// A straight piece of the line: its place, and what changes by the same amount from row to row and
/// from column to column. In 32.32 fixed point: where its pixels begin in the first row; there at
/// column 0, the table's step for the distance from its one edge and the way travelled in pixels.
struct SampleMask::Strip {
    CGPoint from;
    CGFloat ux, uy, length;
    int direction;  // in the table
    Rows rows;
    int firstColumn, endColumn, most;  // most: columns a row
    std::int64_t begin, near, travelled;
    std::int64_t beginDown, nearDown, travelledDown, nearAcross, travelledAcross;
};

template <typename Visit>
void SampleMask::take(Visit visit) {
    for (int first = 0; first < height_; first += bandRows_) {
        const Rows band{first, std::min(first + bandRows_, height_)};
        drawLine(band);
        for (int row = band.first; row < band.end; ++row) {
            std::uint64_t blocks = touched_[static_cast<std::size_t>(row)];
            touched_[static_cast<std::size_t>(row)] = 0;
            while (blocks) {
                const int from = std::countr_zero(blocks);
                const int to = from + std::countr_one(blocks >> from);
                blocks &= to < 64 ? ~std::uint64_t{0} << to : 0;
                const int column = from << blockShift_;
                visit(row, column, takeRun(row, column, std::min(to << blockShift_, width_)));
            }
        }
    }
    strips_.clear();
    hasCovered_ = false;
}

}  // namespace platform
