// Every form of the chain's loops against the plain frame-by-frame code, to the bit.

#include <gtest/gtest.h>

#include "fuzz/anything.h"
#include "tests/dsp/FormPair.h"

namespace {

using namespace qov;
using namespace qov::test;

Noise source(1);

/// Music, or any bits.
Samples memoryOf(bool isMusic, std::size_t frames) {
    Samples memory(4 * frames);
    for (float& frame : memory) {
        frame = source.next();
        if (!isMusic) frame = std::bit_cast<float>(source.bits());
    }
    return memory;
}

class Forms : public testing::TestWithParam<int> {
 protected:
    void SetUp() override {
        if (!ChainLoops::select(forms[GetParam()])) GTEST_SKIP() << "not for this processor";
    }
};

/// The fuzz target's property on random input, whose first byte chooses the form and the rate.
TEST_P(Forms, GiveThePlainBitsForAnyCyclesAndEvents) {
    for (int rate = 0; rate < 5; ++rate)
        giveRandomInputs(static_cast<std::uint8_t>(5 * GetParam() + rate), 200, 1000);
}

// All sets of stages, so that each of the loops is run; neutral ones have their values settle
// first. The smallest widths have no exact half in float, which the loops' recover mono would need.
TEST_P(Forms, GiveThePlainBitsInEverySetOfStages) {
    constexpr float widths[] = {0, 0.5f, 1, 1e-45f, 0x1.e05p-125f};
    for (int set = 0; set < 5 * 3 * 32; ++set) {
        FormPair pair(forms[GetParam()]);
        pair.set(kStereoWidth, widths[set % 5]);
        pair.set(kPanorama, 0.4f + 0.1f * static_cast<float>(set / 5 % 3));
        for (int bit = 0;
             const auto address : {kSwapChannels, kInvertChannel, kRecoverMono, kTestMono, kVolume})
            pair.set(address, (set / 15) >> bit++ & 1 ? 1.0f : 0.0f);
        for (int cycle = 0; cycle < 17; ++cycle)
            ASSERT_EQ(pair.render(memoryOf(true, 3), Buffers::inPlace), "") << "set " << set;
        for (const auto buffers : {Buffers::apart, Buffers::inPlace})
            ASSERT_EQ(pair.render(memoryOf(false, 67), buffers), "") << "set " << set;
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
            left[i] = 1.25f + source.next() / 4;
            right[i] = left[i] - 2 - static_cast<float>(k) * 0x1p-22f;  // a side of 1 + k 2^-23
        }
        constexpr ShapeStages widened{false, ShapeStages::above, ShapeStages::neutral, false};
        const Shape shape{1, 1, 0, plain.fAdjust, 0};
        ChainLoops::current()->shape[widened.index()](shape, left.data(), right.data(), none.data(),
                                                      none.data(), ringLeft.data(),
                                                      ringRight.data(), 33);
        plain.process(left.data(), right.data(), 33);
        ASSERT_EQ(difference("left", ringLeft.data(), left.data(), 33), "") << k;
        ASSERT_EQ(difference("right", ringRight.data(), right.data(), 33), "") << k;
    }
}

INSTANTIATE_TEST_SUITE_P(Processors, Forms, testing::Range(0, 3),
                         [](const auto& form) { return std::string(forms[form.param]); });

}  // namespace
