#include <memory>

#include <gtest/gtest.h>

#include "platform/uikit/NSLayoutConstraint.h"
#include "platform/uikit/UIView.h"

namespace {

using namespace platform;

struct Pair {
    std::shared_ptr<UIView> outer = std::make_shared<UIView>(CGRect(7, 9, 100, 60));
    std::shared_ptr<UIView> inner = std::make_shared<UIView>(CGRect(1, 2, 30, 20));

    Pair() {
        outer->addSubview(inner);
        inner->setTranslatesAutoresizingMaskIntoConstraints(false);
    }
};

TEST(Layout, AnEdgeLiesOnTheSuperviewsAndOneAloneKeepsTheLength) {
    Pair p;
    NSLayoutConstraint::activate(
        {p.inner->bottomAnchor().constraintEqualTo(p.outer->bottomAnchor()),
         p.inner->leadingAnchor().constraintEqualTo(p.outer->trailingAnchor())});
    p.outer->layoutIfNeeded();
    EXPECT_EQ(p.inner->frame(), CGRect(100, 40, 30, 20)) << "in the outer view's own coordinates";
    NSLayoutConstraint::activate({p.inner->topAnchor().constraintEqualTo(p.outer->topAnchor())});
    p.outer->layoutIfNeeded();
    EXPECT_EQ(p.inner->frame(), CGRect(100, 0, 30, 60));
    EXPECT_DEATH(p.inner->topAnchor().constraintEqualTo(p.outer->leadingAnchor()), "compared");
    EXPECT_DEATH(NSLayoutConstraint::activate(
                     {p.outer->topAnchor().constraintEqualTo(p.inner->topAnchor())}),
                 "superview");
}

TEST(Layout, AViewThatLeavesTakesItsConstraintsAlong) {
    Pair p;
    NSLayoutConstraint::activate({p.inner->topAnchor().constraintEqualTo(p.outer->topAnchor())});
    EXPECT_EQ(p.outer->constraints().size(), 1U);
    p.inner->removeFromSuperview();
    EXPECT_TRUE(p.outer->constraints().empty());
}

struct MaskCase {
    std::uint32_t mask;
    CGRect expected;
};

class Mask : public testing::TestWithParam<MaskCase> {};

TEST_P(Mask, FollowsTheSuperview) {
    const auto outer = std::make_shared<UIView>(CGRect(0, 0, 100, 100));
    const auto inner = std::make_shared<UIView>(CGRect(20, 20, 60, 40));
    outer->addSubview(inner);
    inner->setAutoresizingMask(GetParam().mask);
    outer->setFrame({0, 0, 200, 150});
    EXPECT_EQ(inner->frame(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Masks, Mask,
    testing::Values(
        MaskCase{UIViewAutoresizingNone, {20, 20, 60, 40}},
        MaskCase{UIViewAutoresizingFlexibleWidth | UIViewAutoresizingFlexibleHeight,
                 {20, 20, 160, 90}},
        MaskCase{UIViewAutoresizingFlexibleLeftMargin | UIViewAutoresizingFlexibleTopMargin,
                 {120, 70, 60, 40}},
        // Margins of 20 and 20 share 100; margins of 20 and 40 share 50.
        MaskCase{UIViewAutoresizingFlexibleLeftMargin | UIViewAutoresizingFlexibleRightMargin |
                     UIViewAutoresizingFlexibleTopMargin | UIViewAutoresizingFlexibleBottomMargin,
                 {70, 20 + 50.0 * 20 / 60, 60, 40}}));

}  // namespace
