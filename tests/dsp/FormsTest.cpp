// Every form of the chain's loops against the plain frame-by-frame code, to the bit.

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "tests/dsp/FormPair.h"

namespace {

using namespace qov;
using namespace qov::test;

std::mt19937 generator(20240607);

int pick(int low, int high) {
    return std::uniform_int_distribution(low, high)(generator);
}

float music() {
    return std::uniform_real_distribution(-1.0f, 1.0f)(generator);
}

/// Music, any bits, subnormal numbers and the ends of the range, frame by frame.
float anything() {
    const auto bits = static_cast<std::uint32_t>(generator());
    constexpr float specials[] = {0.0f,           -0.0f,    INFINITY, -INFINITY, NAN,
                                  1e-45f,         -1e-45f,  3.4e38f,  -3.4e38f,  1.0f,
                                  1.1754944e-38f, 0x1p-75f, -0x1p-75f};
    constexpr std::uint32_t masks[] = {0x80FFFFFF, 0xFFFFFFFF};
    const int kind = pick(0, 3);
    if (kind < 2) return std::bit_cast<float>(bits & masks[kind]);
    return kind == 2 ? specials[bits % std::size(specials)] : music();
}

float value() {
    constexpr float edges[] = {0, 1, 0.5f, 0.25f, 1e-39f, -0.5f, 2.5f};
    return pick(0, 2) ? std::fabs(music()) : edges[pick(0, 6)];
}

Samples memoryOf(float (*signal)(), int frames) {
    Samples memory(4 * static_cast<std::size_t>(frames));
    std::generate(memory.begin(), memory.end(), signal);
    return memory;
}

class Forms : public testing::TestWithParam<std::string_view> {
 protected:
    void SetUp() override {
        if (!ChainLoops::select(GetParam())) GTEST_SKIP() << "not for this processor";
    }
};

TEST_P(Forms, GiveThePlainBitsForEveryLengthSignalSettingAndAliasing) {
    for (const auto signal : {music, anything}) {
        FormPair pair(GetParam());
        for (int round = 0; round < 24 * 70; ++round) {
            for (std::uint64_t address = 0; address <= 9; ++address)
                if (address != kBypass && pick(0, 7) == 0) pair.set(address, value());
            if (pick(0, 63) == 0) pair.set(kBypass, static_cast<float>(pick(0, 1)));
            if (pick(0, 3) == 0) pair.set(kBypass, 0);
            const int frames = 1 + round % 70, buffers = pick(0, 5);
            ASSERT_EQ(pair.render(memoryOf(signal, frames), static_cast<Buffers>(buffers)), "")
                << frames << " frames, buffers " << buffers;
        }
    }
}

// All sets of stages, so that each of the loops is run; neutral ones have their values settle
// first. The smallest widths have no exact half in float, which the loops' recover mono would need.
TEST_P(Forms, GiveThePlainBitsInEverySetOfStages) {
    constexpr float widths[] = {0, 0.5f, 1, 1e-45f, 0x1.e05p-125f};
    for (int set = 0; set < 5 * 3 * 32; ++set) {
        FormPair pair(GetParam());
        pair.set(kStereoWidth, widths[set % 5]);
        pair.set(kPanorama, 0.4f + 0.1f * static_cast<float>(set / 5 % 3));
        for (int bit = 0;
             const auto address : {kSwapChannels, kInvertChannel, kRecoverMono, kTestMono, kVolume})
            pair.set(address, (set / 15) >> bit++ & 1 ? 1.0f : 0.0f);
        for (int cycle = 0; cycle < 17; ++cycle)
            ASSERT_EQ(pair.render(memoryOf(music, 3), Buffers::inPlace), "") << "set " << set;
        for (const auto buffers : {Buffers::apart, Buffers::inPlace})
            ASSERT_EQ(pair.render(memoryOf(anything, 67), buffers), "") << "set " << set;
    }
}

// Sums so close to the middle between two floats that rounding to double first would put them
// there.
TEST_P(Forms, RoundAFusedSumOnce) {
    for (int k = 1; k < 50; ++k) {
        StereoProcessor plain;
        plain.fAdjust = 0x1p-24f * (1 - static_cast<float>(k) * 0x1p-23f);
        Samples left(33), right(33), none(33), ringLeft(33), ringRight(33);
        for (std::size_t i = 0; i < 33; ++i) {
            left[i] = 1 + static_cast<float>(pick(100, 1 << 22)) * 0x1p-23f;
            right[i] = left[i] - 2 - static_cast<float>(k) * 0x1p-22f;  // a side of 1 + k 2^-23
        }
        constexpr ShapeStages widened{false, ShapeStages::above, ShapeStages::neutral, false};
        const Shape shape{0, 0, 0, plain.fAdjust, 0};
        ChainLoops::current()->shape[widened.index()](shape, left.data(), right.data(), none.data(),
                                                      none.data(), ringLeft.data(),
                                                      ringRight.data(), 33);
        plain.process(left.data(), right.data(), 33);
        ASSERT_EQ(difference("left", ringLeft.data(), left.data(), 33), "") << k;
        ASSERT_EQ(difference("right", ringRight.data(), right.data(), 33), "") << k;
    }
}

// Lengths around the block, the ring and short lines, and a longer line after a shorter one.
TEST_P(Forms, GiveThePlainBitsAcrossWrapsAndChangesOfTheDelayLength) {
    FormPair pair(GetParam());
    pair.set(kStereoWidth, 0.75f);
    for (const float shift : {1.0f, 0.5f, 0.0f, 0.005f, 0.143f, 0.145f, 0.148f, 3.0f, 1.0f, 0.0f}) {
        pair.set(kPhaseShift, shift);
        for (const int frames :
             {1, 219, 220, 221, 441, 511, 512, 513, 1024, 2047, 2048, 2049, 5000})
            for (const auto buffers : {Buffers::apart, Buffers::inPlace})
                ASSERT_EQ(pair.render(memoryOf(music, frames), buffers), "")
                    << shift << ", " << frames << " frames";
    }
}

INSTANTIATE_TEST_SUITE_P(Processors, Forms, testing::Values("baseline", "v3", "v4"),
                         [](const auto& form) { return std::string(form.param); });

}  // namespace
