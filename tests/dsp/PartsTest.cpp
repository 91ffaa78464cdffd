// The kernel's parts on their own: buffers, rings, the delay line, ramps, the panorama, the gate.

#include <algorithm>
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/dsp/KernelRig.h"

namespace {

using namespace qov;
using namespace qov::test;

// Requests: a (allocate) or r (reallocate), the frames asked for, the size that follows, and
// whether the frames are then kept, zeroed or null.
template <class Buffer>
void hold(Buffer& buffer, const std::string& requests, auto channel) {
    std::istringstream in(requests);
    char operation = 0, contents = 0;
    for (int frames = 0, size = 0; in >> operation >> frames >> size >> contents;) {
        SCOPED_TRACE(testing::Message() << operation << frames);
        if constexpr (std::is_same_v<Buffer, DynaBuffer>)
            operation == 'r' ? buffer.reallocate(frames) : buffer.allocate(frames);
        else
            buffer.resize(frames);
        EXPECT_EQ(buffer.getSize(), size);
        float* const samples = channel();
        ASSERT_EQ(samples == nullptr, contents == 'n');
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(samples) % 16, 0u);
        for (int i = 0; i < size; ++i)
            EXPECT_EQ(std::exchange(samples[i], 1.0f), contents == 'k' ? 1.0f : 0.0f) << i;
    }
}

TEST(Buffers, KeepClearGrowAndDropTheirFrames) {
    DynaBuffer one;
    hold(one, "a0 0n a8 8z a3 8k r8 8k a8 8z a9 9z r2 2z a-1 0n a1 1z",
         [&] { return one.getData(); });
    DynaBuffer2 two;
    hold(two, "a8 8z a8 8k a3 3k a8 8k a9 9z a0 0n", [&] { return two.getChannel(1); });
    EXPECT_EQ(two.dataSize, 0);
    two.allocate(4);
    std::fill_n(two.data[0], 4, 1.0f);
    two.allocate(3);
    two.clear();
    EXPECT_EQ(Samples(two.data[0], two.data[0] + 4), (Samples{0, 0, 0, 1})) << "frames in use";
    EXPECT_EQ(two.getChannel(0), two.getData()[0]);
    for (const int index : {2, -1, INT32_MIN}) EXPECT_EQ(two.getChannel(index), nullptr);
}

// A ring of 1 2 3 4 on the left and ten times that on the right, and what each traversal of three
// frames of (7, 70) from its third frame on leaves behind.
TEST(Ring, TraversalsWrapAndNotifyOnTheFrameAfterTheLast) {
    for (const auto& [traversal, expectedRing, block] :
         {std::tuple{'w', Samples{7, 2, 7, 7}, Samples{7, 7, 7}},
          {'r', {1, 2, 3, 4}, {3, 4, 1}},
          {'x', {7, 2, 7, 7}, {3, 4, 1}},
          {'a', {7, 2, 7, 7}, {10, 11, 8}},
          {'n', {1, 2, 3, 4}, {7, 7, 7}}}) {
        CircularBuffer2 ring;
        ring.allocate(4);
        int notified = 0;
        ring.callee = &notified;
        ring.onBuffer = [](void* count) { ++*static_cast<int*>(count); };
        for (int i = 0; i < 4; ++i)
            ring.data[1][i] = 10 * (ring.data[0][i] = static_cast<float>(i + 1));
        ring.rewind(2);
        Samples left(3, 7), right(3, 70);
        float *const l = left.data(), *const r = right.data();
        if (traversal == 'w') ring.write(l, r, 3);
        if (traversal == 'r') ring.read(l, r, 3);
        if (traversal == 'x') ring.exchange(l, r, 3);
        if (traversal == 'a') ring.accumulate(l, r, 3);
        if (traversal == 'n') {
            ring.write(nullptr, r, 3), ring.read(l, nullptr, 3), ring.exchange(l, r, 0);
            ring.exchange(nullptr, r, 3), ring.accumulate(l, nullptr, 3);
        }
        EXPECT_EQ(Samples(ring.data[0], ring.data[0] + 4), expectedRing) << traversal;
        EXPECT_EQ(left, block) << traversal;
        EXPECT_EQ(ring.data[1][2] + right[1], 10 * (expectedRing[2] + block[1]));
        EXPECT_EQ(notified, traversal != 'n');
    }
}

TEST(Ring, RewindsWithinItsSizeAndSkipsPastItsEnd) {
    CircularBuffer2 ring;
    Latency line;
    for (const auto& [frames, pos] :
         {std::pair{0, 1024}, {-1, 1024}, {1024, 0}, {1025, 0}, {1, 1023}, {1024, 0}}) {
        ring.rewind(frames);
        line.rewind(frames);
        EXPECT_EQ(std::pair(ring.pos, line.pos), std::pair(pos, pos)) << frames;
    }
    Samples left(600, 1), right = left;
    for (const int count : {1, 600, 599, 0}) ring.skip(left.data(), right.data(), count);
    EXPECT_EQ(std::pair(left, right), std::pair(Samples(600), Samples(600)));
    EXPECT_EQ(ring.pos, 1200) << "no wrap until the next traversal";
    for (int i = 0; i < 2; ++i) ring.skip(nullptr, nullptr, INT32_MAX);
    ring.write(right.data(), right.data(), 1);
    EXPECT_EQ(ring.pos, 1);
}

