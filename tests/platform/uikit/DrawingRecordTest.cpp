#include <algorithm>
#include <array>

#include <gtest/gtest.h>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CGFont.h"
#include "platform/uikit/DrawingRecord.h"

namespace {

using namespace platform;

/// Makes every call; a transform and a clip stay.
void drawAll(CGContext& context, CGFloat shift) {
    const std::array<CGGradientStop, 2> stops{{{0, {1, 0, 0, 1}}, {1, {0, 0, 1, 0.5}}}};
    const std::array<CGFloat, 2> dash{3, 2};
    context.saveGState();
    context.translateBy(shift, 1);
    context.rotateBy(0.1);
    context.scaleBy(0.9, 1.1);
    context.saveGState();
    context.clipTo({0, 0, 40, 40});
    context.drawLinearGradient(stops, {0, 0}, {40, 40});
    context.drawRadialGradient(stops, {30, 30}, 2, {30, 30}, 10);
    context.restoreGState();
    context.setStrokeColor({0, 0.5, 1, 1});
    context.setFillColor({1, 0.7, 0.2, 0.8});
    context.setLineWidth(2);
    context.setLineCap(CGLineCap::round);
    context.setLineJoin(CGLineJoin::bevel);
    context.setLineDash(1, dash);
    context.beginPath();
    context.moveTo({3, 3});
    context.addLineTo({30, 8});
    context.addCurveTo({40, 10}, {10, 40}, {50, 50});
    context.closePath();
    context.addRect({10, 10, 20, 12});
    context.addEllipse({20, 20, 30, 15});
    context.strokePath();
    context.setLineDash(0, {});
    context.beginTransparencyLayer();
    context.setAlpha(0.5);
    context.addPath(CGPath::roundedRect({5, 30, 30, 20}, 4));
    context.addRect({10, 35, 10, 10});
    context.fillPath();
    context.endTransparencyLayer();
    context.drawImage(CGImage(2, 1, {0xff00ff00, 0xff0000ff}), {40, 40, 10, 10});
    context.showText("Ag", *CGFont::named("HelveticaNeue"), 14, {5, 60}, 0.5);
    context.strokePolygon(std::array<CGPoint, 3>{{{5 + shift, 5}, {20, 30}, {50, 8}}});
    context.clearRect({0, 0, 4, 4});
    context.restoreGState();
    context.scaleBy(shift, 3);
    context.clipTo({1, 1, 8, 6});
}

TEST(DrawingRecord, PlaysBackTheSamePixelsAndIsEqualOnlyForTheSamePicture) {
    DrawingRecord record, other;
    const auto draw = [](DrawingRecord& into, CGFloat shift, CGFloat scale) {
        into.begin({64, 64}, scale);
        drawAll(into, shift);
    };
    for (const CGFloat scale : {1.0, 2.0}) {
        const int side = static_cast<int>(64 * scale);
        const auto direct = makeBitmapContext(side, side, scale);
        const auto played = makeBitmapContext(side, side, scale);
        drawAll(*direct, 2);
        draw(record, 2, scale);
        EXPECT_EQ(record.ctm().a, direct->ctm().a);
        EXPECT_EQ(record.clipBoundingBox(), direct->clipBoundingBox());
        record.play(*played);
        EXPECT_TRUE(std::ranges::equal(direct->pixels(), played->pixels()));
        draw(other, 2, scale);
        EXPECT_EQ(record, other);
        draw(other, 2.0000001, scale);
        EXPECT_FALSE(record == other);
        draw(other, 2, 3 - scale);
        EXPECT_FALSE(record == other);
    }
    EXPECT_TRUE(record.paints());
    record.begin({64, 64}, 1);
    record.saveGState();
    record.translateBy(1, 1);
    record.restoreGState();
    EXPECT_FALSE(record.paints());
}

}  // namespace
