#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "platform/coregraphics/CGPath.h"

namespace platform {
namespace {

TEST(CGRect, EdgesHoldForNegativeSizesAndPointsOnThem) {
    const CGRect flipped{10, 20, -4, -6};
    EXPECT_EQ(flipped.standardized(), (CGRect{6, 14, 4, 6}));
    EXPECT_TRUE(flipped.contains({6, 14}) && !flipped.contains({10, 14})) << "right is outside";
    EXPECT_EQ(flipped.insetBy(1, 2), (CGRect{7, 16, 2, 2}));
    EXPECT_TRUE(flipped.insetBy(3, 0).isNull());
    EXPECT_TRUE((CGRect{0, 0, 1, 1}.intersection({2, 0, 1, 1}).isNull()));
}

TEST(CGAffineTransform, DrawingOrderAndInverse) {
    const auto t = CGAffineTransform::rotation(std::numbers::pi / 2)
                       .concatenating(CGAffineTransform::scale(2, 3))
                       .concatenating(CGAffineTransform::translation(10, 20));
    const CGPoint p = t.apply(CGPoint{1, 0}), back = t.inverted().apply(p);
    EXPECT_NEAR(std::hypot(p.x - 10, p.y - 23), 0, 1e-12) << "x turns to y, downward";
    EXPECT_NEAR(std::hypot(back.x - 1, back.y), 0, 1e-12);
    EXPECT_EQ(CGAffineTransform::scale(-1, 2).apply(CGRect{1, 1, 2, 2}), (CGRect{-3, 2, 2, 4}));
}

TEST(CGPath, ContainsFollowsTheOutlineOfEveryFigure) {
    const auto ellipse = CGPath::ellipse({0, 0, 20, 10});
    const auto rounded = CGPath::roundedRect({0, 0, 20, 10}, 4);
    int inside = 0, wrong = 0;
    for (CGFloat x = -1; x < 21; x += 0.37) {
        for (CGFloat y = -1; y < 11; y += 0.31) {
            const CGFloat r = std::hypot((x - 10) / 10, (y - 5) / 5);
            if (std::abs(r - 1) > 0.01) wrong += ellipse.contains({x, y}) != (r < 1);
            // Distance from the rounded rectangle's core.
            const CGFloat far =
                std::hypot(std::max(std::abs(x - 10) - 6, 0.0), std::max(std::abs(y - 5) - 1, 0.0));
            if (std::abs(far - 4) > 0.01) wrong += rounded.contains({x, y}) != (far < 4);
            inside += r < 1;
        }
    }
    EXPECT_GT(inside, 1000);
    EXPECT_EQ(wrong, 0);

    CGPath open;
    open.moveTo({0, 0});
    open.addLineTo({10, 0});
    open.addLineTo({0, 10});
    EXPECT_TRUE(open.contains({2, 2})) << "an open figure is closed for the test";
    EXPECT_FALSE(CGPath().contains({0, 0}));
}

TEST(CGPath, ArcsTakeTheAskedWayRoundAndKeepTheirRadius) {
    CGPath arc;
    arc.addArc({0, 0}, 10, 0, std::numbers::pi / 2, false);  // the long way, over the top
    EXPECT_TRUE(arc.contains({0, -9}));
    EXPECT_FALSE(arc.contains({8, 8}));
    CGPath whole;
    whole.addArc({0, 0}, 10, 0, -7, false);  // more than a turn is one turn
    for (const CGPoint p : {CGPoint{0, -9}, {-9, 0}, {0, 9}}) EXPECT_TRUE(whole.contains(p));
    for (const auto& figure : {CGPath::ellipse({-10, -10, 20, 20}), arc, whole}) {
        const CGPoint* p = &figure.points()[1];
        CGPoint from = figure.points()[0];
        for (const auto element : figure.elements()) {
            if (element != CGPath::Element::curveTo) continue;
            const CGPoint middle{(from.x + 3 * p[0].x + 3 * p[1].x + p[2].x) / 8,
                                 (from.y + 3 * p[0].y + 3 * p[1].y + p[2].y) / 8};
            EXPECT_NEAR(std::hypot(middle.x, middle.y), 10, 0.003);
            from = p[2];
            p += 3;
        }
    }
}

}  // namespace
}  // namespace platform
