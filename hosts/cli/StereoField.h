#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hosts/measure/StereoSums.h"

namespace qov::cli {

/// What there is to see of two channels: how they move together, and width, correlation and balance
/// over time. Fed in two passes over the same frames, since the first finds the scale of the
/// second.
class StereoField {
 public:
    /// One slice of time.
    using Slice = measure::StereoSums;

    /// frames: of the whole input. Slices divide them evenly; the plot is a square of `side` cells.
    StereoField(std::int64_t frames, std::size_t slices, std::size_t side);

    /// First pass, in order, chunk by chunk.
    void measure(const float* left, const float* right, std::size_t frames);
    /// The level that nearly every frame stays below, of |M| + |S|'s kind: distance from the
    /// centre.
    double reach() const;
    /// Second pass: draws the path of (S, M) as visits to cells. `scale` is the distance from the
    /// centre that touches the plot's edge.
    void trace(const float* left, const float* right, std::size_t frames, double scale);

    const std::vector<Slice>& slices() const { return slices_; }
    std::size_t side() const { return side_; }
    /// Visits, row by row from the top; mid is up, left is to the upper left.
    const std::vector<float>& visits() const { return visits_; }
    std::int64_t frames() const { return frames_; }

 private:
    void visit(double x, double y, float weight);

    const std::int64_t frames_;
    const std::size_t side_;
    std::vector<Slice> slices_;
    std::vector<std::int64_t> distances_;  ///< how many frames lie how far out
    std::vector<float> visits_;
    std::int64_t measured_ = 0;
    double lastX_, lastY_;  // where the beam is, in cells; at first in the centre
};

}  // namespace qov::cli
