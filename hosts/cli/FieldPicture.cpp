#include "hosts/cli/FieldPicture.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>

#include <cairo-svg.h>
#include <cairo.h>
#include <fmt/format.h>
#include <pango/pangocairo.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/OutputPlace.h"

namespace qov::cli {
namespace {

// All lengths are points; a PNG has `pixelScale` pixels for each.
constexpr double pixelScale = 1.5;
constexpr double margin = 40;
constexpr double gap = 44;
constexpr double plotSide = fieldSide / pixelScale;
constexpr double headHeight = 70;
constexpr double stripHeight = 58;
constexpr double stripGap = 16;
constexpr double stripsTop = headHeight + plotSide + 34;
constexpr double labelWidth = 92;
constexpr double panelHeight = stripsTop + 3 * (stripHeight + stripGap) + 14;

constexpr auto face = "TeX Gyre Heros Cn, Helvetica Neue, Liberation Sans Narrow, Sans";

struct Colour {
    double red, green, blue, alpha = 1;
};
constexpr Colour backgroundTop{0.082, 0.086, 0.102};
constexpr Colour backgroundBottom{0.043, 0.044, 0.055};
constexpr Colour plotGround{0.030, 0.031, 0.039};
constexpr Colour grid{1, 0.90, 0.74, 0.13};
constexpr Colour faintText{0.74, 0.71, 0.66, 0.72};
constexpr Colour text{0.97, 0.94, 0.88};
constexpr Colour amber{1, 0.69, 0.18};
constexpr Colour against{0.93, 0.33, 0.24};  // where the channels cancel each other

/// From nothing to the brightest cell: dark, ember, amber, cream.
constexpr std::array glow{Colour{0.20, 0.07, 0.02, 0}, Colour{0.42, 0.17, 0.03, 0.55},
                          Colour{0.80, 0.40, 0.05, 0.90}, Colour{1, 0.69, 0.18, 1},
                          Colour{1, 0.95, 0.82, 1}};

template <auto free>
struct Freed {
    template <typename Thing>
    void operator()(Thing* thing) const {
        free(thing);
    }
};
using Surface = std::unique_ptr<cairo_surface_t, Freed<cairo_surface_destroy>>;
using Context = std::unique_ptr<cairo_t, Freed<cairo_destroy>>;

void setColour(cairo_t* cr, const Colour& colour, double alpha = 1) {
    cairo_set_source_rgba(cr, colour.red, colour.green, colour.blue, colour.alpha * alpha);
}

enum class Align { left, centre, right };

void drawText(cairo_t* cr, double x, double baseline, const std::string& words, double size,
              const Colour& colour, Align align = Align::left, bool bold = false) {
    const std::unique_ptr<PangoLayout, Freed<g_object_unref>> layout(pango_cairo_create_layout(cr));
    const std::unique_ptr<PangoFontDescription, Freed<pango_font_description_free>> font(
        pango_font_description_from_string(face));
    pango_font_description_set_absolute_size(font.get(), size * PANGO_SCALE);
    pango_font_description_set_weight(font.get(), bold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
    pango_layout_set_font_description(layout.get(), font.get());
    pango_layout_set_text(layout.get(), words.c_str(), -1);
    int width = 0;
    pango_layout_get_size(layout.get(), &width, nullptr);
    const double shift = align == Align::left ? 0 : align == Align::centre ? 0.5 : 1;
    cairo_move_to(
        cr, x - shift * width / PANGO_SCALE,
        baseline - static_cast<double>(pango_layout_get_baseline(layout.get())) / PANGO_SCALE);
    setColour(cr, colour);
    pango_cairo_show_layout(cr, layout.get());
}

/// Three box blurs each way come close to a Gaussian one.
std::vector<float> blurred(std::vector<float> image, std::size_t side, std::size_t radius) {
    std::vector<float> line(side);
    const auto pass = [&](float* first, std::size_t stride) {
        double sum = 0;
        const double share = 1.0 / static_cast<double>(2 * radius + 1);
        for (std::size_t i = 0; i < std::min(radius, side); ++i) sum += first[i * stride];
        for (std::size_t i = 0; i < side; ++i) {
            if (i + radius < side) sum += first[(i + radius) * stride];
            if (i > radius) sum -= first[(i - radius - 1) * stride];
            line[i] = static_cast<float>(sum * share);
        }
        for (std::size_t i = 0; i < side; ++i) first[i * stride] = line[i];
    };
    for (int round = 0; round < 2; ++round)
        for (std::size_t i = 0; i < side; ++i) pass(&image[i * side], 1);
    // Columns in place are slow through memory; a transposed copy keeps both ways along the rows.
    std::vector<float> turned(image.size());
    for (std::size_t y = 0; y < side; ++y)
        for (std::size_t x = 0; x < side; ++x) turned[x * side + y] = image[y * side + x];
    for (int round = 0; round < 2; ++round)
        for (std::size_t i = 0; i < side; ++i) pass(&turned[i * side], 1);
    for (std::size_t y = 0; y < side; ++y)
        for (std::size_t x = 0; x < side; ++x) image[x * side + y] = turned[y * side + x];
    return image;
}

Colour glowAt(double level) {
    const double place = std::clamp(level, 0.0, 1.0) * (glow.size() - 1);
    const auto index = std::min(static_cast<std::size_t>(place), glow.size() - 2);
    const double part = place - static_cast<double>(index);
    const auto mix = [part](double a, double b) { return a + (b - a) * part; };
    const auto& a = glow[index];
    const auto& b = glow[index + 1];
    return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue), mix(a.alpha, b.alpha)};
}

/// The visits as light: a sharp image with a halo, on a logarithmic scale, as the eye sees light.
Surface density(const StereoField& field) {
    const auto side = field.side();
    const auto sharp = blurred(field.visits(), side, 1);
    const auto halo = blurred(field.visits(), side, 9);
    const double perFrame = 1e6 / static_cast<double>(std::max<std::int64_t>(field.frames(), 1));
    constexpr double exposure = 2.2;
    constexpr double brightest = 9.2;  // natural log of a cell's light that is shown in full
    std::array<Colour, 1024> table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = glowAt(static_cast<double>(i) / (table.size() - 1));

    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(side),
                                               static_cast<int>(side)));
    auto* const data = cairo_image_surface_get_data(surface.get());
    const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(surface.get()));
    for (std::size_t y = 0; y < side; ++y) {
        auto* const row = reinterpret_cast<std::uint32_t*>(data + y * stride);
        for (std::size_t x = 0; x < side; ++x) {
            const double light =
                (sharp[y * side + x] + 0.55 * halo[y * side + x]) * perFrame * exposure;
            const auto level =
                static_cast<std::size_t>(std::min(std::log1p(light * 30) / brightest, 1.0) * 1023);
            const auto& colour = table[level];
            const auto byte = [&](double part) {
                return static_cast<std::uint32_t>(std::lround(part * colour.alpha * 255));
            };
            row[x] = static_cast<std::uint32_t>(std::lround(colour.alpha * 255)) << 24 |
                     byte(colour.red) << 16 | byte(colour.green) << 8 | byte(colour.blue);
        }
    }
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

