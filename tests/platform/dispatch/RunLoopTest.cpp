#include "platform/dispatch/RunLoop.h"

#include <sys/resource.h>
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
#include "tests/support/sanitized.h"

namespace {

using platform::DispatchQueue;
using platform::RunLoop;
using ::testing::DoubleEq;
using ::testing::ElementsAre;
using ::testing::Optional;

class RunLoopTest : public testing::Test {
 protected:
    std::shared_ptr<RunLoop> loop = RunLoop::createForTest();
    std::vector<std::string> log;

    auto note(std::string text) {
        return [this, text = std::move(text)] { log.push_back(text); };
    }
};

/// A pipe whose reading end can be watched.
struct Pipe {
    std::array<int, 2> ends{-1, -1};
    Pipe() { EXPECT_EQ(pipe(ends.data()), 0); }
    ~Pipe() {
        for (const int end : ends) close(end);
    }
    void write() const { EXPECT_EQ(::write(ends[1], "x", 1), 1); }
    void read() const {
        char byte = 0;
        EXPECT_EQ(::read(ends[0], &byte, 1), 1);
    }
};

TEST_F(RunLoopTest, ATurnRunsDescriptorsTimersQueueAndObserversInThatOrder) {
    const Pipe pipe;
    ASSERT_TRUE(loop->addFileDescriptor(pipe.ends[0], [&] {
        pipe.read();
        log.emplace_back("descriptor");
    }));
    loop->addBeforeWaiting(note("observer"));
    loop->submit(note("queue"));
    loop->schedule(0.5, false, note("late timer"));
    loop->schedule(0.25, false, note("early timer"));
    pipe.write();
    loop->submit([this] { loop->advance(1); });  // a slow block: both timers are due in one turn
    loop->pump();
    EXPECT_THAT(log, ElementsAre("descriptor", "queue", "observer"));
    log.clear();
    loop->submit(note("queue"));
    loop->pump();
    EXPECT_THAT(log, ElementsAre("early timer", "late timer", "queue", "observer"));
}

TEST_F(RunLoopTest, WorkQueuedByWorkRunsInTheSameTurnButNotForEver) {
    loop->submit([this] { loop->submit([this] { loop->submit(note("three hops")); }); });
    loop->pump();
    EXPECT_THAT(log, ElementsAre("three hops"));

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

TEST_F(RunLoopTest, ATurnInsideATurnDoesNothing) {
    bool inner = true;
    loop->submit([&] {
        loop->submit(note("queued"));
        inner = loop->pump();
        log.emplace_back("outer");
    });
    loop->pump();
    EXPECT_FALSE(inner);
    EXPECT_THAT(log, ElementsAre("outer", "queued"));
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

TEST_F(RunLoopTest, ThousandsOfTicksStayOnTheirGrid) {
    int ticks = 0;
    loop->schedule(0.05F, true, [&] { ++ticks; });
    for (int second = 1; second <= 3600; ++second) {
        loop->advance(1);
        // 0.05F is 0.050000000745 s, so 50,000,001 ns.
        ASSERT_EQ(ticks, second * 1'000'000'000LL / 50'000'001) << second;
    }
}

TEST_F(RunLoopTest, ABlockMayCancelAnyTimerAndADueOneDoesNotFire) {
    RunLoop::TimerID second = 0;
    RunLoop::TimerID own = 0;
    own = loop->schedule(1, true, [&] {
        log.emplace_back("first");
        loop->cancel(own);
        loop->cancel(second);
    });
    second = loop->schedule(1, true, note("second"));
    loop->advance(5);
    EXPECT_THAT(log, ElementsAre("first"));
    EXPECT_FALSE(loop->nextDeadline());
}

TEST_F(RunLoopTest, AnOddIntervalCountsAsTheShortest) {
    int ticks = 0;
    for (const double interval : {0.0, -1.0, 1e-9, -HUGE_VAL, std::nan("")})
        loop->schedule(interval, true, [&] { ++ticks; });
    loop->advance(0.001);
    EXPECT_EQ(ticks, 5 * 10);
}

TEST_F(RunLoopTest, ATimerForNeverDoesNotOverflow) {
    loop->schedule(HUGE_VAL, true, note("never"));
    loop->schedule(1e300, false, note("never"));
    loop->advance(1e6);
    EXPECT_TRUE(log.empty());
    EXPECT_GT(*loop->nextDeadline(), 1e8);
}

TEST_F(RunLoopTest, MainIsTheCurrentLoopAndBlocksSeeTheirOwnAsCurrent) {
    const auto other = RunLoop::createForTest();
    EXPECT_EQ(&RunLoop::current(), &RunLoop::main());
    const RunLoop::MakeCurrent outer(loop);
    {
        const RunLoop::MakeCurrent inner(other);
        EXPECT_EQ(&RunLoop::current(), other.get());
    }
    EXPECT_EQ(&RunLoop::current(), loop.get());

    // A queue is bound to the loop it was taken from, whoever uses it and wherever.
    const auto queue = DispatchQueue::main();
    std::thread([&] {
        EXPECT_EQ(&RunLoop::current(), &RunLoop::main());
        queue.async([&] {
            EXPECT_EQ(&RunLoop::current(), loop.get());
            DispatchQueue::main().async(note("second hop"));
        });
    }).join();
    other->pump();
    EXPECT_TRUE(log.empty());
    loop->pump();
    EXPECT_THAT(log, ElementsAre("second hop"));
}

TEST_F(RunLoopTest, EndLetsGoOfEverythingAndRefusesMore) {
    const auto held = std::make_shared<int>();
    const Pipe pipe;
    const auto hold = [held] {};
    const auto fill = [&] {
        loop->submit(hold);
        loop->schedule(1, true, hold);
        loop->addBeforeWaiting(hold);
        loop->addFileDescriptor(pipe.ends[0], hold);
    };
    fill();
    EXPECT_EQ(held.use_count(), 6);  // the four, `hold` and `held`
    loop->end();
    EXPECT_EQ(held.use_count(), 2);
    fill();
    EXPECT_EQ(held.use_count(), 2);
    EXPECT_FALSE(loop->pump());
    EXPECT_TRUE(loop->hasEnded());
}

TEST_F(RunLoopTest, ABlockMayEndTheLoopAndLetGoOfItsLastOwner) {
    const std::weak_ptr<RunLoop> weak = loop;
    loop->submit([this] {
        loop->end();
        loop.reset();
    });
    loop->submit(note("too late"));
    RunLoop* turning = loop.get();
    turning->pump();
    EXPECT_TRUE(weak.expired());
    EXPECT_TRUE(log.empty());
}

TEST_F(RunLoopTest, CapturesThatCallTheLoopFromTheirDestructorsDoNotBlock) {
    struct Caller {
        explicit Caller(RunLoop* caller) : loop(caller) {}
        ~Caller() {
            loop->submit([] {});
            loop->cancel(loop->schedule(1, true, [] {}));
        }
        RunLoop* loop;
    };
    const auto timer = loop->schedule(1, true, [c = std::make_shared<Caller>(loop.get())] {});
    loop->cancel(timer);
    loop->submit([c = std::make_shared<Caller>(loop.get())] {});
    loop->schedule(1, true, [c = std::make_shared<Caller>(loop.get())] {});
    loop->end();
    loop->submit([c = std::make_shared<Caller>(loop.get())] {});
    EXPECT_FALSE(loop->nextDeadline());
}

TEST_F(RunLoopTest, DescriptorsAreWatchedUntilRemoved) {
    const Pipe pipe;
    ASSERT_TRUE(loop->addFileDescriptor(pipe.ends[0], note("first")));
    ASSERT_TRUE(loop->addFileDescriptor(pipe.ends[0], note("replaced")));
    EXPECT_FALSE(loop->pump());
    pipe.write();
    loop->pump();
    loop->pump();  // still unread
    loop->removeFileDescriptor(pipe.ends[0]);
    loop->pump();
    EXPECT_THAT(log, ElementsAre("replaced", "replaced"));
    EXPECT_FALSE(loop->addFileDescriptor(-1, note("closed")));
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

TEST(RunLoopWait, ItsDescriptorShowsWorkToAForeignLoop) {
    const auto loop = RunLoop::createForTest();
    const auto outer = RunLoop::create();
    const Pipe pipe;
    loop->submit([] {});  // before anybody asked for the descriptor
    int turns = 0;
    ASSERT_TRUE(outer->addFileDescriptor(loop->fileDescriptor(), [&] {
        ++turns;
        loop->pump();
    }));
    EXPECT_TRUE(outer->pump());
    EXPECT_FALSE(outer->pump());
    loop->submit([] {});
    loop->submit([] {});
    EXPECT_TRUE(outer->pump());
    EXPECT_FALSE(outer->pump());
    loop->addFileDescriptor(pipe.ends[0], [&] { pipe.read(); });
    pipe.write();
    EXPECT_TRUE(outer->pump());
    EXPECT_FALSE(outer->pump());
    EXPECT_EQ(turns, 3);
}

TEST(RunLoopWait, ALoopThatIsOnlyPumpedOpensNoDescriptorAndOneThatGetsNoneStillTurns) {
#ifdef QOV_SANITIZED
    GTEST_SKIP() << "the sanitizers need descriptors of their own";
#endif
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const auto loop = RunLoop::create();
    int runs = 0;
    loop->schedule(1e-4, false, [&] { ++runs; });
    while (runs == 0) loop->pump();
    EXPECT_EQ(loop->fileDescriptor(), -1);
    EXPECT_FALSE(loop->addFileDescriptor(0, [] {}));
    std::thread other([&] { loop->submit([&] { ++runs; }); });
    while (runs == 1) loop->runOnce(60);
    other.join();
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_GE(loop->fileDescriptor(), 0);
}

TEST(RunLoopThreads, EverySubmissionOfAStormRunsOnceInTheOrderOfItsThread) {
    constexpr int kThreads = 4;
    constexpr int kEach = 50'000;
    const auto loop = RunLoop::create();
    std::array<int, kThreads> next{};
    int wrong = 0;
    std::atomic<int> running{kThreads};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            const RunLoop::MakeCurrent makeCurrent(loop);
            for (int i = 0; i < kEach; ++i) {
                DispatchQueue::main().async([&, thread, i] {
                    // The hop behind the hop, as the parameter observer makes it.
                    DispatchQueue::main().async([&, thread, i] { wrong += next[thread]++ != i; });
                });
            }
            --running;
        });
    }
    int ticks = 0;
    loop->schedule(1e-3, true, [&] { ++ticks; });
    while (running > 0) loop->runOnce(1);
    for (auto& thread : threads) thread.join();
    loop->pump();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(next, (std::array<int, kThreads>{kEach, kEach, kEach, kEach}));
}

TEST(RunLoopThreads, EndingWhileOthersSubmitAndScheduleIsSafe) {
    for (int round = 0; round < 50; ++round) {
        const auto loop = RunLoop::create();
        std::atomic<bool> started{false};
        std::thread other([&] {
            for (int i = 0; i < 200; ++i) {
                loop->submit([] {});
                loop->cancel(loop->schedule(1, true, [] {}));
                loop->schedule(1e-4, true, [] {});
                started = true;
            }
        });
        while (!started) loop->pump();
        loop->end();
        other.join();
        EXPECT_FALSE(loop->nextDeadline());
    }
}

}  // namespace
