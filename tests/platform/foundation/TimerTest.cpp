#include "platform/foundation/Timer.h"

#include <gtest/gtest.h>

#include "platform/dispatch/RunLoop.h"

namespace {

using namespace platform;

TEST(Timer, InvalidationInTheBlockOrByTheLoopsEndReleasesTheCaptures) {
    const auto loop = RunLoop::createForTest();
    const RunLoop::MakeCurrent makeCurrent(loop);
    int ticks = 0;
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
        EXPECT_FALSE(once->isValid() || timer->isValid());
        EXPECT_EQ(ticks, 1);
        EXPECT_TRUE(weak.expired());
        timer->invalidate();
    }
}

}  // namespace
