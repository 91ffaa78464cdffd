// The drawing back end on Cairo: bitmaps and SVG documents.

#include <cairo-svg.h>
#include <cairo.h>

#include <array>
#include <cmath>
#include <memory>
#include <optional>
#include <vector>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CGSvgContext.h"
#include "platform/coregraphics/LineMask.h"
#include "platform/coregraphics/MarkStamp.h"

namespace platform {

namespace {

cairo_matrix_t toCairo(const CGAffineTransform& t) {
    return {t.a, t.b, t.c, t.d, t.tx, t.ty};
}

/// Each byte of the pixel by a byte, 255 being 1.
std::uint32_t scaled(std::uint32_t pixel, std::uint32_t by) {
    constexpr std::uint32_t pair = 0xff00ff, half = 0x800080;
    const auto both = [&](std::uint32_t bytes) {
        bytes = (bytes & pair) * by + half;
        return ((bytes >> 8 & pair) + bytes) >> 8 & pair;
    };
    return both(pixel) | both(pixel >> 8) << 8;
}

struct Surface {
    explicit Surface(cairo_surface_t* s) : surface(s) {}
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;
    ~Surface() { cairo_surface_destroy(surface); }
    cairo_surface_t* const surface;
};

/// Base: the interface of the target, CGBitmapContext or CGSvgContext.
template <typename Base>
class CairoContext : public Base {
 public:
    /// Takes ownership of the caller's reference.
    CairoContext(cairo_t* cairo, CGFloat scale) : cairo_(cairo) {
        cairo_scale(cairo_, scale, scale);
        cairo_set_line_width(cairo_, 1);
        cairo_new_path(cairo_);
    }
    ~CairoContext() override { cairo_destroy(cairo_); }

    void saveGState() override {
        cairo_save(cairo_);
        saved_.push_back(state_);
    }
    void restoreGState() override {
        if (saved_.empty()) return;
        cairo_restore(cairo_);
        state_ = saved_.back();
        saved_.pop_back();
    }

    void concatenate(const CGAffineTransform& transform) override {
        // A singular matrix would put Cairo into its error state; nothing would be visible anyway.
        const CGFloat det = transform.determinant();
        if (!std::isfinite(det) || det == 0) return clipEverything();
        const cairo_matrix_t matrix = toCairo(transform);
        cairo_transform(cairo_, &matrix);
    }
    CGAffineTransform ctm() const override {
        cairo_matrix_t m;
        cairo_get_matrix(cairo_, &m);
        return {m.xx, m.yx, m.xy, m.yy, m.x0, m.y0};
    }

    void setFillColor(const CGColor& color) override { state_.fill = color; }
    void setStrokeColor(const CGColor& color) override { state_.stroke = color; }
    void setLineWidth(CGFloat width) override { cairo_set_line_width(cairo_, width); }
    void setLineCap(CGLineCap cap) override {
        constexpr std::array caps{CAIRO_LINE_CAP_BUTT, CAIRO_LINE_CAP_ROUND, CAIRO_LINE_CAP_SQUARE};
        cairo_set_line_cap(cairo_, caps[static_cast<int>(cap)]);
    }
    void setLineJoin(CGLineJoin join) override {
        constexpr std::array joins{CAIRO_LINE_JOIN_MITER, CAIRO_LINE_JOIN_ROUND,
                                   CAIRO_LINE_JOIN_BEVEL};
        cairo_set_line_join(cairo_, joins[static_cast<int>(join)]);
    }
    void setLineDash(CGFloat phase, std::span<const CGFloat> lengths) override {
        cairo_set_dash(cairo_, lengths.data(), static_cast<int>(lengths.size()), phase);
    }
    void setAlpha(CGFloat alpha) override { state_.alpha = std::clamp(alpha, 0.0, 1.0); }

    void beginPath() override { cairo_new_path(cairo_); }
    void moveTo(CGPoint p) override {
        if (makeReachable(p)) {
            cairo_move_to(cairo_, p.x, p.y);
        } else {
            cairo_new_sub_path(cairo_);  // begins at the next point
        }
    }
    void addLineTo(CGPoint p) override {
        if (makeReachable(p)) cairo_line_to(cairo_, p.x, p.y);
    }
    void addCurveTo(CGPoint c1, CGPoint c2, CGPoint p) override {
        if (makeReachable(c1) && makeReachable(c2) && makeReachable(p))
            cairo_curve_to(cairo_, c1.x, c1.y, c2.x, c2.y, p.x, p.y);
    }
    void closePath() override { cairo_close_path(cairo_); }

