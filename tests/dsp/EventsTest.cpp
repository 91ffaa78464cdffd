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

struct Case {
    const char* name;
    double start;
    std::uint32_t frames;
    std::vector<std::pair<std::int64_t, int>> events;  // time, address
    const char* expected;
};

const Case cases[] = {
    {"none", 0, 64, {}, "p64@0 "},
    {"empty cycle drops its events", 0, 0, {{0, 1}}, ""},
    {"on the first frame", 100, 64, {{100, 1}}, "e1 p64@0 "},
    {"in the middle", 100, 64, {{110, 1}, {130, 2}}, "p10@0 e1 p20@10 e2 p34@30 "},
    {"two at one time", 0, 64, {{10, 1}, {10, 2}}, "p10@0 e1 e2 p54@10 "},
    {"late", 100, 64, {{50, 1}, {60, 2}}, "e1 e2 p64@0 "},
    {"out of order takes effect at once",
     0,
     64,
     {{20, 1}, {5, 2}, {30, 3}},
     "p20@0 e1 e2 p10@20 e3 p34@30 "},
    {"at the end no more segment", 0, 64, {{64, 1}, {64, 2}}, "p64@0 e1 e2 "},
    {"after the end is left where the cycle is full", 0, 64, {{64, 1}, {65, 2}}, "p64@0 e1 "},
    {"beyond the end stretches the segment",
     0,
     64,
     {{70, 1}, {80, 2}},
     "p70@0 e1 p10@70 e2 p4294967280@80 "},
    {"time is truncated toward zero", -0.9, 64, {{3, 1}}, "p3@0 e1 p61@3 "},
    {"a NaN time is zero", NAN, 64, {{3, 1}}, "p3@0 e1 p61@3 "},
    {"time beyond the clock saturates", 0x1p63, 64, {{INT64_MAX - 1, 1}}, "e1 p64@0 "},
    {"time before the clock saturates", -1e300, 64, {{INT64_MIN + 3, 1}}, "p3@0 e1 p61@3 "}};

TEST(Events, CallForSegmentsInOrder) {
    for (const auto& [name, start, frames, timed, expected] : cases) {
        std::vector<platform::AURenderEvent> events;
        for (const auto& [time, address] : timed)
            events.push_back(parameterEvent(time, static_cast<std::uint64_t>(address), 0));
        Recorder kernel;
        kernel.processWithEvents({.mSampleTime = start}, frames, linked(events));
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
    struct Message {
        std::uint8_t status, number, value;
        std::uint16_t length;
        float volume, pan, width;  // the parameters afterwards; 9 before
    };
    for (const auto& [status, number, value, length, volume, pan, width] :
         {Message{0xB0, 7, 127, 3, 1, 9, 9},
          {0xBF, 7, 0, 3, 0, 9, 9},
          {0xB3, 10, 64, 3, 9, 64.0f / 127, 9},
          {0xB0, 11, 1, 3, 9, 9, 1.0f / 127},
          {0xB0, 11, 100, 1, 9, 9, 100.0f / 127},  // all of it read, however short
          {0xB0, 7, 127, 0, 9, 9, 9},
          {0xB0, 7, 127, 4, 9, 9, 9},
          {0xB0, 12, 127, 3, 9, 9, 9},
          {0x90, 7, 127, 3, 9, 9, 9},
          {0xC0, 7, 127, 3, 9, 9, 9},
          {0xF8, 7, 127, 1, 9, 9, 9},
          {0xFF, 7, 127, 3, 9, 9, 9}}) {
        QOV_Kelvane_PluginDSPKernel kernel;
        for (const auto address : {kVolume, kPanorama, kStereoWidth})
            kernel.setParameter(address, 9);
        const auto event = midiEvent(0, status, number, value, length);
        kernel.handleOneEvent(&event);
        EXPECT_EQ(kernel.getParameter(kVolume), volume);
        EXPECT_EQ(kernel.getParameter(kPanorama), pan);
        EXPECT_EQ(kernel.getParameter(kStereoWidth), width);
    }
}

}  // namespace
