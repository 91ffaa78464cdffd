#include "hosts/cli/FieldPicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>

#include <fmt/format.h>

#include "hosts/cli/Command.h"
#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CGFont.h"
#include "platform/coregraphics/CGImage.h"
#include "platform/coregraphics/CGSvgContext.h"

namespace qov::cli {
namespace {

using platform::CGColor;
using platform::CGContext;
using platform::CGFloat;
using platform::CGPoint;
using platform::CGRect;

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

constexpr CGColor backgroundTop{0.082, 0.086, 0.102};
constexpr CGColor backgroundBottom{0.043, 0.044, 0.055};
constexpr CGColor plotGround{0.030, 0.031, 0.039};
constexpr CGColor grid{1, 0.90, 0.74, 0.13};
constexpr CGColor faintText{0.74, 0.71, 0.66, 0.72};
constexpr CGColor text{0.97, 0.94, 0.88};
constexpr CGColor amber{1, 0.69, 0.18};
constexpr CGColor against{0.93, 0.33, 0.24};  // where the channels cancel each other

/// From nothing to the brightest cell: dark, ember, amber, cream.
constexpr std::array glow{CGColor{0.20, 0.07, 0.02, 0}, CGColor{0.42, 0.17, 0.03, 0.55},
                          CGColor{0.80, 0.40, 0.05, 0.90}, CGColor{1, 0.69, 0.18, 1},
                          CGColor{1, 0.95, 0.82, 1}};

enum class Align { left, centre, right };

void drawText(CGContext& context, CGFloat x, CGFloat baseline, const std::string& words,
              CGFloat size, const CGColor& colour, Align align = Align::left, bool bold = false) {
    const auto font =
        platform::CGFont::named(bold ? "HelveticaNeue-CondensedBold" : "HelveticaNeue");
    const CGFloat shift = align == Align::left ? 0 : align == Align::centre ? 0.5 : 1;
    context.setFillColor(colour);
    context.showText(words, *font, size, {x - shift * size * font->width(words), baseline});
}

/// Two box blurs each way, which come close to a Gaussian one.
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
    // Columns are blurred as the rows of a transposed copy, which the cache holds.
    std::vector<float> turned(image.size());
    for (std::size_t y = 0; y < side; ++y)
        for (std::size_t x = 0; x < side; ++x) turned[x * side + y] = image[y * side + x];
    for (int round = 0; round < 2; ++round)
        for (std::size_t i = 0; i < side; ++i) pass(&turned[i * side], 1);
    for (std::size_t y = 0; y < side; ++y)
        for (std::size_t x = 0; x < side; ++x) image[x * side + y] = turned[y * side + x];
    return image;
}

CGColor glowAt(double level) {
    const double place = std::clamp(level, 0.0, 1.0) * (glow.size() - 1);
    const auto index = std::min(static_cast<std::size_t>(place), glow.size() - 2);
    const double part = place - static_cast<double>(index);
    const auto mix = [part](double a, double b) { return a + (b - a) * part; };
    const auto& a = glow[index];
    const auto& b = glow[index + 1];
    return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue), mix(a.alpha, b.alpha)};
}

/// The visits as light: a sharp image with a halo, on a logarithmic scale like that of the eye.
platform::CGImage density(const StereoField& field) {
    const auto side = field.side();
    const auto sharp = blurred(field.visits(), side, 1);
    const auto halo = blurred(field.visits(), side, 9);
    const double perFrame = 1e6 / static_cast<double>(std::max<std::int64_t>(field.frames(), 1));
    constexpr double exposure = 2.2;
    constexpr double brightest = 9.2;  // natural log of a cell's light that is shown in full
    std::array<std::uint32_t, 1024> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        const auto colour = glowAt(static_cast<double>(i) / (table.size() - 1));
        const auto byte = [&](double part) {
            return static_cast<std::uint32_t>(std::lround(part * colour.alpha * 255));
        };
        table[i] =
            byte(1) << 24 | byte(colour.red) << 16 | byte(colour.green) << 8 | byte(colour.blue);
    }
    std::vector<std::uint32_t> pixels(side * side);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const double light = (sharp[i] + 0.55 * halo[i]) * perFrame * exposure;
        pixels[i] = table[static_cast<std::size_t>(
            std::min(std::log1p(light * 30) / brightest, 1.0) * 1023)];
    }
    return {static_cast<int>(side), static_cast<int>(side), std::move(pixels)};
}

