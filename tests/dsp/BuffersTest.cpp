// The buffers on their own: which request keeps, clears, grows or drops what, and how rings turn.

#include <numeric>

#include <gtest/gtest.h>

#include "tests/dsp/KernelRig.h"

namespace {

using namespace qov;
using namespace qov::test;

TEST(DynaBufferRules, AllocateAndReallocate) {
    DynaBuffer buffer;
    EXPECT_EQ(buffer.allocate(0), nullptr);
    ASSERT_NE(buffer.allocate(8), nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer.data) % 16, 0u);
    std::fill_n(buffer.data, 8, 1.0f);
    buffer.allocate(3);
    EXPECT_EQ(buffer.getSize(), 8) << "a smaller request changes nothing";
    EXPECT_EQ(buffer.data[2], 1.0f);
    buffer.reallocate(8);
    EXPECT_EQ(buffer.data[7], 1.0f) << "reallocate keeps its own size";
    buffer.resize(8);
    EXPECT_EQ(buffer.data[7], 0.0f) << "allocate clears its own size";
    buffer.data[0] = 1;
    buffer.allocate(9);
    EXPECT_EQ(Samples(buffer.data, buffer.data + 9), Samples(9)) << "larger is fresh";
    buffer.data[0] = 1;
    buffer.reallocate(2);
    EXPECT_EQ(Samples(buffer.data, buffer.data + 2), Samples(2));
    EXPECT_EQ(buffer.getSize(), 2);
    buffer.allocate(-1);
    EXPECT_EQ(buffer.getData(), nullptr);
    EXPECT_EQ(buffer.getSize(), 0);
    EXPECT_NE(buffer.allocate(1), nullptr);
}

TEST(DynaBuffer2Rules, AllocateAndChannels) {
    DynaBuffer2 buffer;
    buffer.allocate(8);
    EXPECT_EQ(buffer.getChannel(0), buffer.getData()[0]);
    EXPECT_EQ(buffer.getChannel(1), buffer.getData()[1]);
    for (const int index : {2, -1, INT32_MIN}) EXPECT_EQ(buffer.getChannel(index), nullptr);
    std::fill_n(buffer.data[1], 8, 1.0f);
    buffer.allocate(8);
    EXPECT_EQ(buffer.data[1][0], 1.0f) << "its own size is not cleared";
    buffer.allocate(3);
    EXPECT_EQ(buffer.getSize(), 3);
    buffer.clear();
    EXPECT_EQ(buffer.data[1][2], 0.0f);
    EXPECT_EQ(buffer.data[1][3], 1.0f) << "frames beyond the size are kept";
    buffer.resize(8);
    EXPECT_EQ(buffer.data[1][7], 1.0f) << "and come back";
    buffer.allocate(9);
    EXPECT_EQ(Samples(buffer.data[1], buffer.data[1] + 9), Samples(9));
    buffer.allocate(0);
    EXPECT_EQ(buffer.getChannel(0), nullptr);
    EXPECT_EQ(buffer.dataSize, 0);
}

// A ring of 4 that holds 1 2 3 4 on the left and 10 20 30 40 on the right, and what each traversal
// of three frames of (7, 70) from its third frame on leaves behind.
TEST(Ring, TraversalsWrapAndNotifyOnTheFrameAfterTheLast) {
    struct Case {
        void (*run)(CircularBuffer2&, float*, float*);
        Samples ring, block;
        int notified;
    };
    const std::vector<Case> cases = {
        {[](auto& ring, float* l, float* r) { ring.write(l, r, 3); }, {7, 2, 7, 7}, {7, 7, 7}, 1},
        {[](auto& ring, float* l, float* r) { ring.read(l, r, 3); }, {1, 2, 3, 4}, {3, 4, 1}, 1},
        {[](auto& ring, float* l, float* r) { ring.exchange(l, r, 3); },
         {7, 2, 7, 7},
         {3, 4, 1},
         1},
        {[](auto& ring, float* l, float* r) { ring.accumulate(l, r, 3); },
         {7, 2, 7, 7},
         {10, 11, 8},
         1},
        {[](auto& ring, float* l, float* r) { ring.exchange(l, r, 2); },
         {1, 2, 7, 7},
         {3, 4, 7},
         0},
        {[](auto& ring, float* l, float* r) { ring.exchange(l, r, 0); },
         {1, 2, 3, 4},
         {7, 7, 7},
         0},
        {[](auto& ring, float* l, float* r) {
             ring.write(nullptr, r, 3), ring.read(l, nullptr, 3);
             ring.exchange(nullptr, r, 3), ring.accumulate(l, nullptr, 3);
         },
         {1, 2, 3, 4},
         {7, 7, 7},
         0}};
    for (const Case& one : cases) {
        CircularBuffer2 ring;
        ring.allocate(4);
        int notified = 0;
        ring.callee = &notified;
        ring.onBuffer = [](void* count) { ++*static_cast<int*>(count); };
        for (int i = 0; i < 4; ++i) {
            ring.data[0][i] = static_cast<float>(i + 1);
            ring.data[1][i] = static_cast<float>(10 * (i + 1));
        }
        ring.rewind(2);
        Samples left(3, 7), right(3, 70);
        one.run(ring, left.data(), right.data());
        const auto index = &one - cases.data();
        EXPECT_EQ(Samples(ring.data[0], ring.data[0] + 4), one.ring) << index;
        EXPECT_EQ(ring.data[1][2], 10 * one.ring[2]) << index;
        EXPECT_EQ(left, one.block) << index;
        EXPECT_EQ(right[1], 10 * one.block[1]) << index;
        EXPECT_EQ(notified, one.notified) << index;
    }
}

