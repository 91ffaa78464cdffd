#include "platform/coregraphics/SampleMask.h"

#include <array>
#include <cmath>
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

/// Numbers with 32 bits behind the point: they are added up along rows and columns.
constexpr CGFloat fixedOne = 4294967296.0;
std::int64_t fixed(CGFloat value) {
    return static_cast<std::int64_t>(value * fixedOne);
}

std::uint64_t lookUpFixed(const Row& row, std::int64_t step) {
    return row[static_cast<std::size_t>(std::clamp<std::int64_t>(step >> 32, 0, distances))];
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

/// Shortens a way to what lies within reach of fixed point. False where nothing does.
bool clip(CGPoint& p, CGPoint& q) {
    constexpr CGFloat farthest = 1e6;  // pixels
    const auto size = [](CGPoint a) { return std::max(std::abs(a.x), std::abs(a.y)); };
    if (size(p) <= farthest && size(q) <= farthest) return true;
    // Seen from the nearer end, or the far one's size would swallow its place.
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

void SampleMask::reset(int x, int y, int width, int height) {
    strips_.clear();
    if (width != width_ || height != height_) {
        width_ = width;
        height_ = height;
        constexpr int bandWords = 32768;  // half of a small second-level cache
        bandRows_ = std::clamp(bandWords / width, 8, std::max(8, height));
        samples_.assign(static_cast<std::size_t>(width) * bandRows_, 0);
        covered_.clear();
        touched_.assign(static_cast<std::size_t>(height), 0);
        // No smaller than a cache line of samples.
        for (blockShift_ = 3; (width - 1) >> blockShift_ > 63;) ++blockShift_;
    } else if (hasCovered_) {
        take([](int, int, std::span<const std::uint8_t>) {});
    }
    hasCovered_ = false;
    x_ = x;
    y_ = y;
}

void SampleMask::setLine(std::span<const CGPoint> points, bool closed, CGFloat width,
                         CGFloat miterLimit) {
    constexpr CGFloat mostColumns = 1e7;  // that a step within reach crosses
    closed_ = closed;
    half_ = width / 2;
    miterLimit_ = miterLimit;
    strips_.clear();
    for (std::size_t i = closed ? 0 : 1; i < points.size(); ++i) {
        CGPoint p = points[(i + points.size() - 1) % points.size()], q = points[i];
        if (!clip(p, q)) continue;
        const CGFloat x0 = p.x - x_, y0 = p.y - y_, x1 = q.x - x_, y1 = q.y - y_;
        const CGFloat dx = x1 - x0, dy = y1 - y0, length = std::sqrt(dx * dx + dy * dy);
        if (!(length > 0)) continue;
        const CGFloat ux = dx / length, uy = dy / length;
        const CGFloat growX = half_ * std::abs(uy), growY = half_ * std::abs(ux);
        const Span columns(std::min(x0, x1) - growX, std::max(x0, x1) + growX, width_);
        const Span rows(std::min(y0, y1) - growY, std::max(y0, y1) + growY, height_);
        // How far the strip's part in one row of pixels reaches from its middle there.
        const bool isFlat = std::abs(uy) < 1e-6;
        const CGFloat slope = isFlat ? 0 : ux / uy;
        const CGFloat reachX =
            isFlat ? std::abs(dx) + 1 : half_ / std::abs(uy) + std::abs(slope) / 2;
        const CGFloat px = 0.5 - x0, py = rows.first + 0.5 - y0;
        strips_.push_back(
            {.from = {x0, y0},
             .ux = ux,
             .uy = uy,
             .length = length,
             .direction = directionOf(ux, uy),
             .rows = {rows.first, rows.end},
             .firstColumn = columns.first,
             .endColumn = columns.end,
             .most = static_cast<int>(std::min(2 * reachX, mostColumns)) + 2,
             .begin = fixed(std::clamp(x0 + slope * py - reachX, -mostColumns, mostColumns)),
             .near = fixed((ux * py - uy * px + half_ + reach) * distanceScale + 0.5),
             .travelled = fixed(ux * px + uy * py),
             .beginDown = fixed(std::clamp(slope, -mostColumns, mostColumns)),
             .nearDown = fixed(ux * distanceScale),
             .travelledDown = fixed(uy),
             .nearAcross = fixed(-uy * distanceScale),
             .travelledAcross = fixed(ux)});
    }
}

void SampleMask::drawLine(Rows band) {
    bandFirst_ = band.first;
    const CGFloat joinReach = half_ * std::max(1.0, miterLimit_) + 1;
    for (std::size_t i = 0; i < strips_.size(); ++i) {
        const Strip& strip = strips_[i];
        drawStrip(strip, band);
        if (strip.from.y < band.first - joinReach || strip.from.y > band.end + joinReach) continue;
        if (i > 0 || closed_) drawJoin(i > 0 ? strips_[i - 1] : strips_.back(), strip, band);
    }
}

void SampleMask::drawStrip(const Strip& strip, Rows band) {
    const int firstRow = std::max(strip.rows.first, band.first);
    const int endRow = std::min(strip.rows.end, band.end);
    if (firstRow >= endRow || strip.firstColumn >= strip.endColumn) return;
    const Row& across = HalfPlanes::table().towards(strip.direction + directions / 4);
    const Row& along = HalfPlanes::table().towards(strip.direction);
    const std::int64_t apart = fixed(2 * half_ * distanceScale);
    const std::int64_t afterStart = fixed(reach), beforeEnd = fixed(strip.length - reach);
    const std::int64_t nearStep = strip.nearAcross, travelledStep = strip.travelledAcross;
    const int down = firstRow - strip.rows.first;
    std::int64_t begin = strip.begin + down * strip.beginDown;
    std::int64_t nearRow = strip.near + down * strip.nearDown;
    std::int64_t travelledRow = strip.travelled + down * strip.travelledDown;

    for (int row = firstRow; row < endRow; ++row, begin += strip.beginDown,
             nearRow += strip.nearDown, travelledRow += strip.travelledDown) {
        const int at = static_cast<int>(begin >> 32);
        const int first = std::max(at, strip.firstColumn);
        const int end = std::min(at + strip.most, strip.endColumn);
        if (first >= end) continue;
        touch(row, first, end - 1);
        std::uint64_t* const samples =
            &samples_[static_cast<std::size_t>(row - band.first) * width_];
        std::int64_t near = nearRow + first * nearStep;
        std::int64_t travelled = travelledRow + first * travelledStep;
        const std::int64_t last = travelled + (end - 1 - first) * travelledStep;
        if (std::min(travelled, last) >= afterStart && std::max(travelled, last) <= beforeEnd) {
            for (int column = first; column < end; ++column, near += nearStep)
                samples[column] |= lookUpFixed(across, near) & ~lookUpFixed(across, near - apart);
            continue;
        }
        for (int column = first; column < end; ++column) {
            std::uint64_t inside = lookUpFixed(across, near) & ~lookUpFixed(across, near - apart);
            const CGFloat way = static_cast<CGFloat>(travelled) / fixedOne;
            if (travelled < afterStart) inside &= lookUp(along, way);
            if (travelled > beforeEnd) inside &= ~lookUp(along, way - strip.length);
            samples[column] |= inside;
            near += nearStep;
            travelled += travelledStep;
        }
    }
}

/// A convex shape as the half planes it lies in, around an origin that a copy is moved to.
struct SampleMask::Shape {
    Shape() = default;
    explicit Shape(std::span<const CGPoint> corners);

    struct Edge {
        CGFloat nx, ny, offset;
        const Row* row;
    };
    std::array<Edge, 16> edges;
    std::size_t count = 0;  // 0: nothing to see
    CGFloat left = 0, top = 0, right = 0, bottom = 0;
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
void SampleMask::visit(const Shape& shape, CGPoint at, Rows within, Visit visit) {
    if (shape.count == 0) return;
    const Span rows(shape.top + at.y, shape.bottom + at.y, height_);
    const Span columns(shape.left + at.x, shape.right + at.x, width_);
    const int end = std::min(rows.end, within.end);
    for (int row = std::max(rows.first, within.first); row < end; ++row) {
        for (int column = columns.first; column < columns.end; ++column) {
            const CGFloat x = column + 0.5 - at.x, y = row + 0.5 - at.y;
            std::uint64_t inside = ~std::uint64_t{0};
            for (std::size_t i = 0; i < shape.count && inside; ++i) {
                const auto& edge = shape.edges[i];
                inside &= lookUp(*edge.row, edge.nx * x + edge.ny * y + edge.offset);
            }
            if (inside) visit(row, column, inside);
        }
    }
}

/// The corner that two strips leave open on their outer side: what lies past the end of the one and
/// before the start of the other, as far as the continued edges meet or, cut off, their ends.
void SampleMask::drawJoin(const Strip& in, const Strip& out, Rows band) {
    const CGFloat half = half_;
    const CGFloat turn = in.ux * out.uy - in.uy * out.ux, along = in.ux * out.ux + in.uy * out.uy;
    constexpr CGFloat leastArea = 1.0 / 128;  // half a sample
    if (along > 0 && half * half * std::abs(turn) < leastArea * (1 + along)) return;
    const int side = turn > 0 ? 1 : -1;
    const CGPoint a{side * in.uy * half, -side * in.ux * half};
    const CGPoint b{side * out.uy * half, -side * out.ux * half};
    const auto& table = HalfPlanes::table();
    Shape shape;
    shape.edges[0] = {in.ux, in.uy, 0, &table.towards(in.direction)};
    shape.edges[1] = {-out.ux, -out.uy, 0, &table.towards(out.direction + directions / 2)};
    CGPoint tip = a;
    if (2 <= miterLimit_ * miterLimit_ * (1 + along)) {
        tip = {(a.x + b.x) / (1 + along), (a.y + b.y) / (1 + along)};
        for (int edge : {0, 1}) {
            const Strip& strip = edge ? out : in;
            shape.edges[2 + edge] = {-side * strip.uy, side * strip.ux, half,
                                     &table.towards(strip.direction + side * directions / 4)};
        }
        shape.count = 4;
    } else {
        const CGFloat dx = out.ux - in.ux, dy = out.uy - in.uy;
        const CGFloat length = std::sqrt(dx * dx + dy * dy);
        shape.edges[2] = {dx / length, dy / length, half * std::sqrt(std::max(0.0, 1 + along) / 2),
                          &table.towards(directionOf(dx, dy))};
        shape.count = 3;
    }
    shape.left = std::min({0.0, a.x, b.x, tip.x});
    shape.right = std::max({0.0, a.x, b.x, tip.x});
    shape.top = std::min({0.0, a.y, b.y, tip.y});
    shape.bottom = std::max({0.0, a.y, b.y, tip.y});
    visit(shape, out.from, band, [this, band](int row, int column, std::uint64_t inside) {
        touch(row, column, column);
        samples_[static_cast<std::size_t>(row - band.first) * width_ + column] |= inside;
    });
}

void SampleMask::coverConvex(std::span<const CGPoint> corners, std::span<const CGPoint> places,
                             CGFloat alpha) {
    const int strength = static_cast<int>(std::lrint(std::clamp(alpha, 0.0, 1.0) * 255));
    const Shape shape(corners);
    hasCovered_ = true;
    covered_.resize(static_cast<std::size_t>(width_) * height_);
    for (const CGPoint place : places)
        visit(shape, {place.x - x_, place.y - y_}, {0, height_},
              [this, strength](int row, int column, std::uint64_t inside) {
                  touch(row, column, column);
                  std::uint8_t& covered = covered_[static_cast<std::size_t>(row) * width_ + column];
                  covered = static_cast<std::uint8_t>(
                      over(covered, (countOf(inside) * strength + 127) / 255));
              });
}

std::span<const std::uint8_t> SampleMask::takeRun(int row, int first, int end) {
    const auto size = static_cast<std::size_t>(end - first);
    run_.resize(std::max(run_.size(), size));
    std::uint8_t* const run = run_.data();
    if (strips_.empty()) {
        std::fill_n(run, size, 0);
    } else {
        std::uint64_t* const samples =
            &samples_[static_cast<std::size_t>(row - bandFirst_) * width_ + first];
        for (std::size_t i = 0; i < size; ++i)
            run[i] = static_cast<std::uint8_t>(countOf(samples[i]));
        std::fill_n(samples, size, 0);
    }
    if (hasCovered_) {
        std::uint8_t* const covered = &covered_[static_cast<std::size_t>(row) * width_ + first];
        for (std::size_t i = 0; i < size; ++i)
            run[i] = static_cast<std::uint8_t>(over(covered[i], run[i]));
        std::fill_n(covered, size, 0);
    }
    return {run, size};
}

}  // namespace platform