void drawPlotGrid(cairo_t* cr, double radius) {
    cairo_set_line_width(cr, 0.8);
    setColour(cr, grid);
    for (const double part : {0.25, 0.5, 0.75}) {
        cairo_arc(cr, 0, 0, radius * part, 0, 2 * std::numbers::pi);
        cairo_stroke(cr);
    }
    const double diagonal = radius / std::numbers::sqrt2;
    for (const auto& [x, y] :
         {std::pair{radius, 0.0}, {0.0, radius}, {diagonal, diagonal}, {diagonal, -diagonal}}) {
        cairo_move_to(cr, -x, -y);
        cairo_line_to(cr, x, y);
        cairo_stroke(cr);
    }
    setColour(cr, grid, 2.4);
    cairo_set_line_width(cr, 1.2);
    cairo_arc(cr, 0, 0, radius, 0, 2 * std::numbers::pi);
    cairo_stroke(cr);
}

void drawPlot(cairo_t* cr, const StereoField& field) {
    const double radius = plotSide / 2;
    cairo_save(cr);
    cairo_translate(cr, radius, radius);
    const std::unique_ptr<cairo_pattern_t, Freed<cairo_pattern_destroy>> ground(
        cairo_pattern_create_radial(0, 0, 0, 0, 0, radius));
    cairo_pattern_add_color_stop_rgb(ground.get(), 0, plotGround.red * 2, plotGround.green * 1.8,
                                     plotGround.blue * 1.6);
    cairo_pattern_add_color_stop_rgb(ground.get(), 1, plotGround.red, plotGround.green,
                                     plotGround.blue);
    cairo_arc(cr, 0, 0, radius, 0, 2 * std::numbers::pi);
    cairo_set_source(cr, ground.get());
    cairo_fill(cr);

    drawPlotGrid(cr, radius);
    cairo_save(cr);
    cairo_arc(cr, 0, 0, radius, 0, 2 * std::numbers::pi);
    cairo_clip(cr);
    const auto light = density(field);
    const double scale = plotSide / static_cast<double>(field.side());
    cairo_scale(cr, scale, scale);
    const double corner = -static_cast<double>(field.side()) / 2;
    cairo_set_source_surface(cr, light.get(), corner, corner);
    cairo_paint(cr);
    cairo_restore(cr);

    const double corners = radius / std::numbers::sqrt2 + 15;
    drawText(cr, -corners, -corners + 4, "L", 17, text, Align::right, true);
    drawText(cr, corners, -corners + 4, "R", 17, text, Align::left, true);
    drawText(cr, 0, -radius - 8, "MID", 11, faintText, Align::centre);
    drawText(cr, -radius + 10, -5, "SIDE", 11, faintText);
    drawText(cr, radius - 10, -5, "SIDE", 11, faintText, Align::right);
    cairo_restore(cr);
}