TEST(Ring, ResamplesByNearestFramesAveragedWithTheValueBefore) {
    CircularBuffer2 ring;
    EXPECT_EQ(ring.getOutputSize(), 1024);
    ring.isResampler = true;
    ring.allocate(8);
    for (int i = 0; i < 8; ++i) ring.data[1][i] = 2 * (ring.data[0][i] = static_cast<float>(i + 1));
    const auto resampled = [&](int frames) {
        ring.resampled.release();
        ring.allocateResampled(frames);
        EXPECT_EQ(ring.getOutputSize(), frames);
        ring.rewind(0);
        float left = 0, right = 0;
        ring.read(&left, &right, 1);
        EXPECT_EQ(ring.lastValueR, 2 * ring.lastValueL);
        return Samples(ring.resampled.data[0], ring.resampled.data[0] + frames);
    };
    // Frames 0, 2 and 5 of 8/3 each: (1+0)/2, (3+0.5)/2, (6+1.75)/2; the average goes on.
    EXPECT_EQ(resampled(3), (Samples{0.5f, 1.75f, 3.875f}));
    EXPECT_EQ(resampled(2), (Samples{2.4375f, 3.71875f}));
    EXPECT_EQ(resampled(1), Samples{2.359375f});
    EXPECT_EQ(resampled(8), Samples(8)) << "its own size is left alone";
    EXPECT_EQ(resampled(16)[1], (2.359375f + 1) / 4 + 0.5f) << "each frame twice";
    ring.reset();
    EXPECT_EQ(ring.lastValueL + ring.resampled.data[0][15], 0.0f);
}

TEST(DelayLine, AWriteLeavesTheBlockAndIsHeardAfterIt) {
    Latency line;
    Samples in(1024, 0.5f);
    line.write(nullptr, 1);
    line.write(in.data(), 1024);
    EXPECT_EQ(in, Samples(1024, 0.5f));
    line.exchange(nullptr, 1);
    line.exchange(in.data(), 1024);
    EXPECT_EQ(in, Samples(1024, 0.5f));
    line.setLength(-5);
    EXPECT_EQ(line.getSize(), 1);
}

TEST(Ramp, CountsItsDelayDownAndReportsItsArrival) {
    Interpolator ramp;
    EXPECT_EQ(static_cast<void*>(&ramp), &ramp.event) << "the event is the first field";
    int arrivals = 0;
    ramp.callee = &arrivals;
    ramp.event = [](void* callee, Interpolator* self, std::int32_t zero) {
        *static_cast<int*>(callee) += 1 + zero;
        self->currentValue = 5;  // read again after the call
    };
    for (const float step : {-1.0f, 1.0f}) {
        ramp.rest(0);
        ramp.delay = 2;
        ramp.setTarget(16 * step);
        for (const float expected : {0.0f, 0.0f, step, 2 * step}) EXPECT_EQ(ramp.tick(), expected);
        for (int i = 3; i < 16; ++i) ramp.tick();
        EXPECT_EQ(ramp.tick(), 5.0f) << "in the sixteenth step";
        ramp.tick();
    }
    EXPECT_EQ(arrivals, 2);
    ramp.rest(0);
    ramp.setTarget(1e-6f);
    EXPECT_EQ(ramp.currentValue, 0.0f) << "only below a millionth it jumps";
    ramp.setTarget(9e-7f);
    EXPECT_EQ(ramp.currentValue, 9e-7f);
}

TEST(Panpot, FollowsItsRampFrameByFrameWhereItIsSmoothed) {
    for (const float side : {-1.0f, 1.0f}) {
        Panpot smoothed;
        smoothed.lSmoothed = 1;
        smoothed.interp = {side, 0, side / 4, 16, 1};
        Samples near(6, 1), far(6, 0.5f);
        smoothed.process((side < 0 ? near : far).data(), (side < 0 ? far : near).data(), 6);
        EXPECT_FLOAT_EQ(near[2], 0.8f * (1 + 0.5f * 0.5f)) << "after a frame of delay";
        EXPECT_FLOAT_EQ(near[4] + far[5], 0.6f * (1 + 0.5f));
    }
}

TEST(Gate, LeavesAResetToTheThreadThatIsInside) {
    RenderGate gate;
    int rendered = 0, resets = 0;
    const auto reset = [&] {
        EXPECT_FALSE(gate.render([] {}, [] {})) << "no segment during a reset";
        if (++resets == 1) gate.reset([] { FAIL(); });
    };
    const auto render = [&] {
        gate.reset([] { FAIL(); });
        EXPECT_EQ(resets, 0);
        ++rendered;
    };
    EXPECT_TRUE(gate.render(render, reset));
    EXPECT_EQ(std::pair(rendered, resets), std::pair(1, 2)) << "again when asked during a reset";
    gate.reset(reset);
    EXPECT_TRUE(gate.render([&] { ++rendered; }, reset));
    EXPECT_EQ(std::pair(rendered, resets), std::pair(2, 3));
}

}  // namespace
