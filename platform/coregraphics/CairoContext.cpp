#include "platform/coregraphics/CairoContext.h"

#include <cairo.h>

#include <array>
#include <numbers>
#include <vector>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/SampleMask.h"

namespace platform {

namespace {

cairo_matrix_t toCairo(const CGAffineTransform& t) {
    return {t.a, t.b, t.c, t.d, t.tx, t.ty};
}

bool isFinite(CGPoint p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

struct Surface {
    explicit Surface(cairo_surface_t* s) : surface(s) {}
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;
    ~Surface() { cairo_surface_destroy(surface); }
    cairo_surface_t* const surface;
};

/// One colour over premultiplied pixels, through a mask.
class Blend {
 public:
    Blend(const CGColor& color, CGFloat alpha) {
        const CGFloat parts[]{color.blue * alpha, color.green * alpha, color.red * alpha, alpha};
        for (int i = 0; i < 4; ++i)
            source_[i] =
                static_cast<std::uint32_t>(std::lrint(std::clamp(parts[i], 0.0, 1.0) * 255));
        for (std::uint32_t coverage = 0; coverage < 256; ++coverage)
            alone_[coverage] = over(0, coverage);
    }
    void run(std::span<const std::uint8_t> coverage, std::uint32_t* pixels) const {
        for (const std::uint8_t one : coverage) {
            const std::uint32_t below = *pixels;
            if (below == 0) {  // no branch on the coverage, which a line leaves to chance
                *pixels = alone_[one];
            } else if (one) {
                *pixels = alone_[one] >> 24 == 255 ? alone_[one] : over(below, one);
            }
            ++pixels;
        }
    }

 private:
    static std::uint32_t product(std::uint32_t a, std::uint32_t b) { return (a * b + 127) / 255; }
    std::uint32_t over(std::uint32_t below, std::uint32_t coverage) const {
        const std::uint32_t rest = 255 - product(source_[3], coverage);
        std::uint32_t result = 0;
        for (int i = 0; i < 4; ++i)
            result |=
                std::min(255u, product(source_[i], coverage) + product(below >> 8 * i & 255, rest))
                << 8 * i;
        return result;
    }
    std::uint32_t source_[4];
    /// For each coverage, over a pixel that is clear.
    std::uint32_t alone_[256];
};

/// The drawing itself, for a bitmap (Base = CGBitmapContext) and for any other target (CGContext).
template <typename Base>
class CairoContext : public Base {
 public:
    /// Takes over the caller's reference.
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
        // Cairo stops for good at a matrix that cannot be inverted; nothing would be seen anyway.
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
    void setMiterLimit(CGFloat limit) override { cairo_set_miter_limit(cairo_, limit); }
    void setLineDash(CGFloat phase, std::span<const CGFloat> lengths) override {
        cairo_set_dash(cairo_, lengths.data(), static_cast<int>(lengths.size()), phase);
    }
    void setAlpha(CGFloat alpha) override { state_.alpha = std::clamp(alpha, 0.0, 1.0); }

    void beginPath() override { cairo_new_path(cairo_); }
    void moveTo(CGPoint p) override { cairo_move_to(cairo_, p.x, p.y); }
    void addLineTo(CGPoint p) override { cairo_line_to(cairo_, p.x, p.y); }
    void addCurveTo(CGPoint c1, CGPoint c2, CGPoint p) override {
        cairo_curve_to(cairo_, c1.x, c1.y, c2.x, c2.y, p.x, p.y);
    }
    void closePath() override { cairo_close_path(cairo_); }
    void addRect(const CGRect& r) override {
        cairo_rectangle(cairo_, r.minX(), r.minY(), r.width(), r.height());
    }
    void addPath(const CGPath& path) override {
        const CGPoint* p = path.points().data();
        for (const auto element : path.elements()) {
            switch (element) {
                case CGPath::Element::moveTo:
                    moveTo(*p++);
                    break;
                case CGPath::Element::lineTo:
                    addLineTo(*p++);
                    break;
                case CGPath::Element::curveTo:
                    addCurveTo(p[0], p[1], p[2]);
                    p += 3;
                    break;
                case CGPath::Element::close:
                    closePath();
                    break;
            }
        }
    }

    void strokePath() override {
        useColor(state_.stroke);
        cairo_stroke(cairo_);
    }
    void fillPath(bool evenOdd) override {
        useColor(state_.fill);
        setRule(evenOdd);
        cairo_fill(cairo_);
    }
    void clip(bool evenOdd) override {
        setRule(evenOdd);
        cairo_clip(cairo_);
    }
    CGRect clipBoundingBox() const override {
        double left, top, right, bottom;
        cairo_clip_extents(cairo_, &left, &top, &right, &bottom);
        return {left, top, right - left, bottom - top};
    }
    void clearRect(const CGRect& rect) override {
        cairo_save(cairo_);
        cairo_set_operator(cairo_, CAIRO_OPERATOR_CLEAR);
        cairo_new_path(cairo_);
        addRect(rect);
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

    void strokeTicks(std::span<const CGPoint> points, CGSize delta) override {
        CGFloat ratio = 0;
        if (!isPlainLine() || !isUniform(ratio) || cairo_get_line_cap(cairo_) ||
            (delta.width == 0 && delta.height == 0))
            return Base::strokeTicks(points, delta);
        // A line there and back is a rectangle around it; a turn that sharp has no miter.
        const CGAffineTransform map = ctm();
        const CGSize d = map.apply(delta);
        const CGFloat length = std::hypot(d.width, d.height);
        const CGFloat k = cairo_get_line_width(cairo_) * ratio / 2 / length;
        const CGFloat nx = -d.height * k, ny = d.width * k;
        const std::array<CGPoint, 4> shape{
            {{nx, ny}, {d.width + nx, d.height + ny}, {d.width - nx, d.height - ny}, {-nx, -ny}}};
        coverShapes(points, shape, state_.stroke);
    }

    void fillEllipses(std::span<const CGPoint> points, CGSize size) override {
        const CGAffineTransform map = ctm();
        const CGSize pixels = map.apply(size);
        // Corners enough for a small ellipse; a larger one is worth a path of its own.
        if (std::max(std::abs(pixels.width), std::abs(pixels.height)) > 8 || !isRaster())
            return Base::fillEllipses(points, size);
        constexpr int corners = 12;
        // Grown so that the polygon has the ellipse's area.
        constexpr CGFloat angle = 2 * std::numbers::pi / corners;
        const CGFloat grow = std::sqrt(angle / std::sin(angle)) / 2;
        std::array<CGPoint, corners> shape;
        for (int i = 0; i < corners; ++i) {
            const CGSize corner =
                map.apply(CGSize{size.width * (0.5 + grow * std::cos((i + 0.5) * angle)),
                                 size.height * (0.5 + grow * std::sin((i + 0.5) * angle))});
            shape[i] = {corner.width, corner.height};
        }
        coverShapes(points, shape, state_.fill);
    }

    void strokePolyline(std::span<const CGPoint> points, bool closed) override {
        CGFloat ratio = 0;
        if (!isPlainLine() || !isUniform(ratio) ||
            cairo_get_line_join(cairo_) == CAIRO_LINE_JOIN_ROUND || cairo_get_line_cap(cairo_))
            return Base::strokePolyline(points, closed);
        const CGFloat width = cairo_get_line_width(cairo_) * ratio;
        if (width > 4) return Base::strokePolyline(points, closed);
        const CGAffineTransform map = ctm();
        line_.clear();
        for (const auto& point : points) {
            const CGPoint p = map.apply(point);
            if (isFinite(p)) line_.push_back(p);
        }
        if (line_.size() < 2) return;
        const CGFloat limit = cairo_get_line_join(cairo_) == CAIRO_LINE_JOIN_MITER
                                  ? cairo_get_miter_limit(cairo_)
                                  : 0;
        // A miter reaches farther than half the line's width.
        if (!prepareMask(line_, width * (1 + limit))) return;
        mask_.setLine(line_, closed, width, limit);
        paintMask(state_.stroke, state_.stroke.alpha * state_.alpha);
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
    void setRule(bool evenOdd) {
        cairo_set_fill_rule(cairo_, evenOdd ? CAIRO_FILL_RULE_EVEN_ODD : CAIRO_FILL_RULE_WINDING);
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
        // Without this an enlarged picture fades into nothing at its edges.
        cairo_pattern_set_extend(cairo_get_source(cairo_), CAIRO_EXTEND_PAD);
        if (state_.alpha < 1) {
            cairo_clip(cairo_);
            cairo_paint_with_alpha(cairo_, state_.alpha);
        } else {
            cairo_fill(cairo_);
        }
        cairo_restore(cairo_);
    }

    // The ways through a mask of samples.

    bool isRaster() const {
        const auto type = cairo_surface_get_type(cairo_get_group_target(cairo_));
        return type == CAIRO_SURFACE_TYPE_IMAGE || type == CAIRO_SURFACE_TYPE_XLIB ||
               type == CAIRO_SURFACE_TYPE_XCB;
    }
    bool isPlainLine() const { return isRaster() && cairo_get_dash_count(cairo_) == 0; }
    /// Rotation and one scale, which it gives; a line is equally thick in all directions.
    bool isUniform(CGFloat& ratio) const {
        const CGAffineTransform t = ctm();
        ratio = std::sqrt(std::abs(t.determinant()));
        const CGFloat slack = 1e-6 * ratio;
        return ratio > 0 && std::abs(t.a * t.c + t.b * t.d) <= slack * ratio &&
               std::abs(std::hypot(t.a, t.b) - ratio) <= slack;
    }

    /// Makes the mask as large as the points need, grown all around, within the clip.
    bool prepareMask(std::span<const CGPoint> pixels, CGFloat grow) {
        CGFloat left = pixels[0].x, right = left, top = pixels[0].y, bottom = top;
        for (const auto& p : pixels) {
            left = std::min(left, p.x);
            right = std::max(right, p.x);
            top = std::min(top, p.y);
            bottom = std::max(bottom, p.y);
        }
        cairo_save(cairo_);
        cairo_identity_matrix(cairo_);
        const CGRect visible = clipBoundingBox().integral();
        cairo_restore(cairo_);
        const CGRect area =
            CGRect{left - grow, top - grow, right - left + 2 * grow, bottom - top + 2 * grow}
                .integral()
                .intersection(visible);
        if (area.isEmpty()) return false;
        mask_.reset(static_cast<int>(area.minX()), static_cast<int>(area.minY()),
                    static_cast<int>(area.width()), static_cast<int>(area.height()));
        return true;
    }

    void coverShapes(std::span<const CGPoint> points, std::span<const CGPoint> shape,
                     const CGColor& color) {
        const CGAffineTransform map = ctm();
        line_.clear();
        for (const auto& point : points) {
            const CGPoint p = map.apply(point);
            if (isFinite(p)) line_.push_back(p);
        }
        CGFloat grow = 0;
        for (const auto& corner : shape)
            grow = std::max({grow, std::abs(corner.x), std::abs(corner.y)});
        if (line_.empty() || !prepareMask(line_, grow)) return;
        mask_.coverConvex(shape, line_, color.alpha * state_.alpha);
        paintMask(color, 1);
    }

    void paintMask(const CGColor& color, CGFloat alpha) {
        cairo_new_path(cairo_);
        if (blendMask(color, alpha)) return;
        const Surface mask(
            cairo_image_surface_create(CAIRO_FORMAT_A8, mask_.width(), mask_.height()));
        unsigned char* bytes = cairo_image_surface_get_data(mask.surface);
        if (!bytes) return;
        const int stride = cairo_image_surface_get_stride(mask.surface);
        mask_.take([&](int row, int column, std::span<const std::uint8_t> coverage) {
            std::ranges::copy(coverage, bytes + std::ptrdiff_t{row} * stride + column);
        });
        cairo_surface_mark_dirty(mask.surface);
        cairo_save(cairo_);
        cairo_identity_matrix(cairo_);
        cairo_set_source_rgba(cairo_, color.red, color.green, color.blue, alpha);
        cairo_mask_surface(cairo_, mask.surface, mask_.x(), mask_.y());
        cairo_restore(cairo_);
    }

    /// Straight into the pixels of a bitmap, of which most are not touched. False where the target
    /// is something else or clipped to more than a rectangle of whole pixels.
    bool blendMask(const CGColor& color, CGFloat alpha) {
        cairo_surface_t* target = cairo_get_group_target(cairo_);
        if (cairo_surface_get_type(target) != CAIRO_SURFACE_TYPE_IMAGE ||
            cairo_image_surface_get_format(target) != CAIRO_FORMAT_ARGB32 || !isClipWhole())
            return false;
        double offsetX, offsetY;
        cairo_surface_get_device_offset(target, &offsetX, &offsetY);
        const CGRect area(mask_.x() + offsetX, mask_.y() + offsetY, mask_.width(), mask_.height());
        const CGRect all(0, 0, cairo_image_surface_get_width(target),
                         cairo_image_surface_get_height(target));
        if (area.integral() != area || !all.contains(area)) return false;

        cairo_surface_flush(target);
        const int stride = cairo_image_surface_get_stride(target);
        unsigned char* pixels = cairo_image_surface_get_data(target) +
                                static_cast<std::ptrdiff_t>(area.minY()) * stride +
                                static_cast<std::ptrdiff_t>(area.minX()) * 4;
        const Blend blend(color, alpha);
        mask_.take([&](int row, int column, std::span<const std::uint8_t> coverage) {
            auto* line = reinterpret_cast<std::uint32_t*>(pixels + std::ptrdiff_t{row} * stride);
            blend.run(coverage, line + column);
        });
        cairo_surface_mark_dirty(target);
        return true;
    }

    bool isClipWhole() {
        cairo_save(cairo_);
        cairo_identity_matrix(cairo_);
        cairo_rectangle_list_t* list = cairo_copy_clip_rectangle_list(cairo_);
        const bool isOne = list->status == CAIRO_STATUS_SUCCESS && list->num_rectangles == 1;
        cairo_rectangle_list_destroy(list);
        cairo_restore(cairo_);
        return isOne;
    }

    State state_;
    std::vector<State> saved_;
    SampleMask mask_;
    std::vector<CGPoint> line_;
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

std::unique_ptr<CGContext> makeCairoContext(_cairo* target, CGFloat scale) {
    return std::make_unique<CairoContext<CGContext>>(cairo_reference(target), scale);
}

}  // namespace platform
