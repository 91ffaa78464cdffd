#include <bit>
#include <cmath>
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
