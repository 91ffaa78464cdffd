#include "platform/coregraphics/LineMask.h"

#include <array>
#include <cmath>
#include <memory>
#include <numbers>

namespace platform {

namespace {

constexpr int directions = 512;
constexpr int distances = 128;
/// No sample lies farther from the centre of its pixel (half a diagonal is 0.7071 pixels).
constexpr CGFloat reach = 0.72;
constexpr CGFloat distanceScale = distances / (2 * reach);

using Row = std::array<std::uint64_t, distances + 1>;

/// For each direction of an edge's normal and each distance of the pixel's centre from the edge
/// (positive on the side of the normal): the samples on that side.
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

    static const Row& towards(int direction) {
        static const HalfPlanes planes;
        return (*planes.rows_)[direction & (directions - 1)];
    }

 private:
    std::unique_ptr<std::array<Row, directions>> rows_;
};

/// The nearest of the directions.
int directionOf(CGFloat x, CGFloat y) {
    return static_cast<int>(std::lrint(std::atan2(y, x) * (directions / (2 * std::numbers::pi))));
}

CGFloat stepOf(CGFloat distance) {
    return (distance + reach) * distanceScale + 0.5;
}

std::uint64_t lookUp(const Row& row, CGFloat distance) {
    return row[static_cast<int>(std::clamp(stepOf(distance), 0.0, CGFloat{distances}))];
}

/// 32.32 fixed point, which is summed along a row without rounding.
constexpr CGFloat fixedOne = 4294967296.0;
std::int64_t fixed(CGFloat value) {
    return static_cast<std::int64_t>(value * fixedOne);
}

std::uint64_t lookUpFixed(const Row& row, std::int64_t step) {
    return row[static_cast<std::size_t>(std::clamp<std::int64_t>(step >> 32, 0, distances))];
}

/// 0..255, rounded. Without a multiplication, so that compilers vectorise it.
std::uint8_t coverageOf(std::uint64_t samples) {
    samples -= samples >> 1 & 0x5555555555555555u;
    samples = (samples & 0x3333333333333333u) + (samples >> 2 & 0x3333333333333333u);
    samples = (samples + (samples >> 4)) & 0x0f0f0f0f0f0f0f0fu;
    samples += samples >> 8;
    samples += samples >> 16;
    samples += samples >> 32;
    const unsigned count = static_cast<unsigned>(samples) & 0x7f;
    return static_cast<std::uint8_t>((count * 255 + 32) / 64);
}

/// The whole pixels first..end (exclusive) that touch an interval, within 0..size.
struct Span {
    Span(CGFloat from, CGFloat to, int size)
        : first(static_cast<int>(std::clamp(from, 0.0, CGFloat(size)))),
          end(to < 0 ? 0 : std::min(static_cast<int>(std::min(to, CGFloat(size))) + 1, size)) {}
    int first, end;
};

/// Shortens a segment to what lies in the range of fixed point. False if none of it does.
bool clip(CGPoint& p, CGPoint& q) {
    constexpr CGFloat farthest = 1e6;  // pixels
    const auto size = [](CGPoint a) { return std::max(std::abs(a.x), std::abs(a.y)); };
    if (size(p) <= farthest && size(q) <= farthest) return true;
    // From the nearer end, whose place would be lost in the far end's rounding.
    const bool turned = size(p) > size(q);
    if (turned) std::swap(p, q);
    const CGFloat from[]{p.x, p.y}, way[]{q.x - p.x, q.y - p.y};
    CGFloat first = 0, last = 1;
    for (int axis : {0, 1}) {
        if (way[axis] == 0) {
            if (std::abs(from[axis]) > farthest) return false;
            continue;
        }
        const CGFloat a = (-farthest - from[axis]) / way[axis];
        const CGFloat b = (farthest - from[axis]) / way[axis];
        first = std::max(first, std::min(a, b));
        last = std::min(last, std::max(a, b));
    }
    if (!(first <= last)) return false;
    q = {p.x + way[0] * last, p.y + way[1] * last};
    p = {p.x + way[0] * first, p.y + way[1] * first};
    if (turned) std::swap(p, q);
    return true;
}

}  // namespace

LineMask::LineMask(std::span<const CGPoint> corners, CGFloat width, CGFloat miterLimit)
    : half_(width / 2), miterLimit_(miterLimit) {
    strips_.reserve(corners.size());
    for (std::size_t i = 0; i < corners.size(); ++i) {
        CGPoint p = corners[(i + corners.size() - 1) % corners.size()], q = corners[i];
        if (!clip(p, q)) continue;
        const CGFloat dx = q.x - p.x, dy = q.y - p.y, length = std::sqrt(dx * dx + dy * dy);
        if (length > 0)
            strips_.push_back({p, dx / length, dy / length, length, directionOf(dx, dy)});
    }
}

void LineMask::cover(int x, int y, int columns, int rows, std::uint8_t* bytes,
                     std::ptrdiff_t stride) {
    x_ = x;
    y_ = y;
    columns_ = columns;
    rows_ = rows;
    samples_.assign(static_cast<std::size_t>(columns) * rows, 0);
    const CGFloat joinReach = half_ * std::max(1.0, miterLimit_) + 1;
    for (std::size_t i = 0; i < strips_.size(); ++i) {
        const Strip& strip = strips_[i];
        drawStrip(strip);
        if (strip.from.y > y - joinReach && strip.from.y < y + rows + joinReach)
            drawJoin(i > 0 ? strips_[i - 1] : strips_.back(), strip);
    }
    const std::uint64_t* row = samples_.data();
    for (; rows > 0; --rows, row += columns, bytes += stride)
        std::transform(row, row + columns, bytes, coverageOf);
}

