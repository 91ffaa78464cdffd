#include <gtest/gtest.h>

#include <cstdlib>
#include <numbers>
#include <random>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CGFont.h"

namespace platform {
namespace {

int alphaAt(const CGBitmapContext& c, int x, int y) {
    return static_cast<int>(c.pixels()[static_cast<std::size_t>(y) * c.pixelWidth() + x] >> 24);
}

struct Difference {
    int largest = 0;
    double mean = 0;  // over pixels that either picture has drawn on
};

Difference differenceOf(const CGBitmapContext& a, const CGBitmapContext& b) {
    Difference d;
    int drawn = 0;
    for (std::size_t i = 0; i < a.pixels().size(); ++i) {
        const int p = static_cast<int>(a.pixels()[i] >> 24),
                  q = static_cast<int>(b.pixels()[i] >> 24);
        d.largest = std::max(d.largest, std::abs(p - q));
        d.mean += std::abs(p - q);
        drawn += p || q;
    }
    d.mean /= std::max(drawn, 1);
    return d;
}

/// A noisy figure of eight with a straight part and repeated points.
std::vector<CGPoint> figure(int count) {
    std::mt19937 random(7);
    std::vector<CGPoint> points;
    for (int i = 0; i < count; ++i) {
        const CGFloat t = i * 0.37, n = static_cast<CGFloat>(random() % 1000) / 100;
        points.push_back({128 + 80 * std::sin(t) + n, 128 + 70 * std::sin(1.7 * t) - n});
        if (i % 50 == 0) points.push_back(points.back());
        if (i % 40 == 0) points.push_back({128, 128});
    }
    return points;
}

struct BulkCase {
    const char* name;
    CGFloat scale, width, turn, alpha;
};

class BulkDrawing : public testing::TestWithParam<BulkCase> {};

// The fast ways are held against the one-by-one drawing of the base class, whose picture they
// promise.
TEST_P(BulkDrawing, LooksAsIfDrawnOneByOne) {
    const auto& [name, scale, width, turn, alpha] = GetParam();
    const auto points = figure(300);
    for (int shape = 0; shape < 3; ++shape) {
        std::unique_ptr<CGBitmapContext> pictures[2];
        for (int naive = 0; naive < 2; ++naive) {
            auto c = makeBitmapContext(static_cast<int>(256 * scale), static_cast<int>(256 * scale),
                                       scale);
            c->translateBy(128, 128);
            c->rotateBy(turn);
            c->translateBy(-128, -128);
            c->clipTo({20, 20, 200, 220});
            c->setLineWidth(width);
            c->setStrokeColor({1, 1, 1, alpha});
            c->setFillColor({1, 1, 1, alpha});
            if (shape == 0) {
                naive ? c->CGContext::strokeTicks(points, {0.5, 0.5})
                      : c->strokeTicks(points, {0.5, 0.5});
            } else if (shape == 1) {
                naive ? c->CGContext::fillEllipses(points, {1, 1})
                      : c->fillEllipses(points, {1, 1});
            } else {
                naive ? c->CGContext::strokePolyline(points, true)
                      : c->strokePolyline(points, true);
            }
            pictures[naive] = std::move(c);
        }
        const auto d = differenceOf(*pictures[0], *pictures[1]);
        RecordProperty(std::string(name) + std::to_string(shape), d.largest);
        EXPECT_GT(
            alphaAt(*pictures[1], static_cast<int>(128.3 * scale), static_cast<int>(128.3 * scale)),
            40)
            << "shape " << shape;
        EXPECT_LE(d.largest, 26) << "shape " << shape;
        // One by one, a small circle is flattened to a polygon a tenth smaller than itself.
        EXPECT_LE(d.mean, shape == 1 ? 9 : 3.5) << "shape " << shape;
    }
}

INSTANTIATE_TEST_SUITE_P(Scales, BulkDrawing,
                         testing::Values(BulkCase{"plain", 1, 0.5, 0, 1},
                                         BulkCase{"retina", 2, 0.5, 0, 1},
                                         BulkCase{"odd", 1.37, 0.8, 0.3, 1},
                                         BulkCase{"translucent", 1, 1, -1, 0.5}),
                         [](const auto& one) { return std::string(one.param.name); });

TEST(BulkDrawing, SmallEllipsesHaveTheirArea) {
    for (const CGFloat scale : {1.0, 1.37, 2.0, 4.0}) {
        auto c = makeBitmapContext(32, 32, scale);
        const std::vector<CGPoint> points{{1.2, 1.3}, {4, 1.7}};
        c->fillEllipses(points, {1.5, 1});
        double sum = 0;
        for (const auto pixel : c->pixels()) sum += static_cast<double>(pixel >> 24) / 255;
        const double area = 2 * std::numbers::pi / 4 * 1.5 * scale * scale;
        EXPECT_NEAR(sum, area, 0.03 * area);
    }
}

TEST(BulkDrawing, StretchedAndDashedLinesAndOddPointsStillDraw) {
    const CGFloat nan = std::nan("");
    const std::vector<CGPoint> points{{5, 5}, {nan, 7}, {25, 5}, {25, HUGE_VAL}, {25, 25}};
    auto c = makeBitmapContext(64, 32, 1);
    c->scaleBy(2, 1);
    c->setLineWidth(2);
    c->strokePolyline(points, false);
    EXPECT_EQ(alphaAt(*c, 30, 5), 255);
    EXPECT_EQ(alphaAt(*c, 51, 20), 255);
    EXPECT_EQ(alphaAt(*c, 30, 20), 0);
    c->fillEllipses(points, {1, 1});
    c->strokeTicks(points, {0, 0});
    const std::vector<CGPoint> nowhere{{nan, nan}};
    c->strokePolyline(nowhere, true);
    c->strokePolyline({}, true);
}

TEST(CGContext, StateLayersAndClipNest) {
    auto c = makeBitmapContext(40, 40, 2);
    c->restoreGState();  // nothing saved, nothing happens
    c->setFillColor({1, 0, 0, 1});
    c->saveGState();
    c->setAlpha(0.5);
    c->beginTransparencyLayer();
    c->fillRect({0, 0, 10, 10});
    c->fillRect({5, 0, 10, 10});  // overlaps within the layer: still half
    c->endTransparencyLayer();
    c->restoreGState();
    EXPECT_NEAR(alphaAt(*c, 12, 12), 128, 1);
    EXPECT_EQ(alphaAt(*c, 31, 12), 0);
    c->fillRect({0, 15, 5, 5});
    EXPECT_EQ(alphaAt(*c, 3, 33), 255) << "the alpha went with the state";
    c->saveGState();
    c->clipTo({10, 10, 4, 4});
    EXPECT_EQ(c->clipBoundingBox(), (CGRect{10, 10, 4, 4}));
    c->fillRect({0, 0, 20, 20});
    EXPECT_EQ(alphaAt(*c, 20, 20), 255);
    EXPECT_EQ(alphaAt(*c, 30, 20), 0);
    c->clearRect({10, 10, 1, 1});
    EXPECT_EQ(alphaAt(*c, 20, 20), 0);
    c->scaleBy(0, 1);  // nothing can be seen, and nothing breaks
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
        EXPECT_EQ(to->pixels()[7 * 16 + 7], 0xff0000ffu);
        EXPECT_EQ(to->pixels()[8 * 16 + 8], 0u);
        EXPECT_EQ(to->pixels()[5 * 16 + 6], 0u);
    }
    EXPECT_EQ(makeBitmapContext(0, 10, 1), nullptr);
    EXPECT_EQ(makeBitmapContext(100000, 10, 1), nullptr);
}

TEST(CGImage, PngComesBackAndDamageIsNamed) {
    const CGImage image(3, 1, {0xff123456u, 0x80402010u, 0});
    auto file = image.png();
    ASSERT_GT(file.size(), 60u);
    const auto back = CGImage::decode(file);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(std::vector(back->pixels().begin(), back->pixels().end()),
              (std::vector<std::uint32_t>{0xff123456u, 0x80402010u, 0}));
    std::string error;
    file.resize(file.size() / 2);
    EXPECT_EQ(CGImage::decode(file, &error), nullptr);
    EXPECT_NE(error.find("PNG is damaged"), std::string::npos) << error;
    const std::vector<std::byte> text(100, std::byte{'x'});
    EXPECT_EQ(CGImage::decode(text, &error), nullptr);
    EXPECT_EQ(error, "neither a PNG nor a JPEG picture");
    const std::vector<std::byte> jpeg{std::byte{0xff}, std::byte{0xd8}, std::byte{0xff}};
    EXPECT_EQ(CGImage::decode(jpeg, &error), nullptr);
    EXPECT_NE(error.find("JPEG is damaged"), std::string::npos) << error;
}

// Advance widths of the faces' own tables, in thousandths of an em.
TEST(CGFont, FacesComeWithTheLibraryAndMeasureAsTheirTablesSay) {
    const auto bold = CGFont::named("HelveticaNeue-CondensedBold");
    const auto regular = CGFont::named("HelveticaNeue");
    EXPECT_EQ(CGFont::named("Unknown"), regular);
    EXPECT_NE(bold, regular);
    EXPECT_NEAR(regular->width("H"), 0.722, 1e-9);
    EXPECT_NEAR(regular->width("l1"), 0.222 + 0.556, 1e-9);
    EXPECT_NEAR(bold->width("H"), 0.592, 1e-9);
    EXPECT_NEAR(bold->width("HH", 0.1), 2 * 0.692, 1e-9);
    EXPECT_LT(regular->width("AV"), 2 * 0.667) << "kerned";
    EXPECT_NEAR(regular->capHeight(), 0.72, 0.02);
    // The outline of an H stands on the base line, upright, as high as a capital.
    const CGRect box = regular->outlines("H", 100, {50, 200}).boundingBox();
    EXPECT_NEAR(box.maxY(), 200, 1e-6);
    EXPECT_NEAR(box.height(), 100 * regular->capHeight(), 1e-6);
    EXPECT_GT(box.minX(), 50);
    EXPECT_LT(box.maxX(), 50 + 72.2);
    EXPECT_NEAR(regular->width("\xc3\xa9"), 0.556,
                1e-9);  // é, and a broken sequence draws something
    EXPECT_GT(regular->width("\xff"), 0);
}

}  // namespace
}  // namespace platform
