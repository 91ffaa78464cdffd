#include "platform/foundation/Timer.h"

#include <gtest/gtest.h>

#include "platform/dispatch/RunLoop.h"

namespace {

using namespace platform;

TEST(Timer, IsValidUntilItHasFiredOrIsInvalidatedInItsBlockOrTheLoopEnds) {
    const auto loop = RunLoop::createForTest();
    const RunLoop::MakeCurrent makeCurrent(loop);
    int ticks = 0;
    const auto once = Timer::scheduledTimer(1, false, [](Timer&) {});
    const auto repeating = Timer::scheduledTimer(1, true, [](Timer&) {});
    const auto stopped = Timer::scheduledTimer(1, true, [&](Timer& sender) {
        sender.invalidate();
        sender.invalidate();
        ticks += !sender.isValid();
    });
    loop->advance(3);
    EXPECT_EQ(ticks, 1);
    EXPECT_FALSE(once->isValid());
    EXPECT_TRUE(repeating->isValid());
    loop->end();
    EXPECT_FALSE(repeating->isValid());
}

}  // namespace
