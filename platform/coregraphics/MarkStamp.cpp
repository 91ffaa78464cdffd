#include "platform/coregraphics/MarkStamp.h"

#include <utility>

namespace platform {

namespace {

using Polygon = std::vector<CGPoint>;

/// What of the polygon lies where sign * (its coordinate - limit) is positive.
Polygon cut(const Polygon& polygon, CGFloat CGPoint::*coordinate, CGFloat limit, CGFloat sign) {
    Polygon kept;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const CGPoint &p = polygon[i], &q = polygon[(i + 1) % polygon.size()];
        const CGFloat before = sign * (p.*coordinate - limit),
                      after = sign * (q.*coordinate - limit);
        if (before >= 0) kept.push_back(p);
        if ((before < 0) == (after < 0)) continue;
        const CGFloat part = before / (before - after);
        kept.push_back({p.x + part * (q.x - p.x), p.y + part * (q.y - p.y)});
    }
    return kept;
}

/// By the shoelace formula.
CGFloat area(const Polygon& polygon) {
    CGFloat twice = 0;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const CGPoint &p = polygon[i], &q = polygon[(i + 1) % polygon.size()];
        twice += p.x * q.y - q.x * p.y;
    }
    return std::abs(twice) / 2;
}

}  // namespace

MarkStamp* MarkStamp::of(std::span<const CGPoint> outline, const CGAffineTransform& map,
                         std::unique_ptr<MarkStamp>& kept) {
    std::vector<CGPoint> corners;
    for (const auto& p : outline) {
        corners.push_back({map.a * p.x + map.c * p.y, map.b * p.x + map.d * p.y});
        const auto& [x, y] = corners.back();
        if (!(std::abs(x) <= farthest && std::abs(y) <= farthest)) return nullptr;
    }
    if (corners.empty()) return nullptr;
    if (!kept || kept->outline_ != corners) kept.reset(new MarkStamp(std::move(corners)));
    return kept.get();
}

MarkStamp::MarkStamp(std::vector<CGPoint> outline) : outline_(std::move(outline)) {
    CGRect bounds = CGRect::null();
    for (const auto& p : outline_) bounds = bounds.unionWith({p, CGSize{}});
    left_ = static_cast<int>(std::floor(bounds.minX()));
    top_ = static_cast<int>(std::floor(bounds.minY()));
    width_ = static_cast<int>(std::ceil(bounds.maxX())) + 1 - left_;
    height_ = static_cast<int>(std::ceil(bounds.maxY())) + 1 - top_;
    area_ = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
    copies_.resize(isMade_.size() * area_);
}

const std::uint8_t* MarkStamp::copyAt(int phaseX, int phaseY) {
    const auto which = static_cast<std::size_t>(phaseY) * phases + static_cast<std::size_t>(phaseX);
    auto* const copy = &copies_[which * area_];
    if (!isMade_[which]) {
        make(copy, phaseX, phaseY);
        isMade_.set(which);
    }
    return copy;
}

void MarkStamp::make(std::uint8_t* copy, int phaseX, int phaseY) const {
    Polygon moved;
    for (const auto& p : outline_)
        moved.push_back({p.x + (phaseX + 0.5) / phases, p.y + (phaseY + 0.5) / phases});
    for (int y = top_; y < top_ + height_; ++y) {
        const auto row = cut(cut(moved, &CGPoint::y, y, 1), &CGPoint::y, y + 1, -1);
        for (int x = left_; x < left_ + width_; ++x)
            *copy++ = static_cast<std::uint8_t>(
                std::lround(255 * area(cut(cut(row, &CGPoint::x, x, 1), &CGPoint::x, x + 1, -1))));
    }
}

}  // namespace platform
