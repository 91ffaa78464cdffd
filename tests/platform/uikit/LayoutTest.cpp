#include <memory>

#include <gtest/gtest.h>

#include "platform/uikit/NSLayoutConstraint.h"
#include "platform/uikit/UIView.h"

namespace {

using namespace platform;

class Layout : public testing::Test {
 protected:
    Layout() { outer->addSubview(inner); }
    std::shared_ptr<UIView> outer = std::make_shared<UIView>(CGRect(7, 9, 100, 60));
    std::shared_ptr<UIView> inner = std::make_shared<UIView>(CGRect(20, 20, 30, 20));
};

TEST_F(Layout, AnEdgeFollowsTheSuperviewsAndOneAloneKeepsTheLength) {
    inner->setTranslatesAutoresizingMaskIntoConstraints(false);
    NSLayoutConstraint::activate(
        {inner->bottomAnchor().constraintEqualTo(outer->bottomAnchor()),
         inner->leadingAnchor().constraintEqualTo(outer->trailingAnchor())});
    outer->layoutIfNeeded();
    EXPECT_EQ(inner->frame(), CGRect(100, 40, 30, 20)) << "in the outer view's own coordinates";
    NSLayoutConstraint::activate({inner->topAnchor().constraintEqualTo(outer->topAnchor())});
    outer->layoutIfNeeded();
    EXPECT_EQ(inner->frame(), CGRect(100, 0, 30, 60));
    EXPECT_DEATH(inner->topAnchor().constraintEqualTo(outer->leadingAnchor()), "compared");
    EXPECT_DEATH(
        NSLayoutConstraint::activate({outer->topAnchor().constraintEqualTo(inner->topAnchor())}),
        "superview");
    inner->removeFromSuperview();
    EXPECT_TRUE(outer->constraints().empty()) << "a view takes its constraints along";
}

TEST_F(Layout, TheMaskSharesTheChangeAmongFlexibleMarginsAndLengths) {
    const auto both = UIViewAutoresizingFlexibleWidth | UIViewAutoresizingFlexibleHeight;
    const auto before = UIViewAutoresizingFlexibleLeftMargin | UIViewAutoresizingFlexibleTopMargin;
    const auto after =
        UIViewAutoresizingFlexibleRightMargin | UIViewAutoresizingFlexibleBottomMargin;
    using Case = std::pair<std::uint32_t, CGRect>;
    for (const auto& [mask, expected] :
         {Case{UIViewAutoresizingNone, {20, 20, 30, 20}}, Case{both, {20, 20, 130, 110}},
          Case{before, {120, 110, 30, 20}},
          // Margins of 20 and 50 share 100; two margins of 20 share 90.
          Case{before | after, {20 + 100.0 * 20 / 70, 65, 30, 20}}}) {
        outer->setFrame({7, 9, 100, 60});
        inner->setFrame({20, 20, 30, 20});
        inner->setAutoresizingMask(mask);
        outer->setFrame({0, 0, 200, 150});
        EXPECT_EQ(inner->frame(), expected) << mask;
    }
}

}  // namespace