CGRect circle(CGFloat radius) {
    return {-radius, -radius, 2 * radius, 2 * radius};
}

void drawPlotGrid(CGContext& context, CGFloat radius) {
    context.setLineWidth(0.8);
    context.setStrokeColor(grid);
    for (const double part : {0.25, 0.5, 0.75}) {
        context.addEllipse(circle(radius * part));
        context.strokePath();
    }
    const CGFloat diagonal = radius / std::numbers::sqrt2;
    for (const auto& [x, y] :
         {CGPoint{radius, 0}, {0, radius}, {diagonal, diagonal}, {diagonal, -diagonal}})
        context.strokeLine({-x, -y}, {x, y});
    context.setStrokeColor(grid.withAlpha(grid.alpha * 2.4));
    context.setLineWidth(1.2);
    context.addEllipse(circle(radius));
    context.strokePath();
}

void drawPlot(CGContext& context, const StereoField& field) {
    const CGFloat radius = plotSide / 2;
    context.saveGState();
    context.translateBy(radius, radius);
    context.saveGState();
    context.addEllipse(circle(radius));
    context.clip();
    const std::array<platform::CGGradientStop, 2> ground{
        {{0, {plotGround.red * 2, plotGround.green * 1.8, plotGround.blue * 1.6}},
         {1, plotGround}}};
    context.drawRadialGradient(ground, {}, 0, {}, radius);
    context.restoreGState();

    drawPlotGrid(context, radius);
    context.saveGState();
    context.addEllipse(circle(radius));
    context.clip();
    context.drawImage(density(field), circle(radius));
    context.restoreGState();

    const CGFloat corners = radius / std::numbers::sqrt2 + 15;
    drawText(context, -corners, -corners + 4, "L", 17, text, Align::right, true);
    drawText(context, corners, -corners + 4, "R", 17, text, Align::left, true);
    drawText(context, 0, -radius - 8, "MID", 11, faintText, Align::centre);
    drawText(context, -radius + 10, -5, "SIDE", 11, faintText);
    drawText(context, radius - 10, -5, "SIDE", 11, faintText, Align::right);
    context.restoreGState();
}

