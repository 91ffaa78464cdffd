#include "platform/dispatch/RunLoop.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/dispatch/DispatchQueue.h"

namespace {

using platform::DispatchQueue;
using platform::RunLoop;
using ::testing::DoubleEq;
using ::testing::ElementsAre;
using ::testing::Optional;

class RunLoopTest : public testing::Test {
 protected:
    ~RunLoopTest() override { close(event); }
    auto note(std::string text) {
        return [this, text = std::move(text)] { log.push_back(text); };
    }
    void raise() const { eventfd_write(event, 1); }
    void clear() const {
        eventfd_t count = 0;
        eventfd_read(event, &count);
    }

    std::shared_ptr<RunLoop> loop = RunLoop::createForTest();
    std::vector<std::string> log;
    const int event = eventfd(0, EFD_CLOEXEC);
};

TEST_F(RunLoopTest, ATurnRunsDescriptorsTimersQueueAndObserversInThatOrder) {
    ASSERT_TRUE(loop->addFileDescriptor(event, [&] {
        clear();
        log.emplace_back("descriptor");
    }));
    loop->addBeforeWaiting(note("observer"));
    loop->submit(note("queue"));
    loop->schedule(0.5, false, note("late timer"));
    loop->schedule(0.25, false, note("early timer"));
    raise();
    loop->submit([this] { loop->advance(1); });  // a slow block: both timers are due in one turn
    loop->pump();
    EXPECT_THAT(log, ElementsAre("descriptor", "queue", "observer"));
    log.clear();
    loop->submit(note("queue"));
    loop->pump();
    EXPECT_THAT(log, ElementsAre("early timer", "late timer", "queue", "observer"));
}

TEST_F(RunLoopTest, NestedSubmissionsRunInTheSameTurnUpToALimitAndNestedTurnsAreNoOps) {
    loop->submit([this] {
        loop->submit([this] { loop->submit(note("three hops")); });
        EXPECT_FALSE(loop->pump());
        log.emplace_back("outer");
    });
    loop->pump();
    EXPECT_THAT(log, ElementsAre("outer", "three hops"));

    int runs = 0;
    std::function<void()> again = [&] {
        ++runs;
        loop->submit(again);
    };
    loop->submit(again);
    EXPECT_TRUE(loop->pump());
    EXPECT_EQ(runs, RunLoop::kHops);
    EXPECT_THAT(loop->nextDeadline(), Optional(DoubleEq(loop->now())));
}

TEST_F(RunLoopTest, MissedTicksAreOneAndTheNextIsBackOnTheGrid) {
    double clock = 10;
    const auto real = RunLoop::create([&] { return clock; });
    std::vector<double> ticks;
    real->schedule(0.1, true, [&] { ticks.push_back(real->now()); });
    for (const double time : {10.09, 10.1, 10.19, 10.57, 10.58, 10.6, 10.71}) {
        clock = time;
        real->pump();
    }
    EXPECT_THAT(ticks,
                ElementsAre(DoubleEq(10.1), DoubleEq(10.57), DoubleEq(10.6), DoubleEq(10.71)));
    EXPECT_THAT(real->nextDeadline(), Optional(DoubleEq(10.8)));
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
    for (const double interval : {HUGE_VAL, 1e300}) loop->schedule(interval, true, note("never"));
    loop->advance(0.001);
    EXPECT_EQ(shortest, 5 * 10);
    EXPECT_TRUE(log.empty());
}

TEST_F(RunLoopTest, ABlockMayCancelDueTimersAndEndTheLoopAndReleaseItsLastOwner) {
    RunLoop::TimerID own = 0, second = 0;
    own = loop->schedule(1, true, [&] {
        log.emplace_back("first");
        loop->cancel(own);
        loop->cancel(second);
    });
    second = loop->schedule(1, true, note("second"));
    loop->advance(5);
    EXPECT_THAT(log, ElementsAre("first"));
    EXPECT_FALSE(loop->nextDeadline());
    const std::weak_ptr<RunLoop> weak = loop;
    loop->submit([this] {
        loop->end();
        loop.reset();
    });
    loop->submit(note("too late"));
    loop.get()->pump();
    EXPECT_TRUE(weak.expired());
    EXPECT_THAT(log, ElementsAre("first"));
}

TEST_F(RunLoopTest, TheCurrentLoopNestsAndIsPerThread) {
    const auto other = RunLoop::createForTest();
    const RunLoop::MakeCurrent outer(loop);
    {
        const RunLoop::MakeCurrent inner(other);
        EXPECT_EQ(&RunLoop::current(), other.get());
    }
    EXPECT_EQ(&RunLoop::current(), loop.get());
    std::thread([] { EXPECT_EQ(&RunLoop::current(), &RunLoop::main()); }).join();
}

TEST_F(RunLoopTest, EndReleasesEverythingAndRefusesMore) {
    /// Calls the loop from its destructor, which must not block.
    struct Caller {
        explicit Caller(RunLoop* caller) : loop(caller) {}
        ~Caller() {
            loop->submit([] {});
            loop->cancel(loop->schedule(1, true, [] {}));
        }
        RunLoop* loop;
    };
    std::weak_ptr<Caller> held;
    const auto fill = [&] {
        const auto caller = std::make_shared<Caller>(loop.get());
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
    EXPECT_FALSE(loop->pump());
    EXPECT_FALSE(loop->nextDeadline());
}

TEST_F(RunLoopTest, DescriptorsAreWatchedUntilRemoved) {
    ASSERT_TRUE(loop->addFileDescriptor(event, note("first")));
    ASSERT_TRUE(loop->addFileDescriptor(event, note("replaced")));
    EXPECT_FALSE(loop->pump());
    raise();
    loop->pump();
    loop->pump();  // still unread
    loop->removeFileDescriptor(event);
    loop->pump();
    EXPECT_THAT(log, ElementsAre("replaced", "replaced"));
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

TEST(RunLoopWait, RunsUntilItIsStoppedEvenBeforeItBegan) {
    const auto loop = RunLoop::create();
    loop->stop();
    loop->run();
    loop->schedule(1e-4, false, [&] { loop->stop(); });
    loop->run();
    std::thread other([&] { loop->end(); });
    loop->run();
    other.join();
    loop->run();
    EXPECT_TRUE(loop->hasEnded());
}

TEST(RunLoopThreads, EverySubmissionOfAStormRunsOnceInTheOrderOfItsThread) {
    constexpr int kThreads = 4, kEach = 50'000;
    const auto loop = RunLoop::create();
    std::array<int, kThreads> next{};
    std::atomic<int> running{kThreads};
    int wrong = 0;
    std::vector<std::thread> threads;
    for (int& mine : next) {
        threads.emplace_back([&] {
            const RunLoop::MakeCurrent makeCurrent(loop);
            for (int i = 0; i < kEach; ++i) {
                DispatchQueue::main().async(
                    [&, i] { DispatchQueue::main().async([&, i] { wrong += mine++ != i; }); });
            }
            --running;
        });
    }
    loop->schedule(1e-3, true, [] {});
    while (running > 0) loop->runOnce(1);
    for (auto& thread : threads) thread.join();
    loop->pump();
    EXPECT_EQ(wrong, 0);
    EXPECT_THAT(next, testing::Each(kEach));
}

TEST(RunLoopThreads, EndingWhileOthersSubmitAndScheduleIsSafe) {
    for (int round = 0; round < 50; ++round) {
        const auto loop = RunLoop::create();
        std::atomic<int> started{0};
        std::thread other([&] {
            for (; started < 200; ++started) {
                loop->submit([] {});
                loop->cancel(loop->schedule(1, true, [] {}));
                loop->schedule(1e-4, true, [] {});
            }
        });
        while (started == 0) loop->pump();
        loop->end();
        other.join();
        EXPECT_FALSE(loop->nextDeadline());
    }
}

}  // namespace
