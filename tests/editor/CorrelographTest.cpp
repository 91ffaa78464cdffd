#include <cmath>
#include <limits>
#include <random>

#include "tests/editor/EditorFixture.h"

namespace qov {
namespace {

using platform::CGPoint;

/// In double precision, rounded to single after each operation: what single-precision hardware
/// gives, by another way.
std::vector<CGPoint> expectedPoints(const std::vector<float>& left, const std::vector<float>& right,
                                    bool isNormalized) {
    const auto rounded = [](double value) { return double{static_cast<float>(value)}; };
    const std::size_t step = left.size() / 1024;
    const double c = -0.707107f;
    double k = 0;
    for (std::size_t i = 0; i < 1024; ++i)
        k = std::max({k, std::fabs(double{left[i * step]}), std::fabs(double{right[i * step]})});
    k = isNormalized && k != 0 ? rounded(1 / k) : 1;
    std::vector<CGPoint> points;
    for (std::size_t i = 0; i < 1024; ++i) {
        const double l = left[i * step], r = right[i * step];
        const double u = rounded(rounded(k * rounded(l - r)) * c);
        const double v = rounded(rounded(k * rounded(l + r)) * c);
        points.push_back({rounded(u * 80) + 128, rounded(v * 80) + 128});
        if (isNormalized && std::fabs(u) > k) k = u;
        if (isNormalized && std::fabs(v) > k) k = v;
    }
    points.front() = points.back() = {128, 128};
    return points;
}

TEST(CorrelographPoints, AreThoseOfTheDoubleLoopToTheBit) {
    std::mt19937 random(1);
    for (const int size : {2048, 1500, 700, 5000})
        for (const float amplitude : {0.0f, 1e-3f, 0.9f, 4.0f}) {
            std::uniform_real_distribution<float> noise(-amplitude, amplitude);
            std::vector<float> left(size), right(size);
            for (float& l : left) l = noise(random);
            // Correlated, so that sums exceed the peak and the gain drifts.
            for (int i = 0; i < size; ++i) right[i] = 0.8f * left[i] + 0.2f * noise(random);
            CorrelographBaseAU graph;
            for (const bool isNormalized : {false, true}) {
                graph.isNormalized = isNormalized;
                EXPECT_TRUE(std::ranges::equal(graph.computePoints(left.data(), right.data(), size),
                                               expectedPoints(left, right, isNormalized)))
                    << size << " samples of " << amplitude << ", normalized " << isNormalized;
            }
        }
}

/// The same shapes by the context's plain strokes and fills.
void drawShapes(platform::CGContext& context, const CorrelographBaseAU::Points& points,
                const std::string& mode) {
    context.setFillColor({1, 0.737, 0.155, 1});
    context.setStrokeColor({1, 0.737, 0.155, 1});
    context.setLineWidth(mode == "points" ? 1 : 0.5);
    for (const auto& p : points) {
        if (mode == "ovals") context.fillEllipse({p, {1, 1}});
        if (mode != "ovals") context.addLineTo(p);
        if (mode == "points") {
            context.addLineTo({p.x + 0.5, p.y + 0.5});
            context.closePath();
            context.strokePath();
        }
    }
    context.closePath();
    context.strokePath();
}

using CorrelographView = test::EditorFixture;

TEST_F(CorrelographView, DrawsTheShapesOfItsMode) {
    open();
    auto& view = *controller->correlographView;
    float* left = controller->audioUnit()->getBufferLeft();
    float* right = controller->audioUnit()->getBufferRight();
    std::mt19937 random(5);
    std::uniform_real_distribution<float> noise(-0.4f, 0.4f);
    for (const std::string signal : {"mono", "chord", "noise"}) {
        for (int i = 0; i < 2048; ++i) {
            left[i] = right[i] = 0.4f * std::sin(0.031f * static_cast<float>(i));
            if (signal == "chord") right[i] += 0.3f * std::sin(0.02f * static_cast<float>(i));
            if (signal == "noise") right[i] = noise(random);
        }
        for (const std::string mode : {"points", "ovals", "bezier"})
            for (const int scale : {1, 2}) {
                SCOPED_TRACE(mode + " of " + signal);
                view.baseClass.drawMode = mode;
                const auto ours = draw(view, 300, 512, scale);
                const auto plain = platform::makeBitmapContext(300 * scale, 512 * scale, scale);
                plain->translateBy(0, 106);
                plain->scaleBy(300 / 256.0, 300 / 256.0);
                drawShapes(*plain, view.baseClass.computePoints(left, right, 2048), mode);
                // A line has 64 samples a pixel, an oval eight corners.
                const int most = mode == "points" ? 12 : mode == "ovals" ? 48 : 32;
                EXPECT_EQ(unlike(ours->pixels(), plain->pixels(), most), 0);
                const std::vector<std::uint32_t> blank(plain->pixels().size());
                const int drawn = unlike(plain->pixels(), blank, 0);
                EXPECT_GT(drawn, 160);
                EXPECT_LE(unlike(ours->pixels(), plain->pixels(), 16), drawn / 4);
            }
    }
}

TEST_F(CorrelographView, IsEmptyWhenHiddenOrWithoutAudioUnit) {
    open();
    auto& view = *controller->correlographView;
    view.isSuspended = true;
    view.baseClass.drawMode = "anything";
    std::fill_n(controller->audioUnit()->getBufferLeft(), 2048, 0.5f);
    const auto isEmpty = [](CorrelographViewAU& shown) {
        const auto picture = draw(shown, 100, 100);
        return std::ranges::all_of(picture->pixels(), [](auto pixel) { return pixel == 0; });
    };
    EXPECT_FALSE(isEmpty(view));
    EXPECT_DEATH(view.draw({0, 0, 10, 10}), "without a graphics context");
    view.setHidden(true);
    EXPECT_TRUE(isEmpty(view));
    CorrelographViewAU alone;
    EXPECT_TRUE(isEmpty(alone));
}

// The gain of a loud block grows until the points leave the range of a float.
TEST(CorrelographPoints, OutOfRangeDoNotEmptyThePicture) {
    std::vector<float> left(2048, 0.5f), right(2048, -0.25f);
    for (const float loud : {1.5f, 1e10f, 1e38f, std::numeric_limits<float>::infinity()})
        for (const double scale : {1.0, 10.0})
            for (const auto* mode : {"points", "ovals", "bezier"}) {
                for (int i = 1024; i < 2048; ++i) left[i] = i % 4 ? loud : -loud;
                CorrelographBaseAU graph;
                graph.isNormalized = false;
                graph.drawMode = mode;
                graph.computePoints(left.data(), right.data(), 2048);
                const int side = static_cast<int>(256 * scale);
                const auto canvas = platform::makeBitmapContext(side, side, scale);
                graph.drawPoints(*canvas);
                // The quiet half lies at 128 - 0.75 * 80 / sqrt(2), 128 - 0.25 * 80 / sqrt(2), and
                // the line goes there from the middle.
                const auto at = static_cast<int>(113.97 * scale) * side + int(85.9 * scale);
                EXPECT_GT(canvas->pixels()[at] >> 24, 20u) << mode << " " << scale << " " << loud;
            }
}

}  // namespace
}  // namespace qov
