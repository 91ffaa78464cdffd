// How a cycle is split at the times of its events.

#include <sstream>

#include <gtest/gtest.h>

#include "tests/dsp/KernelRig.h"

namespace {

using namespace qov;
using namespace qov::test;

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
    struct Case {
        const char* name;
        double start;
        std::vector<int> times;  // from the cycle's start, of events of addresses 1, 2, ...
        const char* expected;
        std::int64_t origin = 0;
    };
    for (const auto& [name, start, times, expected, origin] :
         {Case{"none", 0, {}, "p64@0 "}, Case{"on the first frame", 100, {100}, "e1 p64@0 "},
          Case{"in the middle", 100, {110, 130}, "p10@0 e1 p20@10 e2 p34@30 "},
          Case{"two at one time", 0, {10, 10}, "p10@0 e1 e2 p54@10 "},
          Case{"late", 100, {50, 60}, "e1 e2 p64@0 "},
          Case{"out of order at once", 0, {20, 5, 30}, "p20@0 e1 e2 p10@20 e3 p34@30 "},
          Case{"at the end no more segment", 0, {64, 64}, "p64@0 e1 e2 "},
          Case{"after the end is left where the cycle is full", 0, {64, 65}, "p64@0 e1 "},
          Case{"beyond the end", 0, {70, 80}, "p70@0 e1 p10@70 e2 p4294967280@80 "},
          Case{"time is truncated toward zero", -0.9, {3}, "p3@0 e1 p61@3 "},
          Case{"a NaN time is zero", NAN, {3}, "p3@0 e1 p61@3 "},
          Case{"time beyond the clock saturates", 0x1p63, {-1}, "e1 p64@0 ", INT64_MAX},
          Case{"time before the clock saturates", -1e300, {3}, "p3@0 e1 p61@3 ", INT64_MIN}}) {
        std::vector<platform::AURenderEvent> events;
        for (const int time : times)
            events.push_back(parameterEvent(origin + time, events.size() + 1, 0));
        Recorder kernel;
        kernel.processWithEvents({.mSampleTime = start}, 0, linked(events));
        EXPECT_EQ(kernel.log.str(), "") << "an empty cycle drops its events";
        kernel.processWithEvents({.mSampleTime = start}, 64, linked(events));
        EXPECT_EQ(kernel.log.str(), expected) << name;
    }
}

TEST(Events, ArePassedOnByTheirType) {
    Recorder kernel;
    kernel.handleOneEvent(nullptr);
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

TEST(Events, MidiControllersSetThreeParametersOnAnyChannel) {
    constexpr std::uint64_t none = 99;
    struct Message {
        std::uint8_t status, number, value;
        std::uint16_t length;
        std::uint64_t address;
        float expected;
    };
    for (const auto& [status, number, value, length, address, expected] :
         {Message{0xB0, 7, 127, 3, kVolume, 1}, Message{0xBF, 7, 0, 3, kVolume, 0},
          Message{0xB3, 10, 64, 3, kPanorama, 64.0f / 127},
          Message{0xB0, 11, 100, 1, kStereoWidth, 100.0f / 127},  // all of it read, however short
          Message{0xB0, 7, 127, 0, none, 9}, Message{0xB0, 7, 127, 4, none, 9},
          Message{0xB0, 12, 127, 3, none, 9}, Message{0x90, 7, 127, 3, none, 9},
          Message{0xF8, 7, 127, 1, none, 9}, Message{0xFF, 7, 127, 3, none, 9}}) {
        QOV_Kelvane_PluginDSPKernel kernel;
        for (const auto each : {kVolume, kPanorama, kStereoWidth}) kernel.setParameter(each, 9);
        const auto event = midiEvent(0, status, number, value, length);
        kernel.handleOneEvent(&event);
        for (const auto each : {kVolume, kPanorama, kStereoWidth})
            EXPECT_EQ(kernel.getParameter(each), each == address ? expected : 9);
    }
}

}  // namespace