    void strokePath() override {
        useColor(state_.stroke);
        cairo_stroke(cairo_);
    }
    void strokePolygon(std::span<const CGPoint> corners) override {
        const CGAffineTransform map = ctm();
        // The mask's lines are equally wide in all directions.
        const CGFloat determinant = std::abs(map.determinant()), slack = 1e-6 * determinant;
        const bool isUniform = std::abs(map.a * map.c + map.b * map.d) <= slack &&
                               std::abs(map.a * map.a + map.b * map.b - determinant) <= slack &&
                               determinant > 0;
        if (!isUniform || !isBitmap() || cairo_get_dash_count(cairo_) > 0 ||
            cairo_get_line_join(cairo_) != CAIRO_LINE_JOIN_MITER)
            return Base::strokePolygon(corners);
        cairo_new_path(cairo_);
        std::vector<CGPoint> pixels;
        pixels.reserve(corners.size());
        for (const auto& corner : corners) {
            const CGPoint p = map.apply(corner);
            // Where Cairo's own strokes would have it.
            constexpr CGFloat grid = 256;
            if (std::isfinite(p.x) && std::isfinite(p.y))
                pixels.push_back({std::round(p.x * grid) / grid, std::round(p.y * grid) / grid});
        }
        const CGFloat width = cairo_get_line_width(cairo_) * std::sqrt(determinant);
        paintMask(LineMask(pixels, width, cairo_get_miter_limit(cairo_)));
    }
    void fillMarks(std::span<const CGPoint> outline, std::span<const CGPoint> places) override {
        const CGAffineTransform map = ctm();
        const auto clip = pixelClip();
        auto* stamp = clip ? MarkStamp::of(outline, map, stamp_) : nullptr;
        if (!stamp) return Base::fillMarks(outline, places);
        cairo_new_path(cairo_);
        auto* surface = cairo_get_target(cairo_);
        cairo_surface_flush(surface);
        auto* pixels = reinterpret_cast<std::uint32_t*>(cairo_image_surface_get_data(surface));
        const int width = cairo_image_surface_get_width(surface);
        const auto& [red, green, blue, alpha] = state_.fill;
        const auto opacity = alpha * state_.alpha;
        std::uint32_t color = 0;
        for (const CGFloat part : {1.0, red, green, blue})
            color = color << 8 | static_cast<std::uint32_t>(std::lround(255 * part * opacity));
        for (const auto& place : places)
            stamp->put(map.apply(place), *clip, [&](int x, int y, std::uint32_t coverage) {
                auto& pixel = pixels[y * width + x];
                const auto paint = scaled(color, coverage);
                pixel = paint + scaled(pixel, 255 - (paint >> 24));
            });
        cairo_surface_mark_dirty(surface);
    }
    void fillPath() override {
        useColor(state_.fill);
        cairo_fill(cairo_);
    }
    void clip() override { cairo_clip(cairo_); }
    CGRect clipBoundingBox() const override {
        double left, top, right, bottom;
        cairo_clip_extents(cairo_, &left, &top, &right, &bottom);
        return {left, top, right - left, bottom - top};
    }
    void clearRect(const CGRect& rect) override {
        cairo_save(cairo_);
        cairo_set_operator(cairo_, CAIRO_OPERATOR_CLEAR);
        cairo_new_path(cairo_);
        this->addRect(rect);
        cairo_fill(cairo_);
        cairo_restore(cairo_);
    }

    void beginTransparencyLayer() override {
        saveGState();
        cairo_push_group(cairo_);
        state_.alpha = 1;
    }
    void endTransparencyLayer() override {
        if (saved_.empty()) return;
        cairo_pop_group_to_source(cairo_);
        const CGFloat alpha = saved_.back().alpha;
        if (alpha >= 1) {
            cairo_paint(cairo_);
        } else {
            cairo_paint_with_alpha(cairo_, alpha);
        }
        restoreGState();
    }

    void drawLinearGradient(std::span<const CGGradientStop> stops, CGPoint start,
                            CGPoint end) override {
        paintGradient(cairo_pattern_create_linear(start.x, start.y, end.x, end.y), stops);
    }
    void drawRadialGradient(std::span<const CGGradientStop> stops, CGPoint startCenter,
                            CGFloat startRadius, CGPoint endCenter, CGFloat endRadius) override {
        paintGradient(cairo_pattern_create_radial(startCenter.x, startCenter.y, startRadius,
                                                  endCenter.x, endCenter.y, endRadius),
                      stops);
    }