TEST(Ring, RewindsWithinItsSize) {
    CircularBuffer2 ring;
    Latency line;
    for (const auto& [frames, pos] :
         {std::pair{0, 1024}, {-1, 1024}, {1024, 0}, {1025, 0}, {1, 1023}}) {
        ring.rewind(frames);
        line.rewind(frames);
        EXPECT_EQ(ring.pos, pos) << frames;
        EXPECT_EQ(line.pos, pos) << frames;
    }
}

TEST(Ring, SkipGoesOnWithoutAWrapUntilTheNextTraversal) {
    CircularBuffer2 ring;
    Samples left(600, 1), right(600, 1);
    for (const int count : {1, 600, 599}) ring.skip(left.data(), right.data(), count);
    EXPECT_EQ(left, Samples(600));
    EXPECT_EQ(right, Samples(600));
    ring.skip(nullptr, nullptr, 0);
    EXPECT_EQ(ring.pos, 1200);
    for (int i = 0; i < 2; ++i) ring.skip(nullptr, nullptr, INT32_MAX);
    EXPECT_EQ(ring.pos, INT32_MAX);
    left[0] = right[0] = 5;
    ring.write(left.data(), right.data(), 1);
    EXPECT_EQ(ring.data[0][0], 5.0f);
    EXPECT_EQ(ring.pos, 1);
    ring.reset();
    EXPECT_EQ(ring.data[0][0], 0.0f);
    EXPECT_EQ(ring.pos, 0);
}

TEST(Ring, ResamplesByNearestFramesAveragedWithTheValueBefore) {
    CircularBuffer2 ring;
    EXPECT_EQ(ring.getOutputSize(), 1024);
    ring.isResampler = true;
    ring.allocate(8);
    ring.resampled.allocate(0);
    ring.allocateResampled(3);
    EXPECT_EQ(ring.getOutputSize(), 3);
    for (int i = 0; i < 8; ++i) ring.data[0][i] = ring.data[1][i] = static_cast<float>(i);
    ring.pos = 8;
    Samples left(1), right(1);
    ring.read(left.data(), right.data(), 1);
    // Frames 0, 2 and 5 of 8/3 each: (0+0)/2, (2+0)/2, (5+1)/2; the average goes on from there.
    for (const float* channel : ring.resampled.data)
        EXPECT_EQ(Samples(channel, channel + 3), (Samples{0, 1, 3}));
    EXPECT_EQ(ring.lastValueR, 3.0f);
    // To more frames than there are: each twice, up to the last.
    ring.allocateResampled(16);
    ring.rewind(0);
    ring.read(left.data(), right.data(), 1);
    EXPECT_EQ(ring.resampled.data[0][0], 1.5f);
    EXPECT_EQ(ring.resampled.data[1][2], (1 + 0.75f) / 2);
    EXPECT_NEAR(ring.lastValueL, 6.6667327f, 1e-6f);
    ring.allocateResampled(8);
    ring.resample();
    EXPECT_EQ(ring.resampled.data[0][0], 1.5f) << "its own size is no other";
    ring.allocateResampled(1);
    ring.resample();
    EXPECT_NEAR(ring.lastValueL, 6.6667327f / 2, 1e-6f);
    ring.reset();
    EXPECT_EQ(ring.lastValueL + ring.lastValueR + ring.resampled.data[0][0], 0.0f);
}

TEST(DelayLine, DelaysByItsLengthAndRepeatsAFrameWhereTheLengthChanges) {
    Latency line;
    EXPECT_EQ(line.getSize(), 1024);
    EXPECT_EQ(line.lSize, 1024);
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
    EXPECT_EQ(more[0], 14.0f) << "at the first frame of a block: the last one of the block before";
    EXPECT_EQ(more[1], 11.0f) << "a frame of old in the storage that was kept";
}

TEST(DelayLine, WritesLikeItExchangesButLeavesTheBlock) {
    Latency written, exchanged;
    Samples in(1500, 0.5f), block = in;
    written.write(in.data(), 1500);
    exchanged.exchange(block.data(), 1500);
    EXPECT_EQ(in, Samples(1500, 0.5f));
    EXPECT_EQ(written.pos, exchanged.pos);
    EXPECT_EQ(difference("line", written.data, exchanged.data, 1024), "");
    written.write(nullptr, 1);
    exchanged.exchange(nullptr, 1);
    written.lSize = 0;
    written.write(in.data(), 1);
    EXPECT_EQ(written.pos, exchanged.pos) << "nothing to do";
}

}  // namespace
