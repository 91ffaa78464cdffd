#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "tests/editor/EditorFixture.h"

namespace qov {
namespace {

using platform::CGPoint;

float rounded(double value) {
    return static_cast<float>(value);
}

/// The picture in double precision, rounded to single after each operation: what single-precision
/// hardware gives, by another way.
std::vector<CGPoint> expectedPoints(const std::vector<float>& left, const std::vector<float>& right,
                                    bool isNormalized) {
    const std::size_t step = left.size() / 1024;
    const double c = -0.707107f;
    std::vector<CGPoint> points;
    double k = 0;
    for (std::size_t i = 0; i < 1024; ++i)
        k = std::max({k, std::fabs(double{left[i * step]}), std::fabs(double{right[i * step]})});
    k = isNormalized && k != 0 ? rounded(1 / k) : 1;
    for (std::size_t i = 0; i < 1024; ++i) {
        const double l = left[i * step], r = right[i * step];
        double u = rounded(l - r), v = rounded(l + r);
        if (isNormalized) {
            u = rounded(k * u);
            v = rounded(k * v);
        }
        u = rounded(u * c);
        v = rounded(v * c);
        points.push_back({rounded(u * 80) + 128.0, rounded(v * 80) + 128.0});
        if (!isNormalized) continue;
        if (std::fabs(u) > k) k = u;
        if (std::fabs(v) > k) k = v;
    }
    points[0] = points[1023] = {128, 128};
    return points;
}

class CorrelographPoints : public testing::TestWithParam<std::tuple<int, float, bool>> {};

TEST_P(CorrelographPoints, AreThoseOfTheDoubleLoopToTheBit) {
    const auto [size, amplitude, isNormalized] = GetParam();
    std::mt19937 random(static_cast<unsigned>(size));
    std::uniform_real_distribution<float> noise(-amplitude, amplitude);
    std::vector<float> left(size), right(size);
    for (int i = 0; i < size; ++i) {
        left[i] = noise(random);
        // Correlated, so that sums exceed the peak and the gain drifts.
        right[i] = 0.8f * left[i] + 0.2f * noise(random);
    }
    CorrelographBaseAU graph;
    graph.isNormalized = isNormalized;
    const auto& points = graph.computePoints(left.data(), right.data(), size);
    const auto expected = expectedPoints(left, right, isNormalized);
    int wrong = 0, drifted = 0;
    for (std::size_t i = 0; i < 1024; ++i) {
        wrong += std::bit_cast<std::uint64_t>(points[i].x) !=
                     std::bit_cast<std::uint64_t>(expected[i].x) ||
                 std::bit_cast<std::uint64_t>(points[i].y) !=
                     std::bit_cast<std::uint64_t>(expected[i].y);
        drifted += std::abs(points[i].y - 128) > 80 * std::sqrt(2.0) + 1e-3;
    }
    EXPECT_EQ(wrong, 0);
    if (isNormalized && amplitude > 1) {
        EXPECT_GT(drifted, 0) << "a gain above the peak's own shows";
    }
}

INSTANTIATE_TEST_SUITE_P(SizesAndLevels, CorrelographPoints,
                         testing::Combine(testing::Values(2048, 1500, 700, 5000),
                                          testing::Values(0.0f, 1e-3f, 0.9f, 4.0f),
                                          testing::Bool()));

/// The same shapes by the context's plain strokes and fills.
void drawShapeByShape(platform::CGContext& context, const CorrelographBaseAU::Points& points,
                      const std::string& mode) {
    context.setLineWidth(mode == "points" ? 1 : 0.5);
    for (const auto& p : points) {
        if (mode == "ovals") {
            context.fillEllipse({p, {1, 1}});
            continue;
        }
        context.addLineTo(p);
        if (mode != "points") continue;
        context.addLineTo({p.x + 0.5, p.y + 0.5});
        context.closePath();
        context.strokePath();
    }
    context.closePath();
    context.strokePath();
}

std::unique_ptr<platform::CGBitmapContext> makeCanvas(double scale) {
    const int side = static_cast<int>(256 * scale);
    auto canvas = platform::makeBitmapContext(side, side, scale);
    canvas->setFillColor({1, 0.737, 0.155, 1});
    canvas->setStrokeColor({1, 0.737, 0.155, 1});
    return canvas;
}

class CorrelographPicture
    : public testing::TestWithParam<std::tuple<std::string, double, std::string>> {};

TEST_P(CorrelographPicture, IsThatOfItsShapes) {
    const auto& [mode, scale, signal] = GetParam();
    std::mt19937 random(5);
    std::uniform_real_distribution<float> noise(-0.4f, 0.4f);
    std::vector<float> left(2048), right(2048);
    for (int i = 0; i < 2048; ++i) {
        left[i] = right[i] = 0.4f * std::sin(0.031f * static_cast<float>(i));
        if (signal == "chord") right[i] = left[i] + 0.3f * std::sin(0.02f * static_cast<float>(i));
        if (signal == "noise") right[i] = noise(random);
    }
    CorrelographBaseAU graph;
    graph.drawMode = mode;
    const auto& points = graph.computePoints(left.data(), right.data(), 2048);
    const auto ours = makeCanvas(scale), plain = makeCanvas(scale);
    graph.drawPoints(*ours);
    drawShapeByShape(*plain, points, mode);
    double off = 0;
    int drawn = 0, largest = 0;
    for (std::size_t i = 0; i < ours->pixels().size(); ++i) {
        const int a = static_cast<int>(ours->pixels()[i] >> 24);
        const int b = static_cast<int>(plain->pixels()[i] >> 24);
        off += std::abs(a - b);
        largest = std::max(largest, std::abs(a - b));
        drawn += a || b;
    }
    EXPECT_GT(drawn, 40);
    // A line has 64 samples a pixel, an oval eight corners.
    EXPECT_LE(off / drawn, mode == "ovals" ? 8 : 4);
    EXPECT_LE(largest, mode == "points" ? 12 : mode == "ovals" ? 48 : 32);
}

INSTANTIATE_TEST_SUITE_P(Modes, CorrelographPicture,
                         testing::Combine(testing::Values("points", "ovals", "bezier"),
                                          testing::Values(1.0, 2.0),
                                          testing::Values("mono", "chord", "noise")));

// The gain of a loud block grows until the points leave the range of a float.
TEST(CorrelographPoints, OutOfRangeDoNotEmptyThePicture) {
    for (const float loud : {1.5f, 1e10f, 1e38f, std::numeric_limits<float>::infinity()}) {
        for (const double scale : {1.0, 10.0}) {
            for (const auto* mode : {"points", "ovals", "bezier"}) {
                std::vector<float> left(2048, 0.5f), right(2048, -0.25f);
                for (int i = 1024; i < 2048; ++i) left[i] = i % 4 ? loud : -loud;
                CorrelographBaseAU graph;
                graph.isNormalized = false;
                graph.drawMode = mode;
                graph.computePoints(left.data(), right.data(), 2048);
                const auto canvas = makeCanvas(scale);
                graph.drawPoints(*canvas);
                // The quiet half lies at 128 - 0.75 * 80 / sqrt(2), 128 - 0.25 * 80 / sqrt(2), and
                // the line comes there from the middle.
                const auto x = static_cast<std::size_t>(85.9 * scale),
                           y = static_cast<std::size_t>(113.97 * scale);
                EXPECT_GT(canvas->pixels()[y * canvas->pixelWidth() + x] >> 24, 20u)
                    << mode << " at " << scale << " with " << loud;
            }
        }
    }
}

using CorrelographView = test::BoundEditor;

TEST_F(CorrelographView, DrawsTheCaptureUnlessHiddenOrWithoutAudioUnit) {
    auto& view = *controller->correlographView;
    float* left = controller->audioUnit()->getBufferLeft();
    float* right = controller->audioUnit()->getBufferRight();
    for (int i = 0; i < 2048; ++i) left[i] = right[i] = std::sin(0.01f * i);
    const auto drawn = [&] {
        int count = 0;
        const auto picture = draw(view, 300, 260);  // 260 x 260 in the middle
        for (const auto pixel : picture->pixels()) count += pixel != 0;
        return count;
    };
    view.baseClass.drawMode = "anything";
    view.isSuspended = true;
    EXPECT_GT(drawn(), 60);
    view.setHidden(true);
    EXPECT_EQ(drawn(), 0);
    CorrelographViewAU alone;
    EXPECT_EQ(draw(alone, 100, 100)->pixels()[5050], 0u);
    view.setHidden(false);
    EXPECT_DEATH(view.draw({0, 0, 10, 10}), "without a graphics context");
}

}  // namespace
}  // namespace qov
