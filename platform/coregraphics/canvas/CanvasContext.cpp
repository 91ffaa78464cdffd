// The drawing back end in a browser: each bitmap is a canvas of the page, which draws on it by
// commands.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CGImage.h"
#include "platform/coregraphics/MarkStamp.h"
#include "platform/coregraphics/canvas/CommandBuffer.h"

extern "C" {
__attribute__((import_module("canvas"), import_name("replay"))) void kelvane_canvas_replay(
    const double* words, std::size_t count);
/// Red, green, blue and alpha of each pixel, a byte each, not premultiplied.
__attribute__((import_module("canvas"), import_name("read"))) void kelvane_canvas_read(
    int canvas, std::uint32_t* pixels);
}

namespace platform {

using Command = CanvasCommand;

CommandBuffer& CommandBuffer::shared() {
    // Never destroyed: canvases may outlive any static.
    static auto& buffer = *new CommandBuffer;
    return buffer;
}

void CommandBuffer::put(Command command, std::initializer_list<double> arguments) {
    words_.push_back(static_cast<double>(command));
    words_.insert(words_.end(), arguments);
}

void CommandBuffer::put(std::span<const double> arguments) {
    words_.insert(words_.end(), arguments.begin(), arguments.end());
}

void CommandBuffer::putFor(int canvas, Command command, std::initializer_list<double> arguments) {
    if (std::exchange(target_, canvas) != canvas) put(Command::target, {double(canvas)});
    put(command, arguments);
}

void CommandBuffer::flush() {
    if (!words_.empty()) kelvane_canvas_replay(words_.data(), words_.size());
    words_.clear();
}

namespace {

int lastCanvas = 0;

class CanvasBitmap final : public CGBitmapContext {
 public:
    CanvasBitmap(int width, int height, CGFloat scale)
        : canvas_(++lastCanvas), width_(width), height_(height), scale_(scale) {
        commands_.put(Command::create, {double(canvas_), double(width), double(height)});
        state_.clip = CGRect(0, 0, width, height);
        scaleBy(scale, scale);
    }
    ~CanvasBitmap() override { commands_.putFor(0, Command::destroy, {double(canvas_)}); }

    int canvas() const { return canvas_; }
    int pixelWidth() const override { return width_; }
    int pixelHeight() const override { return height_; }
    CGFloat scale() const override { return scale_; }
    std::span<const std::uint32_t> pixels() const override;

    void saveGState() override {
        saved_.push_back(state_);
        put(Command::save);
    }
    void restoreGState() override {
        if (saved_.empty()) return;
        state_ = saved_.back();
        saved_.pop_back();
        put(Command::restore);
    }

    void concatenate(const CGAffineTransform& transform) override {
        state_.ctm = transform.concatenating(state_.ctm);
        put(Command::transform,
            {transform.a, transform.b, transform.c, transform.d, transform.tx, transform.ty});
    }
    CGAffineTransform ctm() const override { return state_.ctm; }

    void setFillColor(const CGColor& c) override {
        state_.fill = c;
        put(Command::fillColor, {c.red, c.green, c.blue, c.alpha});
    }
    void setStrokeColor(const CGColor& c) override {
        put(Command::strokeColor, {c.red, c.green, c.blue, c.alpha});
    }
    void setLineWidth(CGFloat width) override { put(Command::lineWidth, {width}); }
    void setLineCap(CGLineCap cap) override { put(Command::lineCap, {static_cast<double>(cap)}); }
    void setLineJoin(CGLineJoin join) override {
        put(Command::lineJoin, {static_cast<double>(join)});
    }
    void setLineDash(CGFloat phase, std::span<const CGFloat> lengths) override {
        put(Command::lineDash, {phase, static_cast<double>(lengths.size())});
        commands_.put(lengths);
    }
    void setAlpha(CGFloat alpha) override { put(Command::alpha, {std::clamp(alpha, 0.0, 1.0)}); }

