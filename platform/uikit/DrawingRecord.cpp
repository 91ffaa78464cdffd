#include "platform/uikit/DrawingRecord.h"

#include <algorithm>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CGFont.h"
#include "platform/coregraphics/CGImage.h"

namespace platform {

enum class DrawingRecord::Call : std::uint8_t {
    saveGState,
    restoreGState,
    concatenate,
    setFillColor,
    setStrokeColor,
    setLineWidth,
    setLineCap,
    setLineJoin,
    setMiterLimit,
    setLineDash,
    setAlpha,
    beginPath,
    moveTo,
    addLineTo,
    addCurveTo,
    closePath,
    addRect,
    addPath,
    strokePath,
    fillPath,
    clip,
    clearRect,
    beginTransparencyLayer,
    endTransparencyLayer,
    drawLinearGradient,
    drawRadialGradient,
    drawImage,
    showText,
    strokeTicks,
    fillEllipses,
    strokePolyline,
};

// Writing down

template <class T>
void DrawingRecord::put(const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    const auto bytes = std::as_bytes(std::span(&value, 1));
    const auto at = bytes_.size();
    bytes_.resize(at + bytes.size());
    std::memcpy(bytes_.data() + at, bytes.data(), bytes.size());
}

template <class T>
void DrawingRecord::putAll(std::span<const T> values) {
    static_assert(std::is_trivially_copyable_v<T>);
    put(values.size());
    if (values.empty()) return;
    const auto at = bytes_.size();
    bytes_.resize(at + values.size_bytes());
    std::memcpy(bytes_.data() + at, values.data(), values.size_bytes());
}

template <class... T>
void DrawingRecord::record(Call call, const T&... arguments) {
    put(call);
    (put(arguments), ...);
}

void DrawingRecord::begin(CGSize size, CGFloat scale) {
    bytes_.clear();
    saved_.clear();
    state_.ctm = CGAffineTransform::scale(scale, scale);
    state_.clip = {0, 0, size.width * scale, size.height * scale};
    path_ = CGRect::null();
    paints_ = false;
    // The same calls for another size or scale are another picture.
    put(size);
    put(scale);
}

void DrawingRecord::swap(DrawingRecord& other) noexcept {
    bytes_.swap(other.bytes_);
    saved_.swap(other.saved_);
    std::swap(state_, other.state_);
    std::swap(path_, other.path_);
    std::swap(paints_, other.paints_);
}

void DrawingRecord::saveGState() {
    saved_.push_back(state_);
    record(Call::saveGState);
}

void DrawingRecord::restoreGState() {
    if (saved_.empty()) return;
    state_ = saved_.back();
    saved_.pop_back();
    record(Call::restoreGState);
}

void DrawingRecord::concatenate(const CGAffineTransform& transform) {
    state_.ctm = transform.concatenating(state_.ctm);
    record(Call::concatenate, transform);
}

void DrawingRecord::setFillColor(const CGColor& color) {
    record(Call::setFillColor, color);
}

void DrawingRecord::setStrokeColor(const CGColor& color) {
    record(Call::setStrokeColor, color);
}

void DrawingRecord::setLineWidth(CGFloat width) {
    record(Call::setLineWidth, width);
}

void DrawingRecord::setLineCap(CGLineCap cap) {
    record(Call::setLineCap, cap);
}

void DrawingRecord::setLineJoin(CGLineJoin join) {
    record(Call::setLineJoin, join);
}

void DrawingRecord::setMiterLimit(CGFloat limit) {
    record(Call::setMiterLimit, limit);
}

void DrawingRecord::setLineDash(CGFloat phase, std::span<const CGFloat> lengths) {
    record(Call::setLineDash, phase);
    putAll(lengths);
}

void DrawingRecord::setAlpha(CGFloat alpha) {
    record(Call::setAlpha, alpha);
}

void DrawingRecord::extendPath(CGPoint p) {
    path_ = path_.unionWith({state_.ctm.apply(p), CGSize{}});
}

void DrawingRecord::beginPath() {
    path_ = CGRect::null();
    record(Call::beginPath);
}

void DrawingRecord::moveTo(CGPoint p) {
    extendPath(p);
    record(Call::moveTo, p);
}

void DrawingRecord::addLineTo(CGPoint p) {
    extendPath(p);
    record(Call::addLineTo, p);
}

void DrawingRecord::addCurveTo(CGPoint control1, CGPoint control2, CGPoint p) {
    extendPath(control1);
    extendPath(control2);
    extendPath(p);
    record(Call::addCurveTo, control1, control2, p);
}

void DrawingRecord::closePath() {
    record(Call::closePath);
}

void DrawingRecord::addRect(const CGRect& rect) {
    path_ = path_.unionWith(state_.ctm.apply(rect));
    record(Call::addRect, rect);
}

void DrawingRecord::addPath(const CGPath& path) {
    for (const auto& p : path.points()) extendPath(p);
    record(Call::addPath);
    putAll(std::span<const CGPath::Element>(path.elements()));
    putAll(std::span<const CGPoint>(path.points()));
}

void DrawingRecord::strokePath() {
    paints_ = true;
    path_ = CGRect::null();
    record(Call::strokePath);
}

void DrawingRecord::fillPath(bool evenOdd) {
    paints_ = true;
    path_ = CGRect::null();
    record(Call::fillPath, evenOdd);
}

void DrawingRecord::clip(bool evenOdd) {
    state_.clip = state_.clip.intersection(std::exchange(path_, CGRect::null()));
    record(Call::clip, evenOdd);
}

CGRect DrawingRecord::clipBoundingBox() const {
    return state_.clip.isNull() ? CGRect{} : state_.ctm.inverted().apply(state_.clip);
}

void DrawingRecord::clearRect(const CGRect& rect) {
    record(Call::clearRect, rect);
}

void DrawingRecord::beginTransparencyLayer() {
    record(Call::beginTransparencyLayer);
}

void DrawingRecord::endTransparencyLayer() {
    record(Call::endTransparencyLayer);
}

void DrawingRecord::drawLinearGradient(std::span<const CGGradientStop> stops, CGPoint start,
                                       CGPoint end) {
    paints_ = true;
    record(Call::drawLinearGradient, start, end);
    putAll(stops);
}

void DrawingRecord::drawRadialGradient(std::span<const CGGradientStop> stops, CGPoint startCenter,
                                       CGFloat startRadius, CGPoint endCenter, CGFloat endRadius) {
    paints_ = true;
    record(Call::drawRadialGradient, startCenter, startRadius, endCenter, endRadius);
    putAll(stops);
}

void DrawingRecord::drawImage(const CGImage& image, const CGRect& rect) {
    paints_ = true;
    record(Call::drawImage, rect, image.width(), image.height());
    putAll(image.pixels());
}

void DrawingRecord::drawBitmap(const CGBitmapContext& bitmap, const CGRect& rect) {
    paints_ = true;
    record(Call::drawImage, rect, bitmap.pixelWidth(), bitmap.pixelHeight());
    putAll(bitmap.pixels());
}

void DrawingRecord::showText(std::string_view text, const CGFont& font, CGFloat size,
                             CGPoint origin, CGFloat tracking) {
    paints_ = true;
    record(Call::showText, &font, size, origin, tracking);
    putAll(std::span(text.data(), text.size()));
}

void DrawingRecord::strokeTicks(std::span<const CGPoint> points, CGSize delta) {
    paints_ = true;
    record(Call::strokeTicks, delta);
    putAll(points);
}

void DrawingRecord::fillEllipses(std::span<const CGPoint> points, CGSize size) {
    paints_ = true;
    record(Call::fillEllipses, size);
    putAll(points);
}

void DrawingRecord::strokePolyline(std::span<const CGPoint> points, bool closed) {
    paints_ = true;
    record(Call::strokePolyline, closed);
    putAll(points);
}

// Playing back

class DrawingRecord::Reader {
 public:
    explicit Reader(std::span<const std::byte> bytes) : bytes_(bytes) {}

