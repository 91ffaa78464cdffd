#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/coregraphics/CGGeometry.h"

namespace platform {

/// Coverage of a thin closed line, from 64 samples a pixel, on which the line counts once wherever
/// it crosses itself. A pixel's samples are the bits of one word, and the samples on one side of an
/// edge are a word looked up by the edge's direction and distance, so a segment costs a few loads a
/// pixel: no list of edges grows with the figure, and crossings need no search.
class LineMask {
 public:
    /// Corners and width in pixels, all finite; corners sharper than the miter limit are bevelled.
    LineMask(std::span<const CGPoint> corners, CGFloat width, CGFloat miterLimit);

    /// Writes the coverage, 0..255, of columns * rows pixels from the pixel (x, y) on; a row begins
    /// every stride bytes. Least work if columns * rows words fit in a second-level cache.
    void cover(int x, int y, int columns, int rows, std::uint8_t* bytes, std::ptrdiff_t stride);

 private:
    /// A segment without its joins.
    struct Strip {
        CGPoint from;
        CGFloat ux, uy;  // direction, of length 1
        CGFloat length;
        int direction;  // in the table
    };

    void drawStrip(const Strip& strip);
    /// The wedge that two segments leave open on the outer side of their corner: past the end of
    /// the one and before the start of the other, out to the miter's tip or the bevel.
    void drawJoin(const Strip& in, const Strip& out);

    CGFloat half_, miterLimit_;
    std::vector<Strip> strips_;
    /// The part that is being covered, and its samples.
    int x_ = 0, y_ = 0, columns_ = 0, rows_ = 0;
    std::vector<std::uint64_t> samples_;
};

}  // namespace platform