/// One figure over time.
struct Strip {
    const char* label;
    const char* top;
    const char* bottom;
    double lowest, highest, rest;  ///< the line is filled from `rest` on
    Colour below;                  ///< of what is filled under `rest`
    double (*value)(const StereoField::Slice& slice);

    /// Where a value is drawn, downward from the strip's top.
    double heightOf(double figure) const {
        return stripHeight * (highest - figure) / (highest - lowest);
    }
};
constexpr std::array strips{
    Strip{"WIDTH", "side", "mono", 0, 1, 0, amber,
          [](const StereoField::Slice& s) { return s.width(); }},
    Strip{"CORRELATION", "+1", "\u22121", -1, 1, 0, against,
          [](const StereoField::Slice& s) { return s.correlation(); }},
    Strip{"BALANCE", "right", "left", -1, 1, 0, amber,
          [](const StereoField::Slice& s) { return s.balance(); }},
};

/// The path of a strip's curve, with gaps where there is silence; closed, it comes down to the
/// value of rest there.
void traceCurve(cairo_t* cr, const Strip& strip, const std::vector<StereoField::Slice>& slices,
                double width, bool isClosed) {
    const double step = width / static_cast<double>(slices.size());
    const double rest = strip.heightOf(strip.rest);
    double lastX = 0;
    bool isDown = false;
    const auto lift = [&] {
        if (isDown && isClosed) cairo_line_to(cr, lastX, rest);
        isDown = false;
    };
    for (std::size_t i = 0; i < slices.size(); ++i) {
        if (slices[i].isSilent()) {
            lift();
            continue;
        }
        const double x = (static_cast<double>(i) + 0.5) * step;
        if (!isDown && isClosed) cairo_move_to(cr, x, rest);
        isDown || isClosed ? cairo_line_to(cr, x, strip.heightOf(strip.value(slices[i])))
                           : cairo_move_to(cr, x, strip.heightOf(strip.value(slices[i])));
        isDown = true;
        lastX = x;
    }
    lift();
}

void drawStrip(cairo_t* cr, const Strip& strip, const std::vector<StereoField::Slice>& slices,
               double width) {
    const double rest = strip.heightOf(strip.rest);
    setColour(cr, plotGround);
    cairo_rectangle(cr, 0, 0, width, stripHeight);
    cairo_fill(cr);
    setColour(cr, grid);
    cairo_set_line_width(cr, 0.8);
    for (const double part : {0.0, 0.5, 1.0}) {
        cairo_move_to(cr, 0, stripHeight * part);
        cairo_line_to(cr, width, stripHeight * part);
    }
    cairo_stroke(cr);

    for (const bool isAbove : {true, false}) {
        cairo_save(cr);
        cairo_rectangle(cr, 0, isAbove ? 0 : rest, width, isAbove ? rest : stripHeight - rest);
        cairo_clip(cr);
        traceCurve(cr, strip, slices, width, true);
        setColour(cr, isAbove ? amber : strip.below, 0.34);
        cairo_fill(cr);
        cairo_restore(cr);
    }
    traceCurve(cr, strip, slices, width, false);
    setColour(cr, amber);
    cairo_set_line_width(cr, 1.5);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    cairo_stroke(cr);
    drawText(cr, -labelWidth, stripHeight / 2 + 4, strip.label, 12.5, text, Align::left, true);
    drawText(cr, -7, 9, strip.top, 10, faintText, Align::right);
    drawText(cr, -7, stripHeight, strip.bottom, 10, faintText, Align::right);
}