    void drawImage(const CGImage& image, const CGRect& rect) override {
        auto* bytes = reinterpret_cast<unsigned char*>(
            const_cast<std::uint32_t*>(image.pixels().data()));  // only read
        const Surface source(cairo_image_surface_create_for_data(
            bytes, CAIRO_FORMAT_ARGB32, image.width(), image.height(), image.width() * 4));
        paintSurface(source.surface, image.width(), image.height(), rect);
    }
    void drawBitmap(const CGBitmapContext& bitmap, const CGRect& rect) override;
    void copyBitmap(const CGBitmapContext& bitmap, const CGRect& rect) override {
        cairo_set_operator(cairo_, CAIRO_OPERATOR_SOURCE);
        drawBitmap(bitmap, rect);
        cairo_set_operator(cairo_, CAIRO_OPERATOR_OVER);
    }

 protected:
    cairo_t* cairo_;

 private:
    struct State {
        CGColor fill, stroke;
        CGFloat alpha = 1;
    };

    void useColor(const CGColor& c) {
        cairo_set_source_rgba(cairo_, c.red, c.green, c.blue, c.alpha * state_.alpha);
    }
    bool isBitmap() const {
        return cairo_surface_get_type(cairo_get_group_target(cairo_)) == CAIRO_SURFACE_TYPE_IMAGE;
    }

    /// The clip in a bitmap, where it is one rectangle of whole pixels and no layer is open.
    std::optional<CGRect> pixelClip() {
        if (!isBitmap() || cairo_get_group_target(cairo_) != cairo_get_target(cairo_)) return {};
        cairo_save(cairo_);
        cairo_identity_matrix(cairo_);
        auto* clip = cairo_copy_clip_rectangle_list(cairo_);
        cairo_restore(cairo_);
        std::optional<CGRect> area;
        if (clip->status == CAIRO_STATUS_SUCCESS && clip->num_rectangles == 1) {
            const auto& [x, y, width, height] = clip->rectangles[0];
            area.emplace(x, y, width, height);
        }
        cairo_rectangle_list_destroy(clip);
        return area;
    }

    /// In the stroke colour, in bands of rows that the processor's cache holds.
    void paintMask(LineMask line) {
        cairo_save(cairo_);
        cairo_identity_matrix(cairo_);
        useColor(state_.stroke);
        double left, top, right, bottom;
        cairo_clip_extents(cairo_, &left, &top, &right, &bottom);
        const int x = static_cast<int>(std::floor(left)), end = static_cast<int>(std::ceil(bottom));
        const int columns = static_cast<int>(std::ceil(right)) - x;
        constexpr int bandPixels = 1 << 15;  // 256 KiB of samples
        const int bandRows = std::max(1, bandPixels / std::max(columns, 1));
        for (int y = static_cast<int>(std::floor(top)); y < end && columns > 0; y += bandRows) {
            const int rows = std::min(bandRows, end - y);
            const Surface band(cairo_image_surface_create(CAIRO_FORMAT_A8, columns, rows));
            line.cover(x, y, columns, rows, cairo_image_surface_get_data(band.surface),
                       cairo_image_surface_get_stride(band.surface));
            cairo_surface_mark_dirty(band.surface);
            cairo_mask_surface(cairo_, band.surface, x, y);
        }
        cairo_restore(cairo_);
    }

    void clipEverything() {
        cairo_new_path(cairo_);
        cairo_rectangle(cairo_, 0, 0, 0, 0);
        cairo_clip(cairo_);
    }

    void paintGradient(cairo_pattern_t* pattern, std::span<const CGGradientStop> stops) {
        for (const auto& [location, c] : stops)
            cairo_pattern_add_color_stop_rgba(pattern, location, c.red, c.green, c.blue,
                                              c.alpha * state_.alpha);
        cairo_set_source(cairo_, pattern);
        cairo_paint(cairo_);
        cairo_pattern_destroy(pattern);
    }

    void paintSurface(cairo_surface_t* source, int width, int height, const CGRect& rect) {
        if (rect.isEmpty()) return;
        cairo_save(cairo_);
        cairo_translate(cairo_, rect.minX(), rect.minY());
        cairo_scale(cairo_, rect.width() / width, rect.height() / height);
        cairo_new_path(cairo_);
        cairo_rectangle(cairo_, 0, 0, width, height);
        cairo_set_source_surface(cairo_, source, 0, 0);
        // An enlarged picture would fade out at its edges; without enlargement this is slower.
        const auto [a, b, c, d, tx, ty] = ctm();
        if (a != 1 || b != 0 || c != 0 || d != 1)
            cairo_pattern_set_extend(cairo_get_source(cairo_), CAIRO_EXTEND_PAD);
        if (state_.alpha < 1) {
            cairo_clip(cairo_);
            cairo_paint_with_alpha(cairo_, state_.alpha);
        } else {
            cairo_fill(cairo_);
        }
        cairo_restore(cairo_);
    }