    bool atEnd() const { return bytes_.empty(); }

    template <class T>
    T get() {
        T value;
        const auto bytes = std::as_writable_bytes(std::span(&value, 1));
        std::copy_n(bytes_.begin(), bytes.size(), bytes.begin());
        bytes_ = bytes_.subspan(bytes.size());
        return value;
    }

    template <class T>
    std::vector<T> getAll() {
        std::vector<T> values(get<std::size_t>());
        const auto size = values.size() * sizeof(T);
        if (size) std::memcpy(values.data(), bytes_.data(), size);
        bytes_ = bytes_.subspan(size);
        return values;
    }

    CGPath path() {
        const auto elements = getAll<CGPath::Element>();
        const auto points = getAll<CGPoint>();
        CGPath path;
        auto p = points.begin();
        for (const auto element : elements) {
            switch (element) {
                case CGPath::Element::moveTo:
                    path.moveTo(*p++);
                    break;
                case CGPath::Element::lineTo:
                    path.addLineTo(*p++);
                    break;
                case CGPath::Element::curveTo:
                    path.addCurveTo(p[0], p[1], p[2]);
                    p += 3;
                    break;
                case CGPath::Element::close:
                    path.closeSubpath();
                    break;
            }
        }
        return path;
    }

 private:
    std::span<const std::byte> bytes_;
};

void DrawingRecord::play(CGContext& on) const {
    Reader in(bytes_);
    in.get<CGSize>();
    in.get<CGFloat>();
    while (!in.atEnd()) {
        switch (in.get<Call>()) {
            case Call::saveGState:
                on.saveGState();
                break;
            case Call::restoreGState:
                on.restoreGState();
                break;
            case Call::concatenate:
                on.concatenate(in.get<CGAffineTransform>());
                break;
            case Call::setFillColor:
                on.setFillColor(in.get<CGColor>());
                break;
            case Call::setStrokeColor:
                on.setStrokeColor(in.get<CGColor>());
                break;
            case Call::setLineWidth:
                on.setLineWidth(in.get<CGFloat>());
                break;
            case Call::setLineCap:
                on.setLineCap(in.get<CGLineCap>());
                break;
            case Call::setLineJoin:
                on.setLineJoin(in.get<CGLineJoin>());
                break;
            case Call::setMiterLimit:
                on.setMiterLimit(in.get<CGFloat>());
                break;
            case Call::setLineDash: {
                const auto phase = in.get<CGFloat>();
                on.setLineDash(phase, in.getAll<CGFloat>());
                break;
            }
            case Call::setAlpha:
                on.setAlpha(in.get<CGFloat>());
                break;
            case Call::beginPath:
                on.beginPath();
                break;
            case Call::moveTo:
                on.moveTo(in.get<CGPoint>());
                break;
            case Call::addLineTo:
                on.addLineTo(in.get<CGPoint>());
                break;
            case Call::addCurveTo: {
                const auto p = in.get<CGPoint>(), q = in.get<CGPoint>();
                on.addCurveTo(p, q, in.get<CGPoint>());
                break;
            }
            case Call::closePath:
                on.closePath();
                break;
            case Call::addRect:
                on.addRect(in.get<CGRect>());
                break;
            case Call::addPath:
                on.addPath(in.path());
                break;
            case Call::strokePath:
                on.strokePath();
                break;
            case Call::fillPath:
                on.fillPath(in.get<bool>());
                break;
            case Call::clip:
                on.clip(in.get<bool>());
                break;
            case Call::clearRect:
                on.clearRect(in.get<CGRect>());
                break;
            case Call::beginTransparencyLayer:
                on.beginTransparencyLayer();
                break;
            case Call::endTransparencyLayer:
                on.endTransparencyLayer();
                break;
            case Call::drawLinearGradient: {
                const auto start = in.get<CGPoint>(), end = in.get<CGPoint>();
                on.drawLinearGradient(in.getAll<CGGradientStop>(), start, end);
                break;
            }
            case Call::drawRadialGradient: {
                const auto start = in.get<CGPoint>();
                const auto startRadius = in.get<CGFloat>();
                const auto end = in.get<CGPoint>();
                const auto endRadius = in.get<CGFloat>();
                on.drawRadialGradient(in.getAll<CGGradientStop>(), start, startRadius, end,
                                      endRadius);
                break;
            }
            case Call::drawImage: {
                const auto rect = in.get<CGRect>();
                const auto width = in.get<int>(), height = in.get<int>();
                on.drawImage(CGImage(width, height, in.getAll<std::uint32_t>()), rect);
                break;
            }
            case Call::showText: {
                const auto* font = in.get<const CGFont*>();
                const auto size = in.get<CGFloat>();
                const auto origin = in.get<CGPoint>();
                const auto tracking = in.get<CGFloat>();
                const auto text = in.getAll<char>();
                on.showText({text.data(), text.size()}, *font, size, origin, tracking);
                break;
            }
            case Call::strokeTicks: {
                const auto delta = in.get<CGSize>();
                on.strokeTicks(in.getAll<CGPoint>(), delta);
                break;
            }
            case Call::fillEllipses: {
                const auto size = in.get<CGSize>();
                on.fillEllipses(in.getAll<CGPoint>(), size);
                break;
            }
            case Call::strokePolyline: {
                const auto closed = in.get<bool>();
                on.strokePolyline(in.getAll<CGPoint>(), closed);
                break;
            }
        }
    }
}

}  // namespace platform
