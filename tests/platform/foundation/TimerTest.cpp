#include "platform/foundation/Timer.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/OperationQueue.h"

namespace {

using platform::OperationQueue;
using platform::RunLoop;
using platform::Timer;
using ::testing::ElementsAre;

class TimerTest : public testing::Test {
 protected:
    std::shared_ptr<RunLoop> loop = RunLoop::createForTest();
    RunLoop::MakeCurrent makeCurrent{loop};
    int ticks = 0;
};

TEST_F(TimerTest, TheLoopHoldsARepeatingTimerUntilItIsInvalidated) {
    std::weak_ptr<Timer> timer = Timer::scheduledTimer(0.05, true, [&](Timer&) { ++ticks; });
    loop->advance(1);
    EXPECT_EQ(ticks, 20);
    ASSERT_FALSE(timer.expired());
    timer.lock()->invalidate();
    EXPECT_TRUE(timer.expired());
    loop->advance(1);
    EXPECT_EQ(ticks, 20);
}

TEST_F(TimerTest, ATimerMayInvalidateItselfAndItsCapturesOutliveTheBlock) {
    auto captured = std::make_shared<int>(7);
    const std::weak_ptr<int> weak = captured;
    int seen = 0;
    const auto timer =
        Timer::scheduledTimer(1, true, [&seen, captured = std::move(captured)](Timer& sender) {
            sender.invalidate();
            sender.invalidate();
            seen = *captured;
        });
    loop->advance(3);
    EXPECT_EQ(seen, 7);
    EXPECT_FALSE(timer->isValid());
    EXPECT_TRUE(weak.expired());
}

TEST_F(TimerTest, WithoutRepeatsItFiresOnceAndIsInvalidAfterIt) {
    const auto timer = Timer::scheduledTimer(0.5, false, [&](Timer& sender) {
        ++ticks;
        EXPECT_TRUE(sender.isValid());
    });
    EXPECT_EQ(timer->timeInterval(), 0);
    loop->advance(0.499);
    EXPECT_EQ(ticks, 0);
    loop->advance(5);
    EXPECT_EQ(ticks, 1);
    EXPECT_FALSE(timer->isValid());
    EXPECT_EQ(timer.use_count(), 1);
}

TEST_F(TimerTest, TheEndOfItsLoopInvalidatesItAndBreaksTheCycleWithItsBlock) {
    struct Owner {
        std::shared_ptr<Timer> timer;
    };
    auto owner = std::make_shared<Owner>();
    const std::weak_ptr<Owner> weak = owner;
    owner->timer = Timer::scheduledTimer(0.05, true, [owner](Timer&) {});
    const auto timer = owner->timer;
    owner.reset();
    EXPECT_FALSE(weak.expired());
    loop->end();
    EXPECT_TRUE(weak.expired());
    EXPECT_FALSE(timer->isValid());
    timer->invalidate();
}

TEST_F(TimerTest, OperationsKeepTheOrderOfTheMainQueue) {
    std::vector<int> order;
    OperationQueue::main().addOperation([&] { order.push_back(1); });
    platform::DispatchQueue::main().async([&] { order.push_back(2); });
    OperationQueue::main().addOperation([&] { order.push_back(3); });
    EXPECT_TRUE(order.empty());
    loop->pump();
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

}  // namespace
