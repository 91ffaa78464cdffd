// The buffers on their own: which request keeps, clears, grows or drops what, and how rings turn.

#include <algorithm>
#include <numeric>

#include <gtest/gtest.h>

#include "tests/dsp/KernelRig.h"

namespace {

using namespace qov;
using namespace qov::test;

struct Request {
    char operation;  // allocate, or for one channel reallocate
    int frames, size;
    char contents;  // kept, zeroed or none
};

template <class Buffer>
void hold(Buffer& buffer, const std::vector<Request>& requests, auto channel) {
    for (const auto& [operation, frames, size, contents] : requests) {
        SCOPED_TRACE(std::string(1, operation) + std::to_string(frames));
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
    hold(one,
         {{'a', 0, 0, 'n'},
          {'a', 8, 8, 'z'},
          {'a', 3, 8, 'k'},
          {'r', 8, 8, 'k'},
          {'a', 8, 8, 'z'},
          {'a', 9, 9, 'z'},
          {'r', 2, 2, 'z'},
          {'a', -1, 0, 'n'},
          {'a', 1, 1, 'z'}},
         [&] { return one.getData(); });
    DynaBuffer2 two;
    hold(two,
         {{'a', 8, 8, 'z'},
          {'a', 8, 8, 'k'},
          {'a', 3, 3, 'k'},
          {'a', 8, 8, 'k'},
          {'a', 9, 9, 'z'},
          {'a', 0, 0, 'n'}},
         [&] { return two.getChannel(1); });
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
    using Ring = CircularBuffer2;
    struct Case {
        void (*run)(Ring&, float*, float*);
        Samples ring, block;
        int notified;
    };
    constexpr auto exchangeTwo = [](Ring& ring, float* l, float* r) { ring.exchange(l, r, 2); };
    constexpr auto nothing = [](Ring& ring, float* l, float* r) {
        ring.write(nullptr, r, 3), ring.read(l, nullptr, 3), ring.exchange(l, r, 0);
        ring.exchange(nullptr, r, 3), ring.accumulate(l, nullptr, 3);
    };
    const std::vector<Case> cases = {
        {[](Ring& ring, float* l, float* r) { ring.write(l, r, 3); }, {7, 2, 7, 7}, {7, 7, 7}, 1},
        {[](Ring& ring, float* l, float* r) { ring.read(l, r, 3); }, {1, 2, 3, 4}, {3, 4, 1}, 1},
        {[](Ring& ring, float* l, float* r) { ring.exchange(l, r, 3); },
         {7, 2, 7, 7},
         {3, 4, 1},
         1},
        {[](Ring& ring, float* l, float* r) { ring.accumulate(l, r, 3); },
         {7, 2, 7, 7},
         {10, 11, 8},
         1},
        {exchangeTwo, {1, 2, 7, 7}, {3, 4, 7}, 0},
        {nothing, {1, 2, 3, 4}, {7, 7, 7}, 0}};
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases.data());
        Ring ring;
        ring.allocate(4);
        int notified = 0;
        ring.callee = &notified;
        ring.onBuffer = [](void* count) { ++*static_cast<int*>(count); };
        for (int i = 0; i < 4; ++i)
            ring.data[1][i] = 10 * (ring.data[0][i] = static_cast<float>(i + 1));
        ring.rewind(2);
        Samples left(3, 7), right(3, 70);
        one.run(ring, left.data(), right.data());
        EXPECT_EQ(Samples(ring.data[0], ring.data[0] + 4), one.ring);
        EXPECT_EQ(ring.data[1][2], 10 * one.ring[2]);
        EXPECT_EQ(left, one.block);
        EXPECT_EQ(right[1], 10 * one.block[1]);
        EXPECT_EQ(notified, one.notified);
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
    Samples left(600, 1), right(600, 1);
    for (const int count : {1, 600, 599, 0}) ring.skip(left.data(), right.data(), count);
    EXPECT_EQ(left, Samples(600));
    EXPECT_EQ(right, Samples(600));
    EXPECT_EQ(ring.pos, 1200) << "no wrap until the next traversal";
    for (int i = 0; i < 2; ++i) ring.skip(nullptr, nullptr, INT32_MAX);
    left[0] = 5;
    ring.write(left.data(), right.data(), 1);
    EXPECT_EQ(ring.data[0][0], 5.0f);
    EXPECT_EQ(ring.pos, 1);
    ring.reset();
    EXPECT_EQ(ring.data[0][0] + static_cast<float>(ring.pos), 0.0f);
}

TEST(Ring, ResamplesByNearestFramesAveragedWithTheValueBefore) {
    CircularBuffer2 ring;
    EXPECT_EQ(ring.getOutputSize(), 1024);
    ring.isResampler = true;
    ring.allocate(8);
    for (int i = 0; i < 8; ++i) ring.data[0][i] = ring.data[1][i] = static_cast<float>(i);
    const auto resampled = [&](int frames) {
        ring.resampled.release();
        ring.allocateResampled(frames);
        EXPECT_EQ(ring.getOutputSize(), frames);
        ring.rewind(0);
        float left = 0, right = 0;
        ring.read(&left, &right, 1);
        EXPECT_EQ(ring.lastValueL, ring.lastValueR);
        return Samples(ring.resampled.data[1], ring.resampled.data[1] + frames);
    };
    // Frames 0, 2 and 5 of 8/3 each: (0+0)/2, (2+0)/2, (5+1)/2; the average goes on from there.
    EXPECT_EQ(resampled(3), (Samples{0, 1, 3}));
    EXPECT_EQ(resampled(2), (Samples{1.5f, 2.75f}));
    EXPECT_EQ(resampled(1), Samples{1.375f});
    EXPECT_EQ(resampled(8), Samples(8)) << "its own size is left alone";
    EXPECT_EQ(resampled(16)[2], ((1.375f / 4) + 1) / 2) << "more frames than there are: each twice";
    ring.reset();
    EXPECT_EQ(ring.lastValueL + ring.lastValueR + ring.resampled.data[0][15], 0.0f);
}

TEST(DelayLine, DelaysByItsLengthAndRepeatsAFrameWhereTheLengthChanges) {
    Latency line;
    EXPECT_EQ(std::pair(line.getSize(), line.lSize), std::pair(1024, 1024));
    line.setLength(3);
    line.reset();
    EXPECT_EQ(line.pos, 1024);
    Samples block(10);
    std::iota(block.begin(), block.end(), 1.0f);
    line.exchange(block.data(), 10);
    EXPECT_EQ(block, (Samples{0, 0, 0, 1, 2, 3, 4, 5, 6, 7})) << "nothing before the first frame";
    line.setLength(-5);
    EXPECT_EQ(line.getSize(), 1);
    Samples next = {11, 12, 13, 14, 15};
    line.exchange(next.data(), 5);
    // 8 and 9 come to the wrap; then one frame long, it repeats the 9 and loses the 10.
    EXPECT_EQ(next, (Samples{8, 9, 9, 13, 14}));
    line.setLength(2);
    Samples more = {16, 17};
    line.exchange(more.data(), 2);
    // At the first frame of a block the last one before; then an old frame of the kept storage.
    EXPECT_EQ(more, (Samples{14, 11}));
}

TEST(DelayLine, WritesLikeItExchangesButLeavesTheBlock) {
    Latency written, exchanged;
    Samples in(1500, 0.5f), block = in;
    written.write(in.data(), 1500);
    exchanged.exchange(block.data(), 1500);
    EXPECT_EQ(in, Samples(1500, 0.5f));
    written.write(nullptr, 1);
    exchanged.exchange(nullptr, 1);
    written.lSize = 0;
    written.write(in.data(), 1);
    EXPECT_EQ(written.pos, exchanged.pos);
    EXPECT_EQ(difference("line", written.data, exchanged.data, 1024), "");
}

}  // namespace
