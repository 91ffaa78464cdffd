#include "platform/foundation/Timer.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/OperationQueue.h"

namespace {

using namespace platform;

class TimerTest : public testing::Test {
 protected:
    std::shared_ptr<RunLoop> loop = RunLoop::createForTest();
    RunLoop::MakeCurrent makeCurrent{loop};
    int ticks = 0;
};

TEST_F(TimerTest, InvalidationInTheBlockOrByTheLoopsEndReleasesTheCaptures) {
    for (const bool ends : {false, true}) {
        auto captured = std::make_shared<std::shared_ptr<Timer>>();
        const std::weak_ptr<std::shared_ptr<Timer>> weak = captured;
        *captured = Timer::scheduledTimer(1, true, [&, captured](Timer& sender) {
            sender.invalidate();
            sender.invalidate();
            ticks += captured->get() == &sender;
        });
        const auto timer = *captured;
        captured.reset();
        EXPECT_FALSE(weak.expired());
        const auto once = Timer::scheduledTimer(1, false, [](Timer&) {});
        ends ? loop->end() : loop->advance(3);
        EXPECT_FALSE(once->isValid());
        EXPECT_EQ(ticks, 1);
        EXPECT_TRUE(weak.expired());
        EXPECT_FALSE(timer->isValid());
        timer->invalidate();
    }
}

TEST_F(TimerTest, OperationsKeepTheOrderOfTheMainQueue) {
    std::vector<int> order;
    OperationQueue::main().addOperation([&] { order.push_back(1); });
    DispatchQueue::main().async([&] { order.push_back(2); });
    OperationQueue::main().addOperation([&] { order.push_back(3); });
    EXPECT_TRUE(order.empty());
    loop->pump();
    EXPECT_THAT(order, testing::ElementsAre(1, 2, 3));
}

}  // namespace
