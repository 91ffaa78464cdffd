#include "hosts/cli/StereoField.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qov::cli {
namespace {

constexpr std::size_t distanceBins = 4096;
constexpr double farthest = 2;        // |L| = |R| = 1 lies at the square root of 2
constexpr double nearlyAll = 0.9999;  // of the frames lie within reach()
constexpr double stepInCells = 1.5;   // of the traced path
constexpr int mostSteps = 32;         // between two frames

}  // namespace

StereoField::StereoField(std::int64_t frames, std::size_t slices, std::size_t side)
    : frames_(frames),
      side_(side),
      slices_(slices),
      distances_(distanceBins),
      visits_(side * side),
      lastX_(static_cast<double>(side) / 2),
      lastY_(lastX_) {}

void StereoField::measure(const float* left, const float* right, std::size_t frames) {
    for (std::size_t i = 0; i < frames; ++i) {
        const double l = std::isfinite(left[i]) ? left[i] : 0;
        const double r = std::isfinite(right[i]) ? right[i] : 0;
        const auto at =
            static_cast<std::size_t>(static_cast<double>(measured_) / static_cast<double>(frames_) *
                                     static_cast<double>(slices_.size()));
        auto& slice = slices_[std::min(at, slices_.size() - 1)];
        slice.add(l, r);
        const double distance = std::min(std::sqrt(l * l + r * r) / farthest, 1.0);
        ++distances_[std::min(static_cast<std::size_t>(distance * distanceBins), distanceBins - 1)];
        ++measured_;
    }
}

double StereoField::reach() const {
    const auto wanted = static_cast<std::int64_t>(static_cast<double>(measured_) * nearlyAll);
    std::int64_t within = 0;
    for (std::size_t i = 0; i < distanceBins; ++i)
        if ((within += distances_[i]) >= wanted)
            return static_cast<double>(i + 1) / distanceBins * farthest;
    return farthest;
}

void StereoField::trace(const float* left, const float* right, std::size_t frames, double scale) {
    const double half = static_cast<double>(side_) / 2;
    const double perUnit = half / scale / std::numbers::sqrt2;
    for (std::size_t i = 0; i < frames; ++i) {
        const double l = std::isfinite(left[i]) ? left[i] : 0;
        const double r = std::isfinite(right[i]) ? right[i] : 0;
        const double x = half + (r - l) * perUnit;
        const double y = half - (l + r) * perUnit;
        // A fast beam is a faint one: the weight of one frame is spread along its way.
        const double way = std::hypot(x - lastX_, y - lastY_);
        const int steps = std::clamp(static_cast<int>(way / stepInCells), 1, mostSteps);
        for (int step = 1; step <= steps; ++step) {
            const double part = static_cast<double>(step) / steps;
            visit(lastX_ + (x - lastX_) * part, lastY_ + (y - lastY_) * part,
                  1.0F / static_cast<float>(steps));
        }
        lastX_ = x;
        lastY_ = y;
    }
}

void StereoField::visit(double x, double y, float weight) {
    const double edge = static_cast<double>(side_) - 1;
    if (!(x >= 0 && y >= 0 && x < edge && y < edge)) return;
    // Shared among the four nearest cells, so that slow paths draw smooth lines.
    const auto column = static_cast<std::size_t>(x);
    const auto row = static_cast<std::size_t>(y);
    const auto fx = static_cast<float>(x - static_cast<double>(column));
    const auto fy = static_cast<float>(y - static_cast<double>(row));
    float* const cell = &visits_[row * side_ + column];
    cell[0] += weight * (1 - fx) * (1 - fy);
    cell[1] += weight * fx * (1 - fy);
    cell[side_] += weight * (1 - fx) * fy;
    cell[side_ + 1] += weight * fx * fy;
}

}  // namespace qov::cli