    /// Cairo keeps coordinates in 24 bits of pixels, so a point farther out is moved toward the
    /// origin: a line from the picture to it keeps its direction within 1/1000. False where the
    /// point is not finite.
    bool makeReachable(CGPoint& p) const {
        constexpr CGFloat farthest = 1 << 20;
        CGPoint pixel = p;
        cairo_user_to_device(cairo_, &pixel.x, &pixel.y);
        if (std::abs(pixel.x) <= farthest && std::abs(pixel.y) <= farthest) return true;
        if (!std::isfinite(pixel.x) || !std::isfinite(pixel.y)) return false;
        const CGFloat part = farthest / std::max(std::abs(pixel.x), std::abs(pixel.y));
        p = {pixel.x * part, pixel.y * part};
        cairo_device_to_user(cairo_, &p.x, &p.y);
        return true;
    }

    State state_;
    std::vector<State> saved_;
    std::unique_ptr<MarkStamp> stamp_;
};

class CairoBitmap final : public CairoContext<CGBitmapContext> {
 public:
    CairoBitmap(cairo_surface_t* surface, CGFloat scale)
        : CairoContext(cairo_create(surface), scale), surface_(surface), scale_(scale) {}

    int pixelWidth() const override { return cairo_image_surface_get_width(surface_.surface); }
    int pixelHeight() const override { return cairo_image_surface_get_height(surface_.surface); }
    CGFloat scale() const override { return scale_; }
    std::span<const std::uint32_t> pixels() const override {
        cairo_surface_flush(surface_.surface);
        // Rows of 32-bit pixels have no padding in Cairo.
        return {
            reinterpret_cast<const std::uint32_t*>(cairo_image_surface_get_data(surface_.surface)),
            static_cast<std::size_t>(pixelWidth()) * pixelHeight()};
    }
    cairo_surface_t* surface() const { return surface_.surface; }

 private:
    Surface surface_;
    CGFloat scale_;
};

/// A base, since the context writes to it until its own end.
struct SvgFile {
    explicit SvgFile(CGSize size)
        : surface(cairo_svg_surface_create_for_stream(append, &bytes, size.width, size.height)) {
        cairo_svg_surface_set_document_unit(surface.surface, CAIRO_SVG_UNIT_PX);
    }
    static cairo_status_t append(void* to, const unsigned char* data, unsigned int length) {
        const auto bytes = std::as_bytes(std::span(data, length));
        auto& all = *static_cast<std::vector<std::byte>*>(to);
        all.insert(all.end(), bytes.begin(), bytes.end());
        return CAIRO_STATUS_SUCCESS;
    }
    std::vector<std::byte> bytes;
    Surface surface;
};

class CairoSvg final : private SvgFile, public CairoContext<CGSvgContext> {
 public:
    explicit CairoSvg(CGSize size)
        : SvgFile(size), CairoContext(cairo_create(SvgFile::surface.surface), 1) {}

    std::vector<std::byte> finish() override {
        cairo_surface_finish(surface.surface);
        const bool isWhole = cairo_surface_status(surface.surface) == CAIRO_STATUS_SUCCESS;
        return isWhole ? std::move(bytes) : std::vector<std::byte>();
    }
};

template <typename Base>
void CairoContext<Base>::drawBitmap(const CGBitmapContext& bitmap, const CGRect& rect) {
    if (const auto* own = dynamic_cast<const CairoBitmap*>(&bitmap))
        return paintSurface(own->surface(), own->pixelWidth(), own->pixelHeight(), rect);
    drawImage(*bitmap.makeImage(), rect);
}

}  // namespace

std::unique_ptr<CGBitmapContext> makeBitmapContext(int pixelWidth, int pixelHeight, CGFloat scale) {
    cairo_surface_t* surface =
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, pixelWidth, pixelHeight);
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS || pixelWidth < 1 ||
        pixelHeight < 1) {
        cairo_surface_destroy(surface);
        return nullptr;
    }
    return std::make_unique<CairoBitmap>(surface, scale);
}

std::unique_ptr<CGSvgContext> makeSvgContext(CGSize size) {
    return std::make_unique<CairoSvg>(size);
}

}  // namespace platform
