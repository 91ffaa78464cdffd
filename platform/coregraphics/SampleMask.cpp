#include "platform/coregraphics/SampleMask.h"

#include <array>
#include <memory>
#include <numbers>

namespace platform {

namespace {

constexpr int directions = 512;
constexpr int distances = 128;
/// No sample lies farther from the centre of its pixel (half a diagonal is 0.7071).
constexpr CGFloat reach = 0.72;
constexpr CGFloat distanceScale = distances / (2 * reach);

using Row = std::array<std::uint64_t, distances + 1>;

/// For each direction of an edge's normal and each distance of the pixel's centre from the edge
/// (positive on the side of the normal): which samples lie on that side.
class HalfPlanes {
 public:
    HalfPlanes() : rows_(new std::array<Row, directions>) {
        for (int direction = 0; direction < directions; ++direction) {
            const CGFloat angle = 2 * std::numbers::pi * direction / directions;
            const CGFloat nx = std::cos(angle), ny = std::sin(angle);
            Row& row = (*rows_)[direction];
            row.fill(0);
            for (int i = 0; i < 64; ++i) {
                // A lattice in which every sample has a column and a row of its own.
                const CGFloat sx = (i + 0.5) / 64 - 0.5, sy = (i * 27 % 64 + 0.5) / 64 - 0.5;
                const CGFloat inside = -(nx * sx + ny * sy);
                const int first = static_cast<int>(std::ceil((inside + reach) * distanceScale));
                for (int step = first; step <= distances; ++step)
                    row[step] |= std::uint64_t{1} << i;
            }
        }
    }

    const Row& towards(int direction) const { return (*rows_)[direction & (directions - 1)]; }

    static const HalfPlanes& table() {
        static const HalfPlanes planes;
        return planes;
    }

