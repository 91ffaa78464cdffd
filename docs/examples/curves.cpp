// Draws all easing curves, family by family, into a PNG: curves OUT.png
//
// Every curve runs from 0 to 1 on one scale; the column of dots beside it is the value at equal
// steps of time, as an eye would see the movement.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "animation/Easing.h"
#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CGFont.h"
#include "platform/coregraphics/CGImage.h"

namespace {

using platform::CGColor;
using platform::CGContext;
using platform::CGFloat;
using platform::CGPoint;
using qov::EasingCurve;
using qov::easingCurves;

constexpr CGColor kBackground{0.066, 0.070, 0.082};
constexpr CGColor kPanel{0.100, 0.106, 0.122};
constexpr CGColor kGrid{0.200, 0.208, 0.228};
constexpr CGColor kAmber{1.000, 0.690, 0.126};
constexpr CGColor kText{0.925, 0.900, 0.850};
constexpr CGColor kFaintText{0.560, 0.550, 0.530};

// Points
constexpr CGFloat kMargin = 48, kTitle = 92, kGap = 28, kFamilyTitle = 34;
constexpr CGFloat kCellWidth = 150, kCellGap = 12, kInset = 14, kDots = 16, kLabel = 26;
constexpr CGFloat kUnit = 74;  ///< height of the way from 0 to 1
constexpr CGFloat kBlockWidth = 4 * kCellWidth + 3 * kCellGap;
constexpr int kFrames = 240, kDotFrames = 20;

struct Family {
    std::string_view name;
    std::vector<qov::EasingCurve> curves;
    CGFloat lowest = -0.12, highest = 1.12;
};

CGFloat value(const EasingCurve& curve, int frame, int frames) {
    return CGFloat{curve.function(frame, 0, 1, frames)};
}

/// In the order of the table; the two linear curves, its first and its last, are one family.
std::vector<Family> families() {
    std::vector<Family> list;
    for (const auto& curve : easingCurves()) {
        auto family = std::ranges::find(list, curve.family, &Family::name);
        if (family == list.end())
            family = list.insert(list.end(), Family{.name = curve.family, .curves = {}});
        family->curves.push_back(curve);
        for (int frame = 0; frame <= kFrames; ++frame) {
            const CGFloat v = value(curve, frame, kFrames);
            family->lowest = std::min(family->lowest, v - 0.06);
            family->highest = std::max(family->highest, v + 0.06);
        }
    }
    return list;
}

CGFloat cellHeight(const Family& family) {
    return (family.highest - family.lowest) * kUnit + kLabel + kInset / 2;
}

/// The linear block stands beside the title; the others in rows of two with one range a row.
struct Row {
    Family left, right;
    CGFloat height() const { return kFamilyTitle + cellHeight(left); }
};

std::vector<Row> rows(const std::vector<Family>& list) {
    std::vector<Row> result;
    for (std::size_t i = 1; i + 1 < list.size(); i += 2) {
        Row row{list[i], list[i + 1]};
        row.left.lowest = row.right.lowest = std::min(row.left.lowest, row.right.lowest);
        row.left.highest = row.right.highest = std::max(row.left.highest, row.right.highest);
        result.push_back(row);
    }
    return result;
}

void showText(CGContext& context, std::string_view text, std::string_view face, CGFloat size,
              const CGColor& color, CGPoint origin, CGFloat tracking = 0) {
    context.setFillColor(color);
    context.showText(text, *platform::CGFont::named(face), size, origin, tracking);
}

constexpr std::string_view kCondensed = "HelveticaNeue-CondensedBold";
constexpr std::string_view kRegular = "HelveticaNeue";

void drawCurve(CGContext& context, const EasingCurve& curve, const Family& family, CGPoint corner) {
    const CGFloat height = cellHeight(family);
    context.setFillColor(kPanel);
    context.addPath(platform::CGPath::roundedRect({corner.x, corner.y, kCellWidth, height}, 5));
    context.fillPath();

    const CGFloat left = corner.x + kInset, right = corner.x + kCellWidth - kInset - kDots;
    const auto y = [&](CGFloat v) { return corner.y + kInset / 2 + (family.highest - v) * kUnit; };
    context.setLineWidth(1);
    context.setStrokeColor(kGrid);
    for (const CGFloat level : {0.0, 1.0}) context.strokeLine({left, y(level)}, {right, y(level)});

    context.setLineWidth(2);
    context.setLineCap(platform::CGLineCap::round);
    context.setLineJoin(platform::CGLineJoin::round);
    context.setStrokeColor(kAmber);
    context.moveTo({left, y(value(curve, 0, kFrames))});
    for (int frame = 1; frame <= kFrames; ++frame)
        context.addLineTo(
            {left + (right - left) * frame / kFrames, y(value(curve, frame, kFrames))});
    context.strokePath();

    constexpr CGFloat kDot = 4;
    context.setFillColor(kAmber.withAlpha(0.45));
    for (int frame = 0; frame <= kDotFrames; ++frame)
        context.fillEllipse({corner.x + kCellWidth - kInset - kDot,
                             y(value(curve, frame, kDotFrames)) - kDot / 2, kDot, kDot});

    auto name = curve.name;
    name.remove_prefix(name.find('_') + 1);
    showText(context, name, kRegular, 11.5, kFaintText, {left, corner.y + height - kInset / 2 - 3});
}

void drawFamily(CGContext& context, const Family& family, CGPoint corner) {
    auto title = std::string(family.name);
    std::ranges::transform(title, title.begin(),
                           [](char c) { return static_cast<char>(std::toupper(c)); });
    showText(context, title, kCondensed, 17, kText, {corner.x, corner.y + 20}, 0.06);
    for (std::size_t i = 0; i < family.curves.size(); ++i)
        drawCurve(context, family.curves[i], family,
                  {corner.x + static_cast<CGFloat>(i) * (kCellWidth + kCellGap),
                   corner.y + kFamilyTitle});
}

platform::CGSize curveSheetSize() {
    const auto list = families();
    CGFloat height = kMargin + std::max(kTitle, kFamilyTitle + cellHeight(list.front())) + kGap;
    for (const auto& row : rows(list)) height += row.height() + kGap;
    return {2 * kMargin + 2 * kBlockWidth + kGap, std::ceil(height - kGap + kMargin)};
}

void drawCurveSheet(CGContext& context) {
    const auto list = families();
    const auto size = curveSheetSize();
    context.setFillColor(kBackground);
    context.fillRect({0, 0, size.width, size.height});

    const CGFloat secondColumn = kMargin + kBlockWidth + kGap;
    showText(context, "42 EASING CURVES", kCondensed, 44, kText, {kMargin, kMargin + 62}, 0.02);
    showText(context, "from 0 to 1 over time; the dots are equal steps of time", kRegular, 15,
             kFaintText, {kMargin, kMargin + 92});
    drawFamily(context, list.front(), {secondColumn, kMargin});

    CGFloat top = kMargin + std::max(kTitle, kFamilyTitle + cellHeight(list.front())) + kGap;
    for (const auto& row : rows(list)) {
        drawFamily(context, row.left, {kMargin, top});
        drawFamily(context, row.right, {secondColumn, top});
        top += row.height() + kGap;
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUT.png\n", argv[0]);
        return 2;
    }
    constexpr double scale = 1;  // pixels a point
    const auto size = curveSheetSize();
    const auto context =
        platform::makeBitmapContext(static_cast<int>(std::lround(size.width * scale)),
                                    static_cast<int>(std::lround(size.height * scale)), scale);
    if (!context) return 1;
    drawCurveSheet(*context);
    const auto png = context->makeImage()->png();
    std::ofstream file(argv[1], std::ios::binary);
    file.write(reinterpret_cast<const char*>(png.data()), std::ssize(png));
    return file.flush() ? 0 : 1;
}
