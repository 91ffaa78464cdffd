#include "platform/dispatch/RunLoop.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "platform/dispatch/DispatchQueue.h"

namespace {

using platform::DispatchQueue;
using platform::RunLoop;

class RunLoopTest : public testing::Test {
 protected:
    ~RunLoopTest() override { close(event); }
    auto note(std::string text) {
        return [this, text = std::move(text)] { log += text + " "; };
    }
    std::string taken() { return std::exchange(log, {}); }
    void raise() const { eventfd_write(event, 1); }
    void clear() const {
        eventfd_t count = 0;
        eventfd_read(event, &count);
    }

    std::shared_ptr<RunLoop> loop = RunLoop::createForTest();
    std::string log;
    const int event = eventfd(0, EFD_CLOEXEC);
};

TEST_F(RunLoopTest, ATurnRunsDescriptorsTimersQueueAndObserversInThatOrder) {
    ASSERT_TRUE(loop->addFileDescriptor(event, [&] {
        clear();
        log += "descriptor ";
    }));
    loop->addBeforeWaiting(note("observer"));
    loop->submit(note("queue"));
    loop->schedule(0.5, false, note("late"));
    loop->schedule(0.25, false, note("early"));
    raise();
    loop->submit([this] { loop->advance(1); });  // a slow block: both timers are due in one turn
    loop->pump();
    EXPECT_EQ(taken(), "descriptor queue observer ");
    loop->submit(note("queue"));
    loop->pump();
    EXPECT_EQ(taken(), "early late queue observer ");
}

TEST_F(RunLoopTest, NestedSubmissionsRunInTheSameTurnUpToALimitAndNestedTurnsAreNoOps) {
    int runs = 0;
    std::function<void()> again = [&] {
        ++runs;
        loop->submit(again);
        EXPECT_FALSE(loop->pump());
    };
    loop->submit(again);
    EXPECT_TRUE(loop->pump());
    EXPECT_EQ(runs, RunLoop::kHops);
    EXPECT_EQ(loop->nextDeadline(), loop->now());
}

TEST_F(RunLoopTest, MissedTicksAreOneAndTheNextIsBackOnTheGrid) {
    double clock = 10;
    const auto real = RunLoop::create([&] { return clock; });
    real->schedule(0.1, true, [&] { log += std::to_string(real->now()).substr(0, 5) + " "; });
    for (const double time : {10.09, 10.1, 10.19, 10.57, 10.58, 10.6, 10.71}) {
        clock = time;
        real->pump();
    }
    EXPECT_EQ(log, "10.10 10.57 10.60 10.71 ");
    EXPECT_NEAR(real->nextDeadline().value(), 10.8, 1e-9);
}

TEST_F(RunLoopTest, IntervalsAreWholeNanosecondsAtLeastTheShortestAndMayNeverEnd) {
    int ticks = 0, shortest = 0;
    loop->schedule(0.05F, true, [&] { ++ticks; });  // 50,000,000.745 ns: rounded to 50,000,001
    for (int minute = 1; minute <= 60; ++minute) {
        loop->advance(60);
        ASSERT_EQ(ticks, minute * 60'000'000'000LL / 50'000'001) << minute;
    }
    for (const double interval : {0.0, -1.0, 1e-9, -HUGE_VAL, std::nan("")})
        loop->schedule(interval, true, [&] { ++shortest; });
    loop->schedule(HUGE_VAL, true, note("never"));
    loop->advance(0.001);
    EXPECT_EQ(shortest, 5 * 10);
    EXPECT_EQ(log, "");
}

TEST_F(RunLoopTest, ABlockMayCancelDueTimersAndEndTheLoopAndReleaseItsLastOwner) {
    RunLoop::TimerID own = 0, second = 0;
    own = loop->schedule(1, true, [&] {
        log += "first ";
        loop->cancel(own);
        loop->cancel(second);
    });
    second = loop->schedule(1, true, note("second"));
    loop->advance(5);
    EXPECT_EQ(taken(), "first ");
    const std::weak_ptr<RunLoop> weak = loop;
    loop->submit([this] {
        loop->end();
        loop.reset();
    });
    loop->submit(note("too late"));
    loop.get()->pump();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(log, "");
}

TEST_F(RunLoopTest, EndReleasesEverythingAndRefusesMore) {
    std::weak_ptr<RunLoop> held;
    const auto fill = [&] {
        // Calls the loop on its way out, which must not block.
        const std::shared_ptr<RunLoop> caller(loop.get(), [](RunLoop* of) {
            of->submit([] {});
            of->cancel(of->schedule(1, true, [] {}));
        });
        held = caller;
        const auto hold = [caller] {};
        loop->submit(hold);
        loop->cancel(loop->schedule(1, true, hold));
        loop->schedule(1, true, hold);
        loop->addBeforeWaiting(hold);
        loop->addFileDescriptor(event, hold);
    };
    fill();
    EXPECT_EQ(held.use_count(), 4);
    loop->end();
    EXPECT_TRUE(held.expired());
    fill();
    EXPECT_TRUE(held.expired());
    EXPECT_FALSE(loop->pump() || loop->nextDeadline());
}

TEST_F(RunLoopTest, DescriptorsAreWatchedUntilRemoved) {
    ASSERT_TRUE(loop->addFileDescriptor(event, note("first")));
    ASSERT_TRUE(loop->addFileDescriptor(event, note("replaced")));
    raise();
    loop->pump();
    loop->pump();  // still unread
    loop->removeFileDescriptor(event);
    loop->pump();
    EXPECT_EQ(log, "replaced replaced ");
    EXPECT_FALSE(loop->addFileDescriptor(-1, note("closed")));
}

TEST_F(RunLoopTest, ItsDescriptorShowsWorkToAForeignLoop) {
    const auto outer = RunLoop::create();
    loop->submit([] {});  // before the descriptor exists
    ASSERT_TRUE(outer->addFileDescriptor(loop->fileDescriptor(), [&] { loop->pump(); }));
    for (const bool watched : {false, true}) {
        loop->submit([] {});
        if (watched) loop->addFileDescriptor(event, [&] { clear(); });
        if (watched) raise();
        EXPECT_TRUE(outer->pump());
        EXPECT_FALSE(outer->pump());
    }
}

TEST(RunLoopThreads, RunEndsWhenItIsStoppedEvenBeforeItBegan) {
    const auto loop = RunLoop::create();
    loop->stop();
    loop->run();
    loop->schedule(1e-4, false, [&] { loop->stop(); });
    loop->run();
    std::thread other([&] { loop->end(); });
    loop->run();
    other.join();
    EXPECT_TRUE(loop->hasEnded());
}

TEST(RunLoopThreads, EverySubmissionOfAStormRunsOnceInTheOrderOfItsThreadAndTheEndIsSafe) {
    constexpr int kEach = 50'000;
    const auto loop = RunLoop::create();
    std::vector<int> next(4);
    std::atomic<int> running = 4;
    int wrong = 0;
    std::vector<std::thread> threads;
    for (int& mine : next)
        threads.emplace_back([&] {
            const RunLoop::MakeCurrent makeCurrent(loop);
            for (int i = 0; i < kEach; ++i)
                DispatchQueue::main().async(
                    [&, i] { DispatchQueue::main().async([&, i] { wrong += mine++ != i; }); });
            --running;
            for (int i = 0; i < 500; ++i) {
                loop->submit([] {});
                loop->cancel(loop->schedule(1e-3, true, [] {}));
            }
        });
    loop->schedule(1e-3, true, [] {});
    while (running > 0) loop->runOnce(1);
    loop->pump();
    EXPECT_EQ(wrong, 0);
    EXPECT_THAT(next, testing::Each(kEach));
    loop->end();
    for (auto& thread : threads) thread.join();
    EXPECT_FALSE(loop->nextDeadline());
}

}  // namespace
