// The kernel: how events cut a cycle, its parameters, formats, states and threads.

#include <atomic>
#include <map>
#include <numeric>
#include <sstream>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "tests/dsp/KernelRig.h"
#include "tests/support/sanitized.h"

namespace {

using namespace qov;
using namespace qov::test;
using Kernel = QOV_Kelvane_PluginDSPKernel;

// Writes down what a cycle asks of a kernel: p for process, e for a parameter, m for MIDI.
class Recorder final : public DSPKernel {
 public:
    void process(std::uint32_t frameCount, std::uint32_t bufferOffset) override {
        log << "p" << frameCount << "@" << bufferOffset << " ";
    }
    void handleMIDIEvent(const platform::AUMIDIEvent& event) override {
        log << "m" << int{event.data[1]} << " ";
    }
    void startRamp(std::uint64_t address, float, std::uint32_t duration) override {
        log << "e" << address << (duration ? "r" : "") << " ";
    }
    std::ostringstream log;
};

TEST(Events, CallForSegmentsInOrder) {
    // The times of events of addresses 1, 2, ...
    using Times = std::vector<std::int64_t>;
    for (const auto& [name, start, times, expected] :
         {std::tuple{"on the first frame", 100.0, Times{100}, "e1 p64@0 "},
          {"in the middle", 100, {110, 130}, "p10@0 e1 p20@10 e2 p34@30 "},
          {"late", 100, {50, 60}, "e1 e2 p64@0 "},
          {"out of order at once", 0, {20, 5, 30}, "p20@0 e1 e2 p10@20 e3 p34@30 "},
          {"at the end no more segment", 0, {64, 64}, "p64@0 e1 e2 "},
          {"after the end is left where the cycle is full", 0, {64, 65}, "p64@0 e1 "},
          {"beyond the end", 0, {70, 80}, "p70@0 e1 p10@70 e2 p4294967280@80 "},
          {"time is truncated toward zero", -0.9, {3}, "p3@0 e1 p61@3 "},
          {"a NaN time is zero", NAN, {3}, "p3@0 e1 p61@3 "},
          {"time beyond the clock saturates", 0x1p63, {INT64_MAX - 1}, "e1 p64@0 "},
          {"time before the clock saturates", -1e300, {INT64_MIN + 3}, "p3@0 e1 p61@3 "}}) {
        std::vector<platform::AURenderEvent> events;
        for (const auto time : times) events.push_back(parameterEvent(time, events.size() + 1, 0));
        Recorder kernel;
        kernel.processWithEvents({.mSampleTime = start}, 0, linked(events));
        EXPECT_EQ(kernel.log.str(), "") << "an empty cycle drops its events";
        kernel.processWithEvents({.mSampleTime = start}, 64, linked(events));
        EXPECT_EQ(kernel.log.str(), expected) << name;
    }
}

TEST(Events, ArePassedOnByTheirType) {
    Recorder kernel;
    for (const int type : {0, 1, 2, 3, 7, 9, 10, 255}) {
        auto event = parameterEvent(0, 7, 1);
        event.parameter.rampDurationSampleFrames = 5;
        event.head.eventType = static_cast<platform::AURenderEventType>(type);
        kernel.handleOneEvent(&event);
    }
    const auto midi = midiEvent(0, 0xB0, 42, 0);
    kernel.handleOneEvent(&midi);
    EXPECT_EQ(kernel.log.str(), "e7r e7r m42 ");
}

TEST(Events, MidiMessagesOfOneToThreeBytesSetTheirControllersParameter) {
    constexpr ParameterAddress none{99};
    for (const auto& [event, address] :
         {std::pair{midiEvent(0, 0xB0, 7, 127), kVolume},
          {midiEvent(0, 0xBF, 10, 64, 2), kPanorama},
          {midiEvent(0, 0xB0, 11, 100, 1), kStereoWidth},  // all of it read, however short
          {midiEvent(0, 0xB0, 7, 127, 0), none},
          {midiEvent(0, 0xB0, 7, 127, 4), none},
          {midiEvent(0, 0xB0, 12, 127), none},
          {midiEvent(0, 0xF8, 7, 127, 1), none}}) {
        Kernel kernel;
        for (const auto each : {kVolume, kPanorama, kStereoWidth}) kernel.setParameter(each, 9);
        kernel.handleOneEvent(&event);
        const float value = event.MIDI.data[2] / 127.0f;
        for (const auto each : {kVolume, kPanorama, kStereoWidth})
            EXPECT_EQ(kernel.getParameter(each), each == address ? value : 9);
    }
}

TEST(Kernel, StoresValuesAsGivenAndSwitchesAboveOneHalf) {
    Kernel kernel;
    for (std::uint64_t address = 0; address < 12; ++address) {
        for (const auto& [value, isOn] : std::map<float, bool>{
                 {0.5f, false}, {0.50001f, true}, {-7.25f, false}, {9.0f, true}}) {
            kernel.setParameter(address, value);
            const bool isContinuous = address < kSwapChannels || address == kVolume;
            const float stored = isContinuous ? value : isOn ? 1.0f : 0.0f;
            EXPECT_EQ(kernel.getParameter(address), address == 8 || address > kVolume ? 0 : stored)
                << address << " given " << value;
        }
    }
}

TEST(Kernel, TakesTheDelayLengthFromTheSampleRate) {
    for (const auto& [value, frames] : {std::pair{1.0f, 3840},
                                        {0.5f, 1920},
                                        {-1, 1},
                                        {INFINITY, INT32_MAX},
                                        {-INFINITY, 1},
                                        {NAN, 1}}) {
        Kernel kernel;
        kernel.init(2, 384000);
        kernel.setParameter(kPhaseShift, value);
        EXPECT_EQ(kernel.latency.lNewSize, frames) << value;
        kernel.init(2, 44100);
        EXPECT_EQ(kernel.latency.lNewSize, 1) << "a new format forgets it";
    }
}

TEST(Kernel, InitAdoptsTheFormatAndForgetsTheSound) {
    KernelRig rig(96000);
    Kernel& kernel = rig.kernel;
    EXPECT_EQ(std::tuple(kernel.nyquist, kernel.inverseNyquist, kernel.buffer.size,
                         kernel.latency.pos, kernel.volumeInterpolator.currentValue),
              std::tuple(48000, 1.0f / 48000, 2048, 1024, 1));
    Samples left(3000, 1), right(3000, 1);
    rig.render(left, right);
    EXPECT_NE(kernel.buffer.data[1][2047], 0) << "the ring's capture";
    kernel.init(2, 96000);
    EXPECT_EQ(kernel.volumeInterpolator.currentValue, 0.0f) << "until the reset that is due";
    kernel.reset();
    EXPECT_EQ(kernel.buffer.data[1][2047], 0);
    kernel.setParameter(kPhaseShift, 1);
    Samples one{1}, none{0};
    rig.render(one, none);
    EXPECT_EQ(kernel.circular.data[0][952], 0.0f) << "of the sound of before nothing repeats";
}

TEST(Kernel, BypassAndOtherFormatsAreCopiesAndTheStateStandsStill) {
    for (const int channels : {0, 1, 2}) {
        Kernel kernel;
        kernel.init(channels, 44100);
        kernel.reset();
        kernel.setParameter(kVolume, 0.25f);
        kernel.setParameter(kBypass, channels == 2 ? 1.0f : 0.0f);
        std::array<std::uint32_t, 16> input, output{}, expected{};
        std::iota(input.begin(), input.end(), 0x7F800001);  // signalling NaNs
        for (int c = 0; c < channels; ++c) std::copy_n(&input[8 * c + 2], 6, &expected[8 * c + 2]);
        auto* const in = reinterpret_cast<float*>(input.data());
        auto* const out = reinterpret_cast<float*>(output.data());
        platform::StereoBufferList ins(in, in + 8, 8), outs(out, out + 8, 8);
        kernel.setBuffers(ins.list(), outs.list());
        kernel.process(6, 2);
        EXPECT_EQ(output, expected) << channels << " channels";
        EXPECT_EQ(kernel.circular.pos, 0);
    }
}

TEST(Kernel, ValuesOutOfRangeHoldWidthAtItsEndAndPanoramaBeforeIt) {
    for (const float side : {-1.0f, 1.0f}) {
        KernelRig rig;
        for (const auto address : {kStereoWidth, kPanorama})
            rig.kernel.setParameter(address, 0.5f + 0.6f * side);
        Samples silence(256);
        for (int cycle = 0; cycle < 20; ++cycle) rig.render(silence, silence);
        EXPECT_EQ(rig.kernel.stereo.fAdjust, side);
        EXPECT_NEAR(rig.kernel.panpot.fPan, side * 1.2f * 13 / 16, 1e-6f) << "the last inside";
    }
}

// A delay length that no memory is found for in mid-cycle leaves the line empty and the signal
// undelayed; so does a missing snapshot.
TEST(Kernel, OutlivesADelayLengthBeyondAllMemory) {
#ifdef QOV_SANITIZED
    GTEST_SKIP() << "the sanitizer has the memory to itself";
#endif
    KernelRig rig;
    for (const auto address : {kStereoWidth, kPanorama}) rig.kernel.setParameter(address, 0.5f);
    rig.kernel.setParameter(kPhaseShift, 1);
    rig.kernel.buffer.release();
    Samples left(3000), right(3000);
    std::iota(left.begin(), left.end(), 1.0f);
    rlimit before{};
    getrlimit(RLIMIT_AS, &before);
    const rlimit tight{rlim_t{4} << 30, before.rlim_max};
    setrlimit(RLIMIT_AS, &tight);
    rig.render(left, right, {parameterEvent(100, kPhaseShift, INFINITY)});
    setrlimit(RLIMIT_AS, &before);
    EXPECT_EQ(rig.kernel.latency.data, nullptr);
    // The line wraps after 441 frames, which are heard a ring later.
    EXPECT_EQ(std::pair(left[2048 + 440], left[2048 + 441]), std::pair(0.0f, 442.0f));
    rig.kernel.reset();
    rig.render(left, right);
}

TEST(Threads, AStormOfResetsAndParametersLeavesASoundKernel) {
    KernelRig rig(192000);
    auto& kernel = rig.kernel;
    std::atomic<int> turns{0};
    const std::jthread other([&](const std::stop_token& stop) {
        for (int turn = 0; !stop.stop_requested(); turns = ++turn) {
            kernel.setParameter(kBypass, static_cast<float>(turn % 2));
            kernel.setParameter(kPhaseShift, static_cast<float>(turn % 5) / 4);
            kernel.setParameter(static_cast<std::uint64_t>(turn % 7),
                                static_cast<float>(turn % 3) / 2);
            if (turn % 3 == 0) kernel.reset();
            EXPECT_GT(kernel.latency.getSize(), 0);
            // The live ring, as a display reads it: a frame may be of two turns.
            EXPECT_LE(std::fabs(kernel.circular.getChannel(0)[turn % 2048]), 4.0f);
        }
    });
    for (int cycle = 0; cycle < 4000 || turns < 1000; ++cycle) {
        Samples left(1 + cycle % 97, 0.5f), right(left.size(), -0.25f);
        rig.render(left, right);
        for (std::size_t i = 0; i < left.size(); ++i)
            ASSERT_LE(std::max(std::fabs(left[i]), std::fabs(right[i])), 4.0f) << cycle;
    }
}

}  // namespace
