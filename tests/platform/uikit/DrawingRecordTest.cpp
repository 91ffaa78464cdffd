#include <algorithm>
#include <array>
#include <memory>

#include <gtest/gtest.h>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CGFont.h"
#include "platform/uikit/DrawingRecord.h"

namespace {

using namespace platform;

constexpr int kSide = 64;

/// Makes every call.
void drawAll(CGContext& context, CGFloat shift) {
    const std::array<CGGradientStop, 2> stops{{{0, {1, 0, 0, 1}}, {1, {0, 0, 1, 0.5}}}};
    const std::array<CGFloat, 2> dash{3, 2};
    const CGImage image(2, 1, {0xff00ff00, 0xff0000ff});
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
    context.drawImage(image, {40, 40, 10, 10});
    context.showText("Ag", *CGFont::named("HelveticaNeue"), 14, {5, 60}, 0.5);
    context.clearRect({0, 0, 4, 4});
    context.restoreGState();
}

TEST(DrawingRecord, PlaysBackTheSamePixels) {
    for (const CGFloat scale : {1.0, 2.0}) {
        const int side = static_cast<int>(kSide * scale);
        const auto direct = makeBitmapContext(side, side, scale);
        const auto played = makeBitmapContext(side, side, scale);
        drawAll(*direct, 2);
        DrawingRecord record;
        record.begin({kSide, kSide}, scale);
        drawAll(record, 2);
        record.play(*played);
        EXPECT_TRUE(std::ranges::equal(direct->pixels(), played->pixels()));
        EXPECT_TRUE(std::ranges::any_of(direct->pixels(), [](auto p) { return p != 0; }));
    }
}

TEST(DrawingRecord, HasTheCoordinatesAndClipOfABitmap) {
    const auto bitmap = makeBitmapContext(2 * kSide, 2 * kSide, 2);
    DrawingRecord record;
    record.begin({kSide, kSide}, 2);
    for (CGContext* context : std::initializer_list<CGContext*>{bitmap.get(), &record}) {
        context->translateBy(10, 5);
        context->scaleBy(2, 2);
        context->clipTo({1, 1, 8, 6});
        EXPECT_EQ(context->ctm().tx, 20);
        EXPECT_EQ(context->ctm().d, 4);
        EXPECT_EQ(context->clipBoundingBox(), CGRect(1, 1, 8, 6));
    }
}

TEST(DrawingRecord, IsEqualOnlyForTheSamePicture) {
    DrawingRecord a, b;
    const auto draw = [](DrawingRecord& record, CGFloat shift, CGFloat scale) {
        record.begin({kSide, kSide}, scale);
        drawAll(record, shift);
    };
    draw(a, 1, 1);
    draw(b, 1, 1);
    EXPECT_EQ(a, b);
    draw(b, 1.0000001, 1);
    EXPECT_FALSE(a == b);
    draw(b, 1, 2);
    EXPECT_FALSE(a == b);
    b.begin({kSide, kSide}, 1);
    EXPECT_FALSE(b.paints());
    b.saveGState();
    b.translateBy(1, 1);
    b.restoreGState();
    EXPECT_FALSE(b.paints());
    EXPECT_TRUE(a.paints());
}

}  // namespace
