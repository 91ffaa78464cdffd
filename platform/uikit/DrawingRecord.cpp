#include "platform/uikit/DrawingRecord.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CGFont.h"
#include "platform/coregraphics/CGImage.h"

namespace platform {

// A call is stored as the function that repeats it, followed by the arguments in order: plain
// values as bytes, lists preceded by their size, a font as its address.

// Reading

namespace {

/// The type that an argument is read into.
template <class T>
struct KeptAs {
    using Type = std::remove_cvref_t<T>;
};
template <class T>
struct KeptAs<std::span<const T>> {
    using Type = std::vector<T>;
};
template <>
struct KeptAs<std::string_view> {
    using Type = std::string;
};
template <>
struct KeptAs<const CGFont&> {
    using Type = std::reference_wrapper<const CGFont>;
};

}  // namespace

class DrawingRecord::Reader {
 public:
    explicit Reader(std::span<const std::byte> bytes) : bytes_(bytes) {}

    bool atEnd() const { return bytes_.empty(); }

    template <class T>
    T get() {
        return get(std::type_identity<T>{});
    }

    /// Repeats one recorded call of the method.
    template <auto Method>
    static void replay(Reader& in, CGContext& on) {
        in.pass(on, Method);
    }

 private:
    template <class... T>
    void pass(CGContext& on, void (CGContext::*method)(T...)) {
        // Braces fix the order of evaluation.
        const std::tuple<typename KeptAs<T>::Type...> arguments{get<typename KeptAs<T>::Type>()...};
        std::apply([&](const auto&... each) { (on.*method)(each...); }, arguments);
    }

    template <class T>
    T get(std::type_identity<T>) {
        T value;
        const auto bytes = std::as_writable_bytes(std::span(&value, 1));
        std::copy_n(bytes_.begin(), bytes.size(), bytes.begin());
        bytes_ = bytes_.subspan(bytes.size());
        return value;
    }

    template <class List>
    List getAll() {
        List values;
        values.resize(get<std::size_t>());
        const auto size = values.size() * sizeof(values[0]);
        if (size) std::memcpy(values.data(), bytes_.data(), size);
        bytes_ = bytes_.subspan(size);
        return values;
    }

    template <class T>
    std::vector<T> get(std::type_identity<std::vector<T>>) {
        return getAll<std::vector<T>>();
    }

    std::string get(std::type_identity<std::string>) { return getAll<std::string>(); }

    std::reference_wrapper<const CGFont> get(
        std::type_identity<std::reference_wrapper<const CGFont>>) {
        return *get<const CGFont*>();
    }

    CGImage get(std::type_identity<CGImage>) {
        const auto width = get<int>(), height = get<int>();
        return {width, height, get<std::vector<std::uint32_t>>()};
    }