    void beginPath() override {
        path_ = CGRect::null();
        put(Command::beginPath);
    }
    void moveTo(CGPoint p) override {
        extendPath(p);
        put(Command::moveTo, {p.x, p.y});
    }
    void addLineTo(CGPoint p) override {
        extendPath(p);
        put(Command::lineTo, {p.x, p.y});
    }
    void addCurveTo(CGPoint c1, CGPoint c2, CGPoint p) override {
        extendPath(c1);
        extendPath(c2);
        extendPath(p);
        put(Command::curveTo, {c1.x, c1.y, c2.x, c2.y, p.x, p.y});
    }
    void closePath() override { put(Command::closePath); }

    void strokePath() override {
        path_ = CGRect::null();
        put(Command::stroke);
    }
    void fillPath() override {
        path_ = CGRect::null();
        put(Command::fill);
    }
    void fillMarks(std::span<const CGPoint> outline, std::span<const CGPoint> places) override;
    void clip() override {
        state_.clip = state_.clip.intersection(std::exchange(path_, CGRect::null()));
        put(Command::clip);
    }
    CGRect clipBoundingBox() const override {
        return state_.clip.isNull() ? CGRect{} : state_.ctm.inverted().apply(state_.clip);
    }
    void clearRect(const CGRect& r) override {
        put(Command::clearRect, {r.minX(), r.minY(), r.width(), r.height()});
    }

    void beginTransparencyLayer() override {
        saveGState();
        put(Command::beginLayer);
    }
    void endTransparencyLayer() override {
        put(Command::endLayer);
        restoreGState();
    }

    void drawLinearGradient(std::span<const CGGradientStop> stops, CGPoint start,
                            CGPoint end) override {
        put(Command::linearGradient, {start.x, start.y, end.x, end.y});
        putStops(stops);
    }
    void drawRadialGradient(std::span<const CGGradientStop> stops, CGPoint startCenter,
                            CGFloat startRadius, CGPoint endCenter, CGFloat endRadius) override {
        put(Command::radialGradient,
            {startCenter.x, startCenter.y, startRadius, endCenter.x, endCenter.y, endRadius});
        putStops(stops);
    }

    void drawImage(const CGImage& image, const CGRect& r) override {
        std::vector<std::uint32_t> straight(image.pixels().begin(), image.pixels().end());
        for (auto& pixel : straight) {
            const std::uint32_t alpha = pixel >> 24;
            const auto component = [&](int shift) {
                return alpha == 0
                           ? 0
                           : std::min(255U, ((pixel >> shift & 255) * 255 + alpha / 2) / alpha);
            };
            pixel = alpha << 24 | component(0) << 16 | component(8) << 8 | component(16);
        }
        putImage(straight, image.width(), image.height(), r);
    }
    void drawBitmap(const CGBitmapContext& bitmap, const CGRect& r) override {
        // There is one back end in a page.
        const auto& source = static_cast<const CanvasBitmap&>(bitmap);
        put(Command::bitmap, {double(source.canvas_), r.minX(), r.minY(), r.width(), r.height()});
    }

 private:
    /// For the queries.
    struct State {
        CGAffineTransform ctm;
        CGRect clip;  // in pixels
        CGColor fill;
    };

    void put(Command command, std::initializer_list<double> arguments = {}) {
        commands_.putFor(canvas_, command, arguments);
    }
    /// Pixels as the page has them: red, green, blue and alpha, a byte each, not premultiplied.
    void putImage(const std::vector<std::uint32_t>& pixels, int width, int height,
                  const CGRect& r) {
        put(Command::image,
            {static_cast<double>(reinterpret_cast<std::uintptr_t>(pixels.data())), double(width),
             double(height), r.minX(), r.minY(), r.width(), r.height()});
        commands_.flush();  // while the pixels are there
    }
    void putStops(std::span<const CGGradientStop> stops) {
        commands_.put(std::array{static_cast<double>(stops.size())});
        for (const auto& [location, c] : stops)
            commands_.put(std::array{location, c.red, c.green, c.blue, c.alpha});
    }
    void extendPath(CGPoint p) { path_ = path_.unionWith({state_.ctm.apply(p), CGSize{}}); }

