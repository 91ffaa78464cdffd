// The kernel's parameters, formats and states.

#include <tuple>

#include <gtest/gtest.h>

#include "tests/dsp/KernelRig.h"

namespace {

using namespace qov;
using namespace qov::test;
using Kernel = QOV_Kelvane_PluginDSPKernel;

TEST(Kernel, StandsAtItsDefaultsWhenItIsBuilt) {
    const Kernel kernel;
    for (std::uint64_t address = 0; address < 12; ++address)
        EXPECT_EQ(kernel.getParameter(address), address == kVolume ? 1.0f : 0.0f);
    EXPECT_EQ(std::tuple(kernel.sampleRate, kernel.nyquist, kernel.channels),
              std::tuple(44100, 22050, 2));
    EXPECT_EQ(std::bit_cast<std::uint32_t>(kernel.inverseNyquist), 0x383E37C6u);
    EXPECT_EQ(std::tuple(kernel.collectorSize, kernel.circular.size, kernel.buffer.size,
                         kernel.latency.lNewSize),
              std::tuple(1024, 1024, 0, 1024));
    EXPECT_EQ(kernel.volumeInterpolator.time, 512);
    EXPECT_EQ(kernel.panpot.lUpdaterate + kernel.stereo.lUpdaterate, 32u);
    const auto whole = [](const Interpolator2& ramp) {
        return std::tuple(ramp.destinationValue, ramp.currentValue, ramp.increase, ramp.time,
                          ramp.delay);
    };
    EXPECT_EQ(whole(kernel.panpot.interp), std::tuple(0, 0, 0, 1024, 0));
    for (const Gainer& gainer : {kernel.gainerL, kernel.gainerR}) {
        EXPECT_EQ(whole(gainer.interp), std::tuple(1, 1, 0, 1024, 0));
        EXPECT_EQ(std::tuple(gainer.fValue, gainer.fMax, gainer.fMin, gainer.lSmoothed),
                  std::tuple(1, 1, 0, 1));
    }
}

TEST(Kernel, StoresValuesAsGivenAndSwitchesAboveOneHalf) {
    Kernel kernel;
    for (const std::uint64_t address : {kStereoWidth, kPanorama, kPhaseShift, kVolume}) {
        kernel.setParameter(address, -7.25f);
        EXPECT_EQ(kernel.getParameter(address), -7.25f) << address;
    }
    for (const std::uint64_t address :
         {kSwapChannels, kInvertChannel, kRecoverMono, kTestMono, kBypass}) {
        for (const auto& [value, stored] :
             {std::pair{0.5f, 0.0f}, {0.50001f, 1.0f}, {-3.0f, 0.0f}, {9.0f, 1.0f}, {NAN, 0.0f}}) {
            kernel.setParameter(address, value);
            EXPECT_EQ(kernel.getParameter(address), stored) << address << " given " << value;
        }
    }
    for (const std::uint64_t address : {8ull, 10ull, ~0ull}) {
        kernel.setParameter(address, 1);
        EXPECT_EQ(kernel.getParameter(address), 0.0f);
    }
    EXPECT_EQ(kernel.fNormalize, 0.0f);
}

TEST(Kernel, TakesTheDelayLengthFromTheSampleRate) {
    struct Case {
        double rate;
        float value;
        int frames;
    };
    for (const Case& one : {Case{44100, 1, 441},
                            {44100, 0.5f, 220},
                            {44100, 0, 1},
                            {44100, -1, 1},
                            {96000, 1, 960},
                            {384000, 1, 3840},
                            {44100, NAN, 1},
                            {44100, INFINITY, INT32_MAX},
                            {44100, -INFINITY, 1}}) {
        Kernel kernel;
        kernel.init(2, one.rate);
        kernel.setParameter(kPhaseShift, one.value);
        EXPECT_EQ(kernel.latency.lNewSize, one.frames) << one.rate << ", " << one.value;
        kernel.init(2, one.rate);
        EXPECT_EQ(kernel.latency.lNewSize, 1) << "a new format forgets it";
        EXPECT_EQ(kernel.getParameter(kPhaseShift) == one.value, !std::isnan(one.value));
    }
}

TEST(Kernel, InitAdoptsTheFormatAndResetStartsOver) {
    KernelRig rig(96000);
    Kernel& kernel = rig.kernel;
    EXPECT_EQ(kernel.nyquist, 48000.0f);
    EXPECT_EQ(kernel.inverseNyquist, 1.0f / 48000);
    EXPECT_EQ(kernel.buffer.size, 2048);
    EXPECT_EQ(kernel.latency.pos, 1024);
    EXPECT_EQ(kernel.volumeInterpolator.currentValue, 1.0f);
    kernel.setParameter(kVolume, 0.5f);
    kernel.setParameter(kStereoWidth, 1.0f);
    kernel.setParameter(kPanorama, 1.0f);
    Samples left(3000, 1), right(3000, 1);
    rig.render(left, right);
    EXPECT_NE(kernel.stereo.fAdjust, 0.0f);
    EXPECT_NE(kernel.panpot.fPan, 0.0f);
    EXPECT_EQ(kernel.stereowidthInterpolator.time, 16);
    const float captured = kernel.circular.data[1][5];
    kernel.stereo.lUpdaterate = 1;
    kernel.setParameter(kBypass, 1);
    EXPECT_EQ(kernel.stereo.fAdjust, 0.0f);
    EXPECT_EQ(kernel.stereo.lUpdaterate, 16u);
    EXPECT_EQ(kernel.panpot.fPan, 0.0f);
    EXPECT_EQ(kernel.panpot.interp.currentValue, 0.0f);
    EXPECT_EQ(kernel.stereowidthInterpolator.time, 512);
    EXPECT_EQ(kernel.volumeInterpolator.currentValue, 1.0f);
    EXPECT_EQ(kernel.buffer.data[1][5], 0.0f);
    EXPECT_EQ(kernel.circular.data[1][5], captured) << "the ring stays";
    EXPECT_EQ(kernel.circular.pos, 952);
    EXPECT_TRUE(kernel.isNewBufferAvailable);
    kernel.init(2, 96000);
    EXPECT_EQ(kernel.volumeInterpolator.currentValue, 0.0f) << "until the reset that is due";
    kernel.reset();
    kernel.setParameter(kBypass, 0);
    kernel.setParameter(kPhaseShift, 1);
    Samples one{1}, none{0};
    rig.render(one, none);
    EXPECT_EQ(kernel.circular.data[0][952], 0.0f) << "of the sound of before nothing repeats";
}

TEST(Kernel, BypassAndOtherFormatsAreCopiesAndTheStateStandsStill) {
    for (const int channels : {0, 1, 2, 4}) {
        Kernel kernel;
        kernel.init(channels, 44100);
        kernel.reset();
        kernel.setParameter(kVolume, 0.25f);
        kernel.setParameter(kBypass, channels == 2 ? 1.0f : 0.0f);
        struct {
            std::uint32_t count;
            platform::AudioBuffer buffers[4];
        } in{}, out{};
        float input[4][8], output[4][8] = {};
        for (int c = 0; c < 4; ++c) {
            std::fill_n(input[c], 8, std::bit_cast<float>(0x7F800001 + c));  // signalling NaNs too
            in.buffers[c] = {1, 32, input[c]};
            out.buffers[c] = {1, 32, output[c]};
        }
        kernel.setBuffers(reinterpret_cast<platform::AudioBufferList*>(&in),
                          reinterpret_cast<platform::AudioBufferList*>(&out));
        kernel.process(6, 2);
        for (int c = 0; c < 4; ++c) {
            for (int i = 0; i < 8; ++i) {
                const bool copied = c < channels && i >= 2;
                EXPECT_EQ(std::bit_cast<int>(output[c][i]), copied ? 0x7F800001 + c : 0)
                    << channels << " channels: " << c << ", frame " << i;
            }
        }
        EXPECT_EQ(kernel.circular.pos, 0);
        EXPECT_FALSE(kernel.isNewBufferAvailable);
    }
}

// Twice around the ring: the flag, the snapshot, and the output a ring late.
TEST(Kernel, CapturesEveryRingOnTheFrameAfterItsLast) {
    KernelRig rig;
    for (const auto address : {kStereoWidth, kPanorama}) rig.kernel.setParameter(address, 0.5f);
    std::vector<int> raised;
    for (int i = 0; i < 4098; ++i) {
        Samples left{0.5f}, right{static_cast<float>(i + 1)};
        rig.render(left, right);
        ASSERT_EQ(right[0], i < 2048 ? 0.0f : static_cast<float>(i + 1 - 2048));
        ASSERT_EQ(left[0], i < 2049 ? 0.0f : 0.5f) << "one frame of delay more";
        if (std::exchange(rig.kernel.isNewBufferAvailable, false)) raised.push_back(i + 1);
    }
    EXPECT_EQ(raised, (std::vector<int>{2049, 4097}));
    for (int i = 0; i < 2048; ++i)
        ASSERT_EQ(rig.kernel.buffer.data[1][i], static_cast<float>(i + 1 + 2048));
}

}  // namespace