 private:
    std::unique_ptr<std::array<Row, directions>> rows_;
};

/// The nearest of the directions, any whole number of turns off. A polynomial for the first eighth
/// of a turn, right to 1e-5: a thousandth of the step between two directions.
int directionOf(CGFloat x, CGFloat y) {
    const CGFloat ax = std::abs(x), ay = std::abs(y);
    const CGFloat t = std::min(ax, ay) / std::max(ax, ay), q = t * t;
    const CGFloat angle =
        t * (0.9998660 + q * (-0.3302995 + q * (0.1801410 + q * (-0.0851330 + q * 0.0208351))));
    constexpr CGFloat quarterTurn = directions / 4.0;
    CGFloat turn = angle * (quarterTurn / (std::numbers::pi / 2));
    if (ay > ax) turn = quarterTurn - turn;
    if (x < 0) turn = 2 * quarterTurn - turn;
    return static_cast<int>(std::lrint(y < 0 ? -turn : turn));
}

std::uint64_t lookUp(const Row& row, CGFloat distance) {
    const CGFloat step = (distance + reach) * distanceScale + 0.5;
    return row[static_cast<int>(std::clamp(step, 0.0, CGFloat{distances}))];
}

int toFixedStep(CGFloat distance) {
    return static_cast<int>(((distance + reach) * distanceScale + 0.5) * 65536);
}

std::uint64_t lookUpFixed(const Row& row, int step) {
    return row[static_cast<std::size_t>(std::clamp(step >> 16, 0, distances))];
}

/// In 0..255, rounded. Without a product, so that a compiler can count several words at once.
int countOf(std::uint64_t samples) {
    samples -= samples >> 1 & 0x5555555555555555u;
    samples = (samples & 0x3333333333333333u) + (samples >> 2 & 0x3333333333333333u);
    samples = (samples + (samples >> 4)) & 0x0f0f0f0f0f0f0f0fu;
    samples += samples >> 8;
    samples += samples >> 16;
    samples += samples >> 32;
    const unsigned count = static_cast<unsigned>(samples) & 0x7f;
    return static_cast<int>((count * 255 + 32) / 64);
}

int over(int below, int above) {
    return above + (below * (255 - above) + 127) / 255;
}

/// Whole pixels from..to (exclusive) that touch the interval, within 0..size.
struct Span {
    // Clamped first, so that cutting off is rounding down.
    Span(CGFloat from, CGFloat to, int size)
        : first(static_cast<int>(std::clamp(from, 0.0, CGFloat(size)))),
          end(to < 0 ? 0 : std::min(static_cast<int>(std::min(to, CGFloat(size))) + 1, size)) {}
    int first, end;
};

}  // namespace

void SampleMask::reset(int x, int y, int width, int height) {
    x_ = x;
    y_ = y;
    if (width != width_ || height != height_) {
        width_ = width;
        height_ = height;
        stride_ = (width + 3) / 4 * 4;
        samples_.assign(static_cast<std::size_t>(width) * height, 0);
        coverage_.assign(static_cast<std::size_t>(stride_) * height, 0);
    } else {
        if (lastRow_ >= firstRow_)
            std::fill(samples_.begin() + static_cast<std::ptrdiff_t>(firstRow_) * width_,
                      samples_.begin() + static_cast<std::ptrdiff_t>(lastRow_ + 1) * width_, 0);
        std::fill(coverage_.begin(), coverage_.end(), 0);
    }
    hasCovered_ = false;
    firstRow_ = height;
    lastRow_ = -1;
}

void SampleMask::touchRows(int first, int last) {
    firstRow_ = std::min(firstRow_, first);
    lastRow_ = std::max(lastRow_, last);
}

void SampleMask::uniteStrip(CGPoint from, CGPoint to, CGFloat width) {
    const CGFloat dx = to.x - from.x, dy = to.y - from.y, length = std::sqrt(dx * dx + dy * dy);
    if (!(length > 0 && std::isfinite(length))) return;
    const CGFloat ux = dx / length, uy = dy / length, half = width / 2;
    const int direction = directionOf(ux, uy);
    const Row& across = HalfPlanes::table().towards(direction + directions / 4);
    const Row& along = HalfPlanes::table().towards(direction);
    // Bounds of the strip, and of its part in one row of pixels.
    const CGFloat x0 = from.x - x_, y0 = from.y - y_;
    const CGFloat growX = half * std::abs(uy), growY = half * std::abs(ux);
    const CGFloat left = std::min(x0, x0 + dx) - growX, right = std::max(x0, x0 + dx) + growX;
    const Span rows(std::min(y0, y0 + dy) - growY, std::max(y0, y0 + dy) + growY, height_);
    if (rows.first >= rows.end) return;
    touchRows(rows.first, rows.end - 1);
    const bool isFlat = std::abs(uy) < 1e-6;
    const CGFloat slope = isFlat ? 0 : ux / uy;
    const CGFloat reachX = isFlat ? right - left : half / std::abs(uy) + std::abs(slope) / 2;

    const CGFloat leftmost = std::clamp(left, 0.0, CGFloat(width_));
    const CGFloat rightmost = std::clamp(right, -1.0, CGFloat(width_));
    // Steps of the table in 16.16 fixed point: a row is some hundred pixels at most, the error of
    // adding up stays far below a step.
    const int toStep = static_cast<int>(uy * distanceScale * 65536);
    const int apart = static_cast<int>(width * distanceScale * 65536);

    for (int row = rows.first; row < rows.end; ++row) {
        const CGFloat py = row + 0.5 - y0, middle = x0 + slope * py;
        const int first =
            static_cast<int>(std::min(std::max(leftmost, middle - reachX), CGFloat(width_)));
        const int last = std::min(
            static_cast<int>(std::max(-1.0, std::min(rightmost, middle + reachX))), width_ - 1);
        if (first > last) continue;
        const CGFloat px = first + 0.5 - x0;
        int near = toFixedStep(ux * py - uy * px + half);
        CGFloat travelled = ux * px + uy * py;
        const CGFloat travelledLast = travelled + ux * (last - first);
        std::uint64_t* const samples = &samples_[static_cast<std::size_t>(row) * width_];
        if (std::min(travelled, travelledLast) >= reach &&
            std::max(travelled, travelledLast) <= length - reach) {
            for (int column = first; column <= last; ++column, near -= toStep)
                samples[column] |= lookUpFixed(across, near) & ~lookUpFixed(across, near - apart);
            continue;
        }
        for (int column = first; column <= last; ++column) {
            std::uint64_t inside = lookUpFixed(across, near) & ~lookUpFixed(across, near - apart);
            if (travelled < reach) inside &= lookUp(along, travelled);
            if (travelled > length - reach) inside &= ~lookUp(along, travelled - length);
            samples[column] |= inside;
            near -= toStep;
            travelled += ux;
        }
    }
}

/// A convex shape as the half planes it lies in, around an origin that a copy is moved to.
struct SampleMask::Shape {
    explicit Shape(std::span<const CGPoint> corners);

