#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CGFont.h"
#include "platform/coregraphics/MarkStamp.h"

namespace platform {
namespace {

int alphaAt(const CGBitmapContext& c, int x, int y) {
    return static_cast<int>(c.pixels()[static_cast<std::size_t>(y) * c.pixelWidth() + x] >> 24);
}

// Coordinates far out, infinite or NaN in strokes and fills, at scales up to 3200 pixels a side.
TEST(CGContext, FarPointsDoNotDisturbWhatIsInside) {
    for (const CGFloat scale : {1.0, 2.0, 100.0}) {
        for (const CGFloat far : {1e3, 1e7, 1e30, 1e300, HUGE_VAL, std::nan("")}) {
            const int side = static_cast<int>(32 * scale);
            auto c = makeBitmapContext(side, side, scale);
            const auto lines = [&](std::initializer_list<CGPoint> points) {
                for (const CGPoint& p : points) c->addLineTo(p);
            };
            const auto alpha = [&](CGFloat x, CGFloat y) {
                return alphaAt(*c, static_cast<int>(x * scale), static_cast<int>(y * scale));
            };
            c->setLineWidth(2);
            lines({{5, 5}, {25, 5}, {25 + far, 5}, {25, 25}});
            c->strokePath();
            EXPECT_EQ(alpha(15, 5), 255) << far << " at " << scale;
            EXPECT_EQ(alpha(30, 5), std::isfinite(far) ? 255 : 0) << far << " at " << scale;
            EXPECT_EQ(alpha(5, 20), 0) << far << " at " << scale;
            lines({{2, 20}, {12, 20}, {12, 20 + far}, {2, 20 + far}, {2, 30}});
            c->fillPath();
            EXPECT_EQ(alpha(5, 21), 255) << far << " at " << scale;
            lines({{NAN, far}, {20, 20}});
            c->addCurveTo({far, 20}, {28, NAN}, {28, 28});
            c->addLineTo({20, 28});
            c->strokePath();
            EXPECT_EQ(alpha(20, 24), 255) << far << " at " << scale;
        }
    }
}

TEST(CGContext, StateLayersAndClipNest) {
    auto c = makeBitmapContext(40, 40, 2);
    c->restoreGState();  // a no-op: nothing is saved
    c->setFillColor({1, 0, 0, 1});
    c->saveGState();
    c->setAlpha(0.5);
    c->beginTransparencyLayer();
    c->fillRect({0, 0, 10, 10});
    c->fillRect({5, 0, 10, 10});  // overlaps within the layer: still half
    c->endTransparencyLayer();
    c->restoreGState();
    EXPECT_NEAR(alphaAt(*c, 12, 12), 128, 1);
    c->fillRect({0, 15, 5, 5});
    EXPECT_EQ(alphaAt(*c, 3, 33), 255) << "the alpha went with the state";
    c->saveGState();
    c->clipTo({10, 10, 4, 4});
    c->fillRect({0, 0, 20, 20});
    EXPECT_EQ(alphaAt(*c, 20, 20), 255);
    c->scaleBy(0, 1);  // singular: draws nothing until the restore
    c->fillRect({0, 0, 20, 20});
    c->restoreGState();
    c->fillRect({18, 18, 1, 1});
    EXPECT_EQ(alphaAt(*c, 37, 37), 255);
}

TEST(CGContext, BitmapsAndImagesLandPixelForPixel) {
    auto from = makeBitmapContext(4, 4, 2);
    from->setFillColor({0, 0, 1, 1});
    from->fillRect({0, 0, 1, 1});
    for (const bool asImage : {false, true}) {
        auto to = makeBitmapContext(16, 16, 2);
        asImage ? to->drawImage(*from->makeImage(), {3, 3, 2, 2})
                : to->drawBitmap(*from, {3, 3, 2, 2});
        EXPECT_EQ(to->pixels()[6 * 16 + 6], 0xff0000ffu);
        EXPECT_EQ(to->pixels()[8 * 16 + 8], 0u);
        EXPECT_EQ(to->pixels()[5 * 16 + 6], 0u);
    }
    EXPECT_EQ(makeBitmapContext(0, 10, 1), nullptr);
}

TEST(CGImage, PngComesBackAndDamageIsNamed) {
    const CGImage image(3, 1, {0xff123456u, 0x80402010u, 0});
    auto file = image.png();
    const auto back = CGImage::decode(file);
    ASSERT_NE(back, nullptr);
    EXPECT_TRUE(std::ranges::equal(back->pixels(), image.pixels()));
    file.resize(file.size() / 2);
    std::string error;
    EXPECT_EQ(CGImage::decode(file, &error), nullptr);
    EXPECT_THAT(error, testing::HasSubstr("PNG is damaged"));
    const std::byte jpeg[] = {std::byte{0xff}, std::byte{0xd8}, std::byte{0xff}};
    EXPECT_EQ(CGImage::decode(jpeg, &error), nullptr);
    EXPECT_THAT(error, testing::HasSubstr("JPEG is damaged"));
    EXPECT_EQ(CGImage::decode(std::vector(100, std::byte{'x'}), &error), nullptr);
    EXPECT_EQ(error, "neither a PNG nor a JPEG picture");
}

// Advance widths from the faces' tables.
TEST(CGFont, MeasuresAsTheEmbeddedFacesTablesDo) {
    const auto bold = CGFont::named("HelveticaNeue-CondensedBold");
    const auto regular = CGFont::named("HelveticaNeue");
    EXPECT_EQ(CGFont::named("Unknown"), regular);
    EXPECT_NEAR(regular->width("l1"), 0.222 + 0.556, 1e-9);
    EXPECT_NEAR(bold->width("HH", 0.1), 2 * 0.692, 1e-9);
    EXPECT_LT(regular->width("AV"), 2 * 0.667) << "kerned";
    EXPECT_NEAR(regular->width("é"), 0.556, 1e-9);
    EXPECT_GT(regular->width("\xff"), 0) << "a broken sequence draws something";
    // The outline of an H stands on the base line, upright, as high as a capital.
    const CGRect box = regular->outlines("H", 100, {50, 200}).boundingBox();
    EXPECT_NEAR(box.maxY(), 200, 1e-6);
    EXPECT_NEAR(box.height(), 100 * regular->capHeight(), 1e-6);
    EXPECT_GT(box.minX(), 50);
}

TEST(MarkStamp, CoversTheAreaOfItsOutlineAtAnyPlace) {
    std::unique_ptr<MarkStamp> kept;
    auto* const stamp =
        MarkStamp::of(std::array<CGPoint, 4>{{{0, 0}, {1.5, 0}, {1.5, 1.5}, {0, 1.5}}}, {}, kept);
    for (const CGFloat at : {0.0, 0.3, 7.99, -1e-20, -3.6}) {  // -1e-20 + 1 is 1
        double covered = 0;
        stamp->put({at, at}, {-20, -20, 40, 40}, [&](int, int, int part) { covered += part; });
        EXPECT_NEAR(covered / 255, 2.25, 0.01) << at;
    }
}

}  // namespace
}  // namespace platform
