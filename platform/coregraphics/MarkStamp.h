#pragma once

#include <algorithm>
#include <bitset>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/coregraphics/CGAffineTransform.h"
#include "platform/coregraphics/CGGeometry.h"

namespace platform {

/// Coverage of many copies of one small polygon. To a graphics library each copy is a path, which
/// costs microseconds; here it is a few pixels to paint, since the polygon's coverage is kept for
/// each place between the pixels, to a sixteenth of a pixel. One thread at a time.
class MarkStamp {
 public:
    /// Pixels from the mark's place to the farthest corner.
    static constexpr CGFloat farthest = 16;

    /// The stamp of an outline that does not cross itself, about a place of user space: the kept
    /// one where it is the same, or a new one that is kept then. Null if a corner lies too far.
    static MarkStamp* of(std::span<const CGPoint> outline, const CGAffineTransform& map,
                         std::unique_ptr<MarkStamp>& kept);

    /// Where a place has to lie so that its copy may reach the area.
    static CGRect reaching(const CGRect& area) {
        return area.insetBy(-farthest - 2, -farthest - 2);
    }

    /// The copy at a place: paint(x, y, coverage) for each of its pixels in the area, which are
    /// whole ones; 1..255.
    template <typename Paint>
    void put(CGPoint place, const CGRect& area, Paint&& paint) {
        if (!reaching(area).contains(place)) return;
        const CGFloat column = std::floor(place.x), row = std::floor(place.y);
        const int left = static_cast<int>(column) + left_, top = static_cast<int>(row) + top_;
        const int first = std::max(left, static_cast<int>(area.minX()));
        const int last = std::min(left + width_, static_cast<int>(area.maxX()));
        const int bottom = std::min(top + height_, static_cast<int>(area.maxY()));
        const std::uint8_t* copy = copyAt(phase(place.x - column), phase(place.y - row));
        for (int y = std::max(top, static_cast<int>(area.minY())); y < bottom; ++y)
            for (int x = first; x < last; ++x)
                if (const auto coverage = copy[(y - top) * width_ + x - left])
                    paint(x, y, coverage);
    }

 private:
    static constexpr int phases = 16;  // of places in a pixel, each way

    explicit MarkStamp(std::vector<CGPoint> outline);
    /// Of what is above a whole number, which may be rounded to 1 for a place just below zero.
    static int phase(CGFloat part) { return std::min(static_cast<int>(part * phases), phases - 1); }
    const std::uint8_t* copyAt(int phaseX, int phaseY);
    void make(std::uint8_t* copy, int phaseX, int phaseY) const;

    const std::vector<CGPoint> outline_;               // in pixels
    int left_ = 0, top_ = 0, width_ = 0, height_ = 0;  // of a copy, from its place's pixel
    std::size_t area_ = 0;                             // of a copy, in pixels
    // One after another: those of a whole picture are used at once.
    std::vector<std::uint8_t> copies_;
    std::bitset<std::size_t{phases} * phases> isMade_;
};

}  // namespace platform