    struct Edge {
        CGFloat nx, ny, offset;
        const Row* row;
    };
    std::array<Edge, 16> edges;
    std::size_t count = 0;  // 0: nothing to see
    CGFloat left, top, right, bottom;
};

SampleMask::Shape::Shape(std::span<const CGPoint> corners)
    : left(corners[0].x), top(corners[0].y), right(left), bottom(top) {
    const std::size_t size = std::min(corners.size(), edges.size());
    CGFloat area = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const CGPoint p = corners[i], q = corners[(i + 1) % size];
        left = std::min(left, p.x);
        right = std::max(right, p.x);
        top = std::min(top, p.y);
        bottom = std::max(bottom, p.y);
        area += p.x * q.y - p.y * q.x;
    }
    if (!(std::abs(area) > 0)) return;
    const CGFloat side = area > 0 ? 1 : -1;
    for (std::size_t i = 0; i < size; ++i) {
        const CGPoint p = corners[i], q = corners[(i + 1) % size];
        const CGFloat dx = q.x - p.x, dy = q.y - p.y, length = std::sqrt(dx * dx + dy * dy);
        if (!(length > 1e-9)) continue;
        const CGFloat nx = -side * dy / length, ny = side * dx / length;
        edges[count++] = {nx, ny, -(nx * p.x + ny * p.y),
                          &HalfPlanes::table().towards(directionOf(nx, ny))};
    }
}

template <typename Visit>
void SampleMask::visit(const Shape& shape, CGPoint at, Visit visit) {
    if (shape.count == 0) return;
    const CGFloat dx = at.x - x_, dy = at.y - y_;
    const Span rows(shape.top + dy, shape.bottom + dy, height_);
    const Span columns(shape.left + dx, shape.right + dx, width_);
    for (int row = rows.first; row < rows.end; ++row) {
        for (int column = columns.first; column < columns.end; ++column) {
            const CGFloat x = column + 0.5 - dx, y = row + 0.5 - dy;
            std::uint64_t inside = ~std::uint64_t{0};
            for (std::size_t i = 0; i < shape.count && inside; ++i) {
                const auto& edge = shape.edges[i];
                inside &= lookUp(*edge.row, edge.nx * x + edge.ny * y + edge.offset);
            }
            if (inside) visit(row, column, inside);
        }
    }
}

void SampleMask::uniteConvex(std::span<const CGPoint> corners) {
    // Around its first corner, where the numbers are small.
    std::array<CGPoint, 16> shape;
    const std::size_t count = std::min(corners.size(), shape.size());
    for (std::size_t i = 0; i < count; ++i)
        shape[i] = {corners[i].x - corners[0].x, corners[i].y - corners[0].y};
    visit(Shape({shape.data(), count}), corners[0],
          [this](int row, int column, std::uint64_t inside) {
              touchRows(row, row);
              samples_[static_cast<std::size_t>(row) * width_ + column] |= inside;
          });
}

void SampleMask::coverConvex(std::span<const CGPoint> corners, std::span<const CGPoint> places,
                             CGFloat alpha) {
    const int strength = static_cast<int>(std::lrint(std::clamp(alpha, 0.0, 1.0) * 255));
    const Shape shape(corners);
    hasCovered_ = true;
    for (const CGPoint place : places)
        visit(shape, place, [this, strength](int row, int column, std::uint64_t inside) {
            std::uint8_t& covered = coverage_[static_cast<std::size_t>(row) * stride_ + column];
            covered =
                static_cast<std::uint8_t>(over(covered, (countOf(inside) * strength + 127) / 255));
        });
}

std::span<std::uint8_t> SampleMask::coverage() {
    for (int row = firstRow_; row <= lastRow_; ++row) {
        const std::uint64_t* samples = &samples_[static_cast<std::size_t>(row) * width_];
        std::uint8_t* covered = &coverage_[static_cast<std::size_t>(row) * stride_];
        if (!hasCovered_) {
            for (int column = 0; column < width_; ++column)
                if (samples[column])
                    covered[column] = static_cast<std::uint8_t>(countOf(samples[column]));
            continue;
        }
        for (int column = 0; column < width_; ++column)
            if (samples[column])
                covered[column] =
                    static_cast<std::uint8_t>(over(covered[column], countOf(samples[column])));
    }
    return coverage_;
}

}  // namespace platform
