#include "platform/coregraphics/canvas/MarkMask.h"

#include <algorithm>
#include <cmath>

namespace platform {

namespace {

constexpr int samples = 8;  // of a pixel, each way

/// Whether the polygon winds round the point.
bool isInside(std::span<const CGPoint> polygon, CGPoint p) {
    int winding = 0;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const auto& a = polygon[i];
        const auto& b = polygon[(i + 1) % polygon.size()];
        const bool isAbove = a.y <= p.y;
        if (isAbove == (b.y <= p.y)) continue;
        const CGFloat side = (b.x - a.x) * (p.y - a.y) - (p.x - a.x) * (b.y - a.y);
        if (isAbove ? side > 0 : side < 0) winding += isAbove ? 1 : -1;
    }
    return winding != 0;
}

}  // namespace

MarkMask::MarkMask(std::span<const CGPoint> outline) : outline_(outline.begin(), outline.end()) {
    CGRect bounds = CGRect::null();
    for (const auto& p : outline_) bounds = bounds.unionWith({p, CGSize{}});
    if (bounds.isNull()) return;
    left_ = static_cast<int>(std::floor(bounds.minX()));
    top_ = static_cast<int>(std::floor(bounds.minY()));
    width_ = static_cast<int>(std::ceil(bounds.maxX())) + 1 - left_;
    height_ = static_cast<int>(std::ceil(bounds.maxY())) + 1 - top_;
    for (int phase = 0; phase < phases * phases; ++phase) {
        const CGPoint shift{(phase % phases + 0.5) / phases, (phase / phases + 0.5) / phases};
        auto& copy = copies_[static_cast<std::size_t>(phase)];
        for (int y = top_; y < top_ + height_; ++y)
            for (int x = left_; x < left_ + width_; ++x) {
                int hits = 0;
                for (int i = 0; i < samples * samples; ++i)
                    hits += isInside(outline_, {x + (i % samples + 0.5) / samples - shift.x,
                                                y + (i / samples + 0.5) / samples - shift.y});
                copy.push_back(static_cast<float>(hits) / (samples * samples));
            }
    }
}

bool MarkMask::isOf(std::span<const CGPoint> outline) const {
    return std::equal(outline.begin(), outline.end(), outline_.begin(), outline_.end());
}

void MarkMask::begin(const CGRect& area) {
    x_ = static_cast<int>(area.minX());
    y_ = static_cast<int>(area.minY());
    columns_ = static_cast<int>(area.width());
    rows_ = static_cast<int>(area.height());
    coverage_.assign(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_), 0);
}

void MarkMask::add(CGPoint place) {
    const CGFloat column = std::floor(place.x), row = std::floor(place.y);
    const auto phaseX = static_cast<int>((place.x - column) * phases);
    const auto phaseY = static_cast<int>((place.y - row) * phases);
    const auto& copy = copies_[static_cast<std::size_t>(phaseY * phases + phaseX)];
    const int atX = static_cast<int>(column) + left_ - x_;
    const int atY = static_cast<int>(row) + top_ - y_;
    for (int y = std::max(0, -atY); y < std::min(height_, rows_ - atY); ++y)
        for (int x = std::max(0, -atX); x < std::min(width_, columns_ - atX); ++x) {
            auto& covered = coverage_[static_cast<std::size_t>((atY + y) * columns_ + atX + x)];
            covered += (1 - covered) * copy[static_cast<std::size_t>(y * width_ + x)];
        }
}

}  // namespace platform