void LineMask::drawStrip(const Strip& strip) {
    const auto [ux, uy] = CGPoint{strip.ux, strip.uy};
    const CGFloat x0 = strip.from.x - x_, y0 = strip.from.y - y_;
    const CGFloat x1 = x0 + ux * strip.length, y1 = y0 + uy * strip.length;
    const CGFloat growX = half_ * std::abs(uy), growY = half_ * std::abs(ux);
    const Span rows(std::min(y0, y1) - growY, std::max(y0, y1) + growY, rows_);
    if (rows.first >= rows.end) return;
    const Span columns(std::min(x0, x1) - growX, std::max(x0, x1) + growX, columns_);
    if (columns.first >= columns.end) return;

    const Row& across = HalfPlanes::towards(strip.direction + directions / 4);
    const Row& along = HalfPlanes::towards(strip.direction);
    // In one row of pixels the strip reaches so far to both sides of its middle there.
    const bool isFlat = std::abs(uy) < 1e-6;
    const CGFloat slope = isFlat ? 0 : ux / uy;
    const CGFloat halfWidth = isFlat ? strip.length : half_ / std::abs(uy) + std::abs(slope) / 2;
    // From column to column the steps of the distance from one edge and the way travelled change by
    // the same amounts.
    const std::int64_t nearStep = fixed(-uy * distanceScale), wayStep = fixed(ux);
    const std::int64_t apart = fixed(2 * half_ * distanceScale);
    const std::int64_t afterStart = fixed(reach), beforeEnd = fixed(strip.length - reach);
    for (int row = rows.first; row < rows.end; ++row) {
        const CGFloat py = row + 0.5 - y0, middle = isFlat ? (x0 + x1) / 2 : x0 + slope * py;
        const Span pixels(std::max(middle - halfWidth, CGFloat(columns.first)),
                          std::min(middle + halfWidth, CGFloat(columns.end)), columns_);
        if (pixels.first >= pixels.end) continue;
        const CGFloat px = pixels.first + 0.5 - x0;
        std::int64_t near = fixed(stepOf(ux * py - uy * px + half_));
        std::int64_t way = fixed(ux * px + uy * py);
        const std::int64_t last = way + (pixels.end - 1 - pixels.first) * wayStep;
        std::uint64_t* const samples = &samples_[static_cast<std::size_t>(row) * columns_];
        if (std::min(way, last) >= afterStart && std::max(way, last) <= beforeEnd) {
            for (int column = pixels.first; column < pixels.end; ++column, near += nearStep)
                samples[column] |= lookUpFixed(across, near) & ~lookUpFixed(across, near - apart);
            continue;
        }
        for (int column = pixels.first; column < pixels.end; ++column) {
            std::uint64_t inside = lookUpFixed(across, near) & ~lookUpFixed(across, near - apart);
            const CGFloat travelled = static_cast<CGFloat>(way) / fixedOne;
            if (way < afterStart) inside &= lookUp(along, travelled);
            if (way > beforeEnd) inside &= ~lookUp(along, travelled - strip.length);
            samples[column] |= inside;
            near += nearStep;
            way += wayStep;
        }
    }
}

void LineMask::drawJoin(const Strip& in, const Strip& out) {
    const CGFloat turn = in.ux * out.uy - in.uy * out.ux, along = in.ux * out.ux + in.uy * out.uy;
    constexpr CGFloat leastArea = 1.0 / 128;  // half a sample
    if (along > 0 && half_ * half_ * std::abs(turn) < leastArea * (1 + along)) return;
    struct Edge {
        CGFloat nx, ny, offset;  // from the corner
        const Row& row;
        Edge(CGFloat x, CGFloat y, CGFloat o)
            : nx(x), ny(y), offset(o), row(HalfPlanes::towards(directionOf(x, y))) {}
    };
    const int side = turn > 0 ? 1 : -1;
    const CGPoint a{side * in.uy * half_, -side * in.ux * half_};
    const CGPoint b{side * out.uy * half_, -side * out.ux * half_};
    CGPoint tip = a;
    std::vector<Edge> edges{{in.ux, in.uy, 0}, {-out.ux, -out.uy, 0}};
    if (2 <= miterLimit_ * miterLimit_ * (1 + along)) {
        tip = {(a.x + b.x) / (1 + along), (a.y + b.y) / (1 + along)};
        edges.emplace_back(-side * in.uy, side * in.ux, half_);
        edges.emplace_back(-side * out.uy, side * out.ux, half_);
    } else {
        const CGFloat dx = out.ux - in.ux, dy = out.uy - in.uy;
        const CGFloat length = std::sqrt(dx * dx + dy * dy);
        edges.emplace_back(dx / length, dy / length,
                           half_ * std::sqrt(std::max(0.0, 1 + along) / 2));
    }
    const CGFloat x0 = out.from.x - x_, y0 = out.from.y - y_;
    const Span columns(x0 + std::min({0.0, a.x, b.x, tip.x}), x0 + std::max({0.0, a.x, b.x, tip.x}),
                       columns_);
    const Span rows(y0 + std::min({0.0, a.y, b.y, tip.y}), y0 + std::max({0.0, a.y, b.y, tip.y}),
                    rows_);
    for (int row = rows.first; row < rows.end; ++row) {
        for (int column = columns.first; column < columns.end; ++column) {
            std::uint64_t inside = ~std::uint64_t{0};
            for (const Edge& edge : edges)
                inside &= lookUp(edge.row, edge.nx * (column + 0.5 - x0) +
                                               edge.ny * (row + 0.5 - y0) + edge.offset);
            samples_[static_cast<std::size_t>(row) * columns_ + column] |= inside;
        }
    }
}

}  // namespace platform
