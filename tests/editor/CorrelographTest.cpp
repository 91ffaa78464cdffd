#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

#include "tests/editor/EditorRig.h"

namespace qov {
namespace {

TEST(CorrelographPoints, TurnTheSignalAndLetTheGainFollowIt) {
    constexpr float samples[][2]{{0.25f, 0.25f}, {1, 0.9f}, {0.5f, -0.5f}, {0, 0.5f}};
    // From the peak of 1 on, a coordinate beyond the gain becomes the gain, with its sign.
    constexpr double gains[]{1, 1, -1.343503, 0.950001}, half = 80 / std::numbers::sqrt2;
    constexpr int first = 1000;
    for (const bool isNormalized : {false, true})
        for (const int step : {1, 2, 4}) {
            std::vector<float> left(1024 * step + step / 2, 0.1f), right = left;
            for (int i = 0; i < 4; ++i)
                left[(i + first) * step] = samples[i][0], right[(i + first) * step] = samples[i][1];
            CorrelographBaseAU graph;
            graph.isNormalized = isNormalized;
            const auto& points = graph.computePoints(left.data(), right.data(), int(left.size()));
            for (int i = 0; i < 4; ++i) {
                const double gain = isNormalized ? half * gains[i] : half;
                EXPECT_NEAR(points[i + first].x, 128 - gain * (samples[i][0] - samples[i][1]),
                            1e-3);
                EXPECT_NEAR(points[i + first].y, 128 - gain * (samples[i][0] + samples[i][1]),
                            1e-3);
            }
            EXPECT_EQ(points.front(), (platform::CGPoint{128, 128}));
            EXPECT_EQ(points.back(), (platform::CGPoint{128, 128}));
        }
}

struct CorrelographView : testing::Test, test::EditorRig {};

TEST_F(CorrelographView, IsEmptyWhenHiddenOrWithoutAudioUnit) {
    open();
    auto& view = *controller->correlographView;
    view.isSuspended = true;
    std::fill_n(controller->audioUnit()->getBufferLeft(), 2048, 0.5f);
    const auto isEmpty = [](CorrelographViewAU& shown) {
        return std::ranges::none_of(draw(shown, 100, 100)->pixels(), std::identity());
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
    for (const float loud : {1.5f, 1e10f, 1e38f, INFINITY})
        for (const auto* mode : {"points", "ovals", "bezier"}) {
            for (int i = 1024; i < 2048; ++i) left[i] = i % 4 ? loud : -loud;
            CorrelographBaseAU graph;
            graph.isNormalized = false;
            graph.drawMode = mode;
            graph.computePoints(left.data(), right.data(), 2048);
            const auto canvas = platform::makeBitmapContext(2560, 2560, 10);
            graph.drawPoints(*canvas);
            // The quiet half lies at 128 - 0.75 * 80 / sqrt(2), 128 - 0.25 * 80 / sqrt(2), and the
            // line goes there from the middle.
            EXPECT_GT(canvas->pixels()[1139 * 2560 + 859] >> 24, 20u) << mode << " " << loud;
        }
}

}  // namespace
}  // namespace qov