/// One figure over time.
struct Strip {
    const char* label;
    const char* top;
    const char* bottom;
    double lowest, highest, rest;  ///< the area between line and `rest` is filled
    CGColor below;                 ///< of what is filled under `rest`
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

/// The path of a strip's curve, with gaps where there is silence. A closed one goes along the value
/// of rest, too, so that it can be filled.
void traceCurve(CGContext& context, const Strip& strip,
                const std::vector<StereoField::Slice>& slices, double width, bool isClosed) {
    const double step = width / static_cast<double>(slices.size());
    const double rest = strip.heightOf(strip.rest);
    double lastX = 0;
    bool isDown = false;
    const auto lift = [&] {
        if (isDown && isClosed) context.addLineTo({lastX, rest});
        isDown = false;
    };
    for (std::size_t i = 0; i < slices.size(); ++i) {
        if (slices[i].isSilent()) {
            lift();
            continue;
        }
        const double x = (static_cast<double>(i) + 0.5) * step;
        if (!isDown && isClosed) context.moveTo({x, rest});
        isDown || isClosed ? context.addLineTo({x, strip.heightOf(strip.value(slices[i]))})
                           : context.moveTo({x, strip.heightOf(strip.value(slices[i]))});
        isDown = true;
        lastX = x;
    }
    lift();
}

void drawStrip(CGContext& context, const Strip& strip,
               const std::vector<StereoField::Slice>& slices, double width) {
    const double rest = strip.heightOf(strip.rest);
    context.setFillColor(plotGround);
    context.fillRect({0, 0, width, stripHeight});
    context.setStrokeColor(grid);
    context.setLineWidth(0.8);
    for (const double part : {0.0, 0.5, 1.0})
        context.strokeLine({0, stripHeight * part}, {width, stripHeight * part});

    for (const bool isAbove : {true, false}) {
        context.saveGState();
        context.clipTo({0, isAbove ? 0 : rest, width, isAbove ? rest : stripHeight - rest});
        traceCurve(context, strip, slices, width, true);
        context.setFillColor((isAbove ? amber : strip.below).withAlpha(0.34));
        context.fillPath();
        context.restoreGState();
    }
    traceCurve(context, strip, slices, width, false);
    context.setStrokeColor(amber);
    context.setLineWidth(1.5);
    context.setLineJoin(platform::CGLineJoin::round);
    context.strokePath();
    drawText(context, -labelWidth, stripHeight / 2 + 4, strip.label, 12.5, text, Align::left, true);
    drawText(context, -7, 9, strip.top, 10, faintText, Align::right);
    drawText(context, -7, stripHeight, strip.bottom, 10, faintText, Align::right);
}

/// Seconds between two marks, so that at most nine fit.
double markEvery(double seconds) {
    for (const double step : {0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 30.0, 60.0, 300.0, 600.0, 1800.0})
        if (seconds / step <= 8) return step;
    return 3600;
}

void drawTimeMarks(CGContext& context, double seconds, double width) {
    if (!(seconds > 0)) return;
    const double every = markEvery(seconds);
    for (int i = 0; i * every <= seconds; ++i) {
        const double x = i * every / seconds * width;
        const double time = i * every;
        const auto mark = time < 60 ? fmt::format("{:g} s", time)
                                    : fmt::format("{}:{:02}", static_cast<int>(time) / 60,
                                                  static_cast<int>(time) % 60);
        drawText(context, x, 12, mark, 10, faintText,
                 i == 0           ? Align::left
                 : x > width - 14 ? Align::right
                                  : Align::centre);
    }
}

void drawFigures(CGContext& context, const std::array<std::vector<std::string>, 2>& corners) {
    constexpr double lineHeight = 15;
    for (const bool isRight : {false, true}) {
        double baseline = plotSide;
        for (auto line = corners[isRight].rbegin(); line != corners[isRight].rend(); ++line) {
            drawText(context, isRight ? plotSide : 0, baseline, *line, 11, faintText,
                     isRight ? Align::right : Align::left);
            baseline -= lineHeight;
        }
    }
}

void drawPanel(CGContext& context, const FieldPanel& panel) {
    drawText(context, 0, 30, panel.title, 30, text, Align::left, true);
    drawText(context, plotSide, 30, panel.subtitle, 14, faintText, Align::right);
    context.saveGState();
    context.translateBy(0, headHeight);
    drawPlot(context, *panel.field);
    drawFigures(context, panel.figures);
    context.restoreGState();
    const double width = plotSide - labelWidth;
    context.translateBy(labelWidth, stripsTop);
    for (const auto& strip : strips) {
        drawStrip(context, strip, panel.field->slices(), width);
        context.translateBy(0, stripHeight + stripGap);
    }
    drawTimeMarks(context, static_cast<double>(panel.field->frames()) / panel.rate, width);
}

void drawAll(CGContext& context, const std::vector<FieldPanel>& panels, double height) {
    const std::array<platform::CGGradientStop, 2> ground{
        {{0, backgroundTop}, {1, backgroundBottom}}};
    context.drawLinearGradient(ground, {}, {0, height});
    for (std::size_t i = 0; i < panels.size(); ++i) {
        context.saveGState();
        context.translateBy(margin + static_cast<double>(i) * (plotSide + gap), margin);
        drawPanel(context, panels[i]);
        context.restoreGState();
    }
}

}  // namespace

std::vector<std::byte> drawField(const std::vector<FieldPanel>& panels, PictureKind kind) {
    const auto count = static_cast<double>(panels.size());
    const double width = 2 * margin + count * plotSide + (count - 1) * gap;
    const double height = 2 * margin + panelHeight;
    if (kind == PictureKind::svg) {
        const auto context = platform::makeSvgContext({width, height});
        drawAll(*context, panels, height);
        return context->finish();
    }
    const auto context = platform::makeBitmapContext(
        static_cast<int>(width * pixelScale), static_cast<int>(height * pixelScale), pixelScale);
    if (!context) throw Failure("there is no memory for the picture");
    drawAll(*context, panels, height);
    return context->makeImage()->png();
}

}  // namespace qov::cli