/// Seconds between two marks, so that some five of them fit.
double markEvery(double seconds) {
    for (const double step : {0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 30.0, 60.0, 300.0, 600.0, 1800.0})
        if (seconds / step <= 8) return step;
    return 3600;
}

void drawTimeMarks(cairo_t* cr, double seconds, double width) {
    if (!(seconds > 0)) return;
    const double every = markEvery(seconds);
    for (int i = 0; i * every <= seconds; ++i) {
        const double x = i * every / seconds * width;
        const double time = i * every;
        const auto mark = time < 60 ? fmt::format("{:g} s", time)
                                    : fmt::format("{}:{:02}", static_cast<int>(time) / 60,
                                                  static_cast<int>(time) % 60);
        drawText(cr, x, 12, mark, 10, faintText,
                 i == 0           ? Align::left
                 : x > width - 14 ? Align::right
                                  : Align::centre);
    }
}

void drawPanel(cairo_t* cr, const FieldPanel& panel) {
    drawText(cr, 0, 30, panel.title, 30, text, Align::left, true);
    drawText(cr, plotSide, 30, panel.subtitle, 14, faintText, Align::right);
    cairo_save(cr);
    cairo_translate(cr, 0, headHeight);
    drawPlot(cr, *panel.field);
    cairo_restore(cr);
    const double width = plotSide - labelWidth;
    cairo_translate(cr, labelWidth, stripsTop);
    for (const auto& strip : strips) {
        drawStrip(cr, strip, panel.field->slices(), width);
        cairo_translate(cr, 0, stripHeight + stripGap);
    }
    drawTimeMarks(cr, static_cast<double>(panel.field->frames()) / panel.rate, width);
}

void drawAll(cairo_t* cr, const std::vector<FieldPanel>& panels, double width, double height) {
    const std::unique_ptr<cairo_pattern_t, Freed<cairo_pattern_destroy>> ground(
        cairo_pattern_create_linear(0, 0, 0, height));
    cairo_pattern_add_color_stop_rgb(ground.get(), 0, backgroundTop.red, backgroundTop.green,
                                     backgroundTop.blue);
    cairo_pattern_add_color_stop_rgb(ground.get(), 1, backgroundBottom.red, backgroundBottom.green,
                                     backgroundBottom.blue);
    cairo_set_source(cr, ground.get());
    cairo_rectangle(cr, 0, 0, width, height);
    cairo_fill(cr);
    for (std::size_t i = 0; i < panels.size(); ++i) {
        cairo_save(cr);
        cairo_translate(cr, margin + static_cast<double>(i) * (plotSide + gap), margin);
        drawPanel(cr, panels[i]);
        cairo_restore(cr);
    }
}

cairo_status_t writeTo(void* place, const unsigned char* data, unsigned int length) {
    const int descriptor = static_cast<const OutputPlace*>(place)->descriptor();
    return writeFully(descriptor, data, length) ? CAIRO_STATUS_SUCCESS : CAIRO_STATUS_WRITE_ERROR;
}

}  // namespace

void drawField(const std::vector<FieldPanel>& panels, PictureKind kind, const OutputPlace& place) {
    const auto count = static_cast<double>(panels.size());
    const double width = 2 * margin + count * plotSide + (count - 1) * gap;
    const double height = 2 * margin + panelHeight;
    // The library hands its writers an untyped pointer that can't be const.
    auto* const to = const_cast<OutputPlace*>(&place);
    Surface surface;
    if (kind == PictureKind::svg)
        surface.reset(cairo_svg_surface_create_for_stream(writeTo, to, width, height));
    else
        surface.reset(cairo_image_surface_create(CAIRO_FORMAT_RGB24,
                                                 static_cast<int>(width * pixelScale),
                                                 static_cast<int>(height * pixelScale)));
    errno = 0;
    {
        const Context cr(cairo_create(surface.get()));
        if (kind == PictureKind::png) cairo_scale(cr.get(), pixelScale, pixelScale);
        drawAll(cr.get(), panels, width, height);
    }
    auto status = CAIRO_STATUS_SUCCESS;
    if (kind == PictureKind::png)
        status = cairo_surface_write_to_png_stream(surface.get(), writeTo, to);
    else
        cairo_surface_finish(surface.get());
    if (status == CAIRO_STATUS_SUCCESS) status = cairo_surface_status(surface.get());
    if (status == CAIRO_STATUS_WRITE_ERROR) place.failToWrite(errno);
    if (status != CAIRO_STATUS_SUCCESS)
        throw Failure(
            fmt::format("{}: cannot draw: {}", place.name(), cairo_status_to_string(status)));
}

}  // namespace qov::cli
