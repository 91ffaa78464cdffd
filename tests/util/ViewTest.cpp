#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/uikit/UIView.h"
#include "tests/support/ConsoleLines.h"
#include "util/debugprint.h"
#include "util/pinToSuperviewEdges.h"

namespace {

using platform::CGRect;
using platform::RunLoop;
using platform::UIView;
using ::testing::ElementsAre;

TEST(DebugPrint, LinesAppearInOrderAfterTheMainThreadsPresentWork) {
    const auto loop = RunLoop::createForTest();
    const RunLoop::MakeCurrent makeCurrent(loop);
    const ConsoleLines console(loop.get());
    std::vector<std::string> during;
    loop->submit([&] {
        qov::debugprint("first");
        qov::safeprint("second\nwith two lines");
        qov::debugprint("");
        during = console.lines();
    });
    loop->pump();
    EXPECT_TRUE(during.empty());
    EXPECT_THAT(console.lines(), ElementsAre("first", "second\nwith two lines", ""));
}

TEST(PinToSuperviewEdges, TheViewFillsItsSuperviewWhateverBecomesOfIt) {
    const auto outer = std::make_shared<UIView>(CGRect{{10, 20}, {300, 200}});
    const auto inner = std::make_shared<UIView>(CGRect{{5, 5}, {10, 10}});
    qov::pinToSuperviewEdges(*inner);
    EXPECT_TRUE(inner->translatesAutoresizingMaskIntoConstraints()) << "without a superview";
    outer->addSubview(inner);
    qov::pinToSuperviewEdges(*inner);
    EXPECT_FALSE(inner->translatesAutoresizingMaskIntoConstraints());
    for (const CGRect frame : {CGRect{{10, 20}, {300, 200}}, CGRect{{0, 0}, {1, 7}}}) {
        outer->setFrame(frame);
        outer->layoutIfNeeded();
        EXPECT_EQ(inner->frame(), outer->bounds());
    }
}

}  // namespace
