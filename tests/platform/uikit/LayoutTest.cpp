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

TEST(Layout, EquationsChainThroughSiblingsInAnyOrder) {
    Pair p;
    const auto second = std::make_shared<UIView>();
    p.outer->addSubview(second);
    second->setTranslatesAutoresizingMaskIntoConstraints(false);
    const auto gap = second->leftAnchor().constraintEqualTo(p.inner->rightAnchor(), 5);
    NSLayoutConstraint::activate(
        {gap, second->rightAnchor().constraintEqualTo(p.outer->rightAnchor(), -3),
         p.inner->leftAnchor().constraintEqualTo(p.outer->leftAnchor(), 10),
         p.inner->widthAnchor().constraintEqualToConstant(25),
         second->centerYAnchor().constraintEqualTo(p.outer->centerYAnchor()),
         second->heightAnchor().constraintEqualTo(p.inner->heightAnchor()),
         p.inner->heightAnchor().constraintEqualToConstant(12)});
    p.outer->layoutIfNeeded();
    EXPECT_EQ(p.inner->frame(), CGRect(10, 2, 25, 12)) << "what no equation says stays";
    EXPECT_EQ(second->frame(), CGRect(40, 24, 57, 12));

    NSLayoutConstraint::deactivate({gap});
    EXPECT_FALSE(gap->isActive());
    p.inner->setFrame({0, 0, 0, 0});
    p.outer->layoutIfNeeded();
    EXPECT_EQ(second->frame().minX(), 40) << "its width stays and the right edge holds it";
}

TEST(Layout, AMaskedViewIsAGivenForOthers) {
    Pair p;
    const auto fixed = std::make_shared<UIView>(CGRect(60, 0, 10, 10));
    p.outer->addSubview(fixed);
    NSLayoutConstraint::activate(
        {p.inner->rightAnchor().constraintEqualTo(fixed->leftAnchor(), -4)});
    p.outer->layoutIfNeeded();
    EXPECT_EQ(fixed->frame(), CGRect(60, 0, 10, 10));
    EXPECT_EQ(p.inner->frame(), CGRect(26, 2, 30, 20));
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