    CommandBuffer& commands_ = CommandBuffer::shared();
    int canvas_, width_, height_;
    CGFloat scale_;
    State state_;
    std::vector<State> saved_;
    CGRect path_ = CGRect::null();  // bounds of the current path, in pixels
    std::unique_ptr<MarkStamp> stamp_;
    mutable std::vector<std::uint32_t> pixels_;
};

void CanvasBitmap::fillMarks(std::span<const CGPoint> outline, std::span<const CGPoint> places) {
    const auto& map = state_.ctm;
    auto* stamp = MarkStamp::of(outline, map, stamp_);
    if (!stamp) return CGBitmapContext::fillMarks(outline, places);
    const auto clip = state_.clip.intersection({0, 0, double(width_), double(height_)});
    // The marks' pixels, and the part of the canvas that they lie on.
    std::vector<CGPoint> visible;
    CGRect area = CGRect::null();
    for (const auto& place : places) {
        const auto p = map.apply(place);
        if (!MarkStamp::reaching(clip).contains(p)) continue;
        visible.push_back(p);
        area = area.unionWith({p, CGSize{}});
    }
    area = MarkStamp::reaching(area).intersection(clip).integral();
    if (area.isEmpty()) return;

    const int left = static_cast<int>(area.minX()), top = static_cast<int>(area.minY());
    const int columns = static_cast<int>(area.width()), rows = static_cast<int>(area.height());
    const auto count = static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
    const auto byte = [](double part) {
        return static_cast<std::uint32_t>(std::lround(255 * part));
    };
    const auto& fill = state_.fill;
    const std::uint32_t color = byte(fill.blue) << 16 | byte(fill.green) << 8 | byte(fill.red);
    const auto opacity = static_cast<float>(255 * fill.alpha);
    static std::vector<float> coverage;
    static std::vector<std::uint32_t> painted;
    coverage.assign(count, 0);
    painted.assign(count, 0);
    for (const auto& p : visible)
        stamp->put(p, area, [&](int x, int y, std::uint8_t part) {
            const auto i = static_cast<std::size_t>((y - top) * columns + x - left);
            coverage[i] += (1 - coverage[i]) * (static_cast<float>(part) / 255);
            painted[i] = static_cast<std::uint32_t>(coverage[i] * opacity + 0.5F) << 24 | color;
        });
    saveGState();
    concatenate(map.inverted());
    putImage(painted, columns, rows, area);
    restoreGState();
}

std::span<const std::uint32_t> CanvasBitmap::pixels() const {
    commands_.flush();
    pixels_.resize(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
    kelvane_canvas_read(canvas_, pixels_.data());
    for (auto& pixel : pixels_) {
        const std::uint32_t alpha = pixel >> 24;
        const auto component = [&](int shift) {
            return ((pixel >> shift & 255) * alpha + 127) / 255;
        };
        pixel = alpha << 24 | component(0) << 16 | component(8) << 8 | component(16);
    }
    return pixels_;
}

}  // namespace

int canvasOf(const CGBitmapContext& bitmap) {
    return static_cast<const CanvasBitmap&>(bitmap).canvas();
}

std::unique_ptr<CGBitmapContext> makeBitmapContext(int pixelWidth, int pixelHeight, CGFloat scale) {
    constexpr int largest = 32767;
    if (pixelWidth < 1 || pixelHeight < 1 || pixelWidth > largest || pixelHeight > largest)
        return nullptr;
    return std::make_unique<CanvasBitmap>(pixelWidth, pixelHeight, scale);
}

}  // namespace platform