    CGPath get(std::type_identity<CGPath>) {
        const auto elements = get<std::vector<CGPath::Element>>();
        const auto points = get<std::vector<CGPoint>>();
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

    std::span<const std::byte> bytes_;
};

void DrawingRecord::play(CGContext& on) const {
    Reader in(bytes_);
    in.get<CGSize>();
    in.get<CGFloat>();
    while (!in.atEnd()) in.get<Replay>()(in, on);
}

// Writing

template <class T>
void DrawingRecord::put(const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    append(std::as_bytes(std::span(&value, 1)));
}

template <class T>
void DrawingRecord::put(std::span<const T> values) {
    static_assert(std::is_trivially_copyable_v<T>);
    put(values.size());
    append(std::as_bytes(values));
}

void DrawingRecord::put(std::string_view text) {
    put(std::span(text.data(), text.size()));
}

void DrawingRecord::put(const CGFont& font) {
    put(&font);
}

void DrawingRecord::put(const CGPath& path) {
    put(std::span(path.elements()));
    put(std::span(path.points()));
}

void DrawingRecord::put(const CGImage& image) {
    putImage(image.width(), image.height(), image.pixels());
}

void DrawingRecord::putImage(int width, int height, std::span<const std::uint32_t> pixels) {
    put(width);
    put(height);
    put(pixels);
}

void DrawingRecord::append(std::span<const std::byte> bytes) {
    if (bytes.empty()) return;
    const auto at = bytes_.size();
    bytes_.resize(at + bytes.size());
    std::memcpy(bytes_.data() + at, bytes.data(), bytes.size());
}

template <auto Method, class... T>
void DrawingRecord::record(const T&... arguments) {
    put<Replay>(&Reader::replay<Method>);
    putArguments(Method, arguments...);
}

/// Converts the arguments to the types of the method.
template <class... T>
void DrawingRecord::putArguments(void (CGContext::*)(T...),
                                 const std::remove_cvref_t<T>&... arguments) {
    (put(arguments), ...);
}

// The calls

void DrawingRecord::begin(CGSize size, CGFloat scale) {
    bytes_.clear();
    saved_.clear();
    state_.ctm = CGAffineTransform::scale(scale, scale);
    state_.clip = {0, 0, size.width * scale, size.height * scale};
    state_.lineWidth = 1;
    path_ = painted_ = CGRect::null();
    erases_ = false;
    // The same calls at another size or scale make a different picture.
    put(size);
    put(scale);
}

void DrawingRecord::swap(DrawingRecord& other) noexcept {
    bytes_.swap(other.bytes_);
    saved_.swap(other.saved_);
    std::swap(state_, other.state_);
    std::swap(path_, other.path_);
    std::swap(painted_, other.painted_);
    std::swap(erases_, other.erases_);
}

void DrawingRecord::saveGState() {
    saved_.push_back(state_);
    record<&CGContext::saveGState>();
}

void DrawingRecord::restoreGState() {
    if (saved_.empty()) return;
    state_ = saved_.back();
    saved_.pop_back();
    record<&CGContext::restoreGState>();
}

void DrawingRecord::concatenate(const CGAffineTransform& transform) {
    state_.ctm = transform.concatenating(state_.ctm);
    record<&CGContext::concatenate>(transform);
}

void DrawingRecord::setFillColor(const CGColor& color) {
    record<&CGContext::setFillColor>(color);
}

void DrawingRecord::setStrokeColor(const CGColor& color) {
    record<&CGContext::setStrokeColor>(color);
}

void DrawingRecord::setLineWidth(CGFloat width) {
    state_.lineWidth = width;
    record<&CGContext::setLineWidth>(width);
}

void DrawingRecord::setLineCap(CGLineCap cap) {
    record<&CGContext::setLineCap>(cap);
}

void DrawingRecord::setLineJoin(CGLineJoin join) {
    record<&CGContext::setLineJoin>(join);
}

void DrawingRecord::setLineDash(CGFloat phase, std::span<const CGFloat> lengths) {
    record<&CGContext::setLineDash>(phase, lengths);
}

void DrawingRecord::setAlpha(CGFloat alpha) {
    record<&CGContext::setAlpha>(alpha);
}

void DrawingRecord::extendPath(CGPoint p) {
    p = state_.ctm.apply(p);
    if (std::isfinite(p.x) && std::isfinite(p.y)) path_ = path_.unionWith({p, CGSize{}});
}

void DrawingRecord::paint(const CGRect& within, CGFloat distance) {
    painted_ = painted_.unionWith(within.insetBy(-distance, -distance).intersection(state_.clip));
}

CGFloat DrawingRecord::reachOfStrokes() const {
    constexpr CGFloat miterLimit = 10;
    const auto& [a, b, c, d, tx, ty] = state_.ctm;
    return state_.lineWidth / 2 * miterLimit * std::max(std::hypot(a, b), std::hypot(c, d)) + 1;
}

void DrawingRecord::beginPath() {
    path_ = CGRect::null();
    record<&CGContext::beginPath>();
}

void DrawingRecord::moveTo(CGPoint p) {
    extendPath(p);
    record<&CGContext::moveTo>(p);
}

void DrawingRecord::addLineTo(CGPoint p) {
    extendPath(p);
    record<&CGContext::addLineTo>(p);
}

void DrawingRecord::addCurveTo(CGPoint control1, CGPoint control2, CGPoint p) {
    extendPath(control1);
    extendPath(control2);
    extendPath(p);
    record<&CGContext::addCurveTo>(control1, control2, p);
}

void DrawingRecord::closePath() {
    record<&CGContext::closePath>();
}

void DrawingRecord::addRect(const CGRect& rect) {
    extendPath({rect.minX(), rect.minY()});
    extendPath({rect.minX(), rect.maxY()});
    extendPath({rect.maxX(), rect.minY()});
    extendPath({rect.maxX(), rect.maxY()});
    record<&CGContext::addRect>(rect);
}

void DrawingRecord::addPath(const CGPath& path) {
    for (const auto& p : path.points()) extendPath(p);
    record<&CGContext::addPath>(path);
}

void DrawingRecord::strokePath() {
    paint(std::exchange(path_, CGRect::null()), reachOfStrokes());
    record<&CGContext::strokePath>();
}

void DrawingRecord::fillPath() {
    paint(std::exchange(path_, CGRect::null()), 1);
    record<&CGContext::fillPath>();
}

void DrawingRecord::clip() {
    state_.clip = state_.clip.intersection(std::exchange(path_, CGRect::null()));
    record<&CGContext::clip>();
}

CGRect DrawingRecord::clipBoundingBox() const {
    return state_.clip.isNull() ? CGRect{} : state_.ctm.inverted().apply(state_.clip);
}

void DrawingRecord::strokePolygon(std::span<const CGPoint> corners) {
    path_ = CGRect::null();
    for (const auto& p : corners) extendPath(p);
    paint(std::exchange(path_, CGRect::null()), reachOfStrokes());
    record<&CGContext::strokePolygon>(corners);
}

void DrawingRecord::fillMarks(std::span<const CGPoint> outline, std::span<const CGPoint> places) {
    CGFloat reach = 1;
    for (const auto& p : outline) {
        const auto corner = state_.ctm.apply(p);
        reach = std::max({reach, std::abs(corner.x - state_.ctm.tx) + 1,
                          std::abs(corner.y - state_.ctm.ty) + 1});
    }
    path_ = CGRect::null();
    for (const auto& p : places) extendPath(p);
    paint(std::exchange(path_, CGRect::null()), reach);
    record<&CGContext::fillMarks>(outline, places);
}

void DrawingRecord::clearRect(const CGRect& rect) {
    erases_ = true;
    record<&CGContext::clearRect>(rect);
}

void DrawingRecord::beginTransparencyLayer() {
    record<&CGContext::beginTransparencyLayer>();
}

void DrawingRecord::endTransparencyLayer() {
    record<&CGContext::endTransparencyLayer>();
}

void DrawingRecord::drawLinearGradient(std::span<const CGGradientStop> stops, CGPoint start,
                                       CGPoint end) {
    paint();
    record<&CGContext::drawLinearGradient>(stops, start, end);
}

void DrawingRecord::drawRadialGradient(std::span<const CGGradientStop> stops, CGPoint startCenter,
                                       CGFloat startRadius, CGPoint endCenter, CGFloat endRadius) {
    paint();
    record<&CGContext::drawRadialGradient>(stops, startCenter, startRadius, endCenter, endRadius);
}

void DrawingRecord::drawImage(const CGImage& image, const CGRect& rect) {
    paint();
    record<&CGContext::drawImage>(image, rect);
}

void DrawingRecord::drawBitmap(const CGBitmapContext& bitmap, const CGRect& rect) {
    paint();
    // Recorded as an image of its present pixels.
    put<Replay>(&Reader::replay<&CGContext::drawImage>);
    putImage(bitmap.pixelWidth(), bitmap.pixelHeight(), bitmap.pixels());
    put(rect);
}

void DrawingRecord::showText(std::string_view text, const CGFont& font, CGFloat size,
                             CGPoint origin, CGFloat tracking) {
    paint();
    record<&CGContext::showText>(text, font, size, origin, tracking);
}

}  // namespace platform
