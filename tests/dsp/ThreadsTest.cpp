// A second thread changes and resets the kernel while it renders.

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "dsp/relaxed.h"
#include "tests/dsp/KernelRig.h"
#include "tests/dsp/realTimeGuard.h"

namespace {

using namespace qov;
using namespace qov::test;

TEST(Gate, LeavesAResetToTheThreadThatIsInside) {
    RenderGate gate;
    std::string calls;
    const auto ask = [&] { gate.reset([&] { calls += "never"; }); };
    const auto reset = [&] {
        calls += "reset ";
        EXPECT_FALSE(gate.render([] {}, [] {})) << "no segment during a reset";
        if (calls.size() < 20) ask();
    };
    const auto render = [&] {
        ask();
        ask();
        calls += "rendered ";
    };
    EXPECT_TRUE(gate.render(render, reset));
    EXPECT_EQ(calls, "rendered reset reset ") << "again when asked during a reset";
    gate.reset(reset);
    EXPECT_TRUE(gate.render([&] { calls += "rendered"; }, reset));
    EXPECT_EQ(calls, "rendered reset reset reset rendered");
}

TEST(Threads, AStormOfResetsAndParametersLeavesASoundKernel) {
    KernelRig rig(192000);
    auto& kernel = rig.kernel;
    std::atomic<bool> rendering{true};
    std::atomic<int> turns{0};
    std::thread host([&] {
        for (int turn = 0; rendering; ++turn) {
            kernel.setParameter(kBypass, static_cast<float>(turn % 2));
            kernel.setParameter(kPhaseShift, static_cast<float>(turn % 5) / 4);
            kernel.setParameter(static_cast<std::uint64_t>(turn % 7),
                                static_cast<float>(turn % 3) / 2);
            if (turn % 3 == 0) kernel.reset();
            turns = turn;
        }
    });
    std::thread editor([&] {
        for (std::size_t tick = 0; rendering; ++tick) {
            EXPECT_TRUE(std::isfinite(kernel.getParameter(kPhaseShift)));
            EXPECT_GT(kernel.latency.getSize(), 0);
            storeRelaxed(kernel.isNewBufferAvailable, false);
            // The live ring, as a display reads it: a frame may be of two turns.
            EXPECT_LE(std::fabs(kernel.circular.getChannel(0)[tick % 2048]), 4.0f);
            std::this_thread::yield();
        }
    });
    for (int cycle = 0; cycle < 4000 || turns < 1000; ++cycle) {
        Samples left(1 + cycle % 97, 0.5f), right(left.size(), -0.25f);
        rig.render(left, right);
        for (std::size_t i = 0; i < left.size(); ++i) {
            ASSERT_LE(std::fabs(left[i]), 4.0f) << "of a cycle " << cycle;
            ASSERT_LE(std::fabs(right[i]), 4.0f);
        }
    }
    rendering = false;
    host.join();
    editor.join();
}

// The conformance suite renders under this filter.
TEST(RealTimeGuard, KillsASystemCall) {
    const int status = statusWithoutSystem([] { getppid(); });
    if (status == 77) GTEST_SKIP() << "no filter to be had here";
    EXPECT_TRUE(WIFSIGNALED(status));
}

}  // namespace
