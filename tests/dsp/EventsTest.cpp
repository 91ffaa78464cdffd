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
    {"time that is no number is zero", NAN, 64, {{3, 1}}, "p3@0 e1 p61@3 "},
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
    const auto kind = [](std::uint8_t type) {
        auto event = parameterEvent(0, 7, 1);
        event.parameter.rampDurationSampleFrames = 5;
        event.head.eventType = static_cast<platform::AURenderEventType>(type);
        return event;
    };
    Recorder kernel;
    kernel.handleOneEvent(nullptr);
    for (const std::uint8_t type : {0, 1, 2, 3, 7, 9, 10, 255}) {
        const auto event = kind(type);
        kernel.handleOneEvent(&event);
    }
    const auto midi = midiEvent(0, 0xB0, 42, 0);
    kernel.handleOneEvent(&midi);
    EXPECT_EQ(kernel.log.str(), "e7r e7r m42 ");
}

struct Message {
    std::vector<int> bytes;
    int length;
    float volume, pan, width;  // the parameters afterwards; 0.5 before
};

TEST(Events, MidiControllersSetThreeParametersOnAnyChannel) {
    const float half = 0.5f;
    for (const Message& message : std::vector<Message>{
             {{0xB0, 7, 127}, 3, 1, half, half},
             {{0xBF, 7, 0}, 3, 0, half, half},
             {{0xB3, 10, 64}, 3, half, 64.0f / 127.0f, half},
             {{0xB0, 11, 1}, 3, half, half, 1.0f / 127.0f},
             {{0xB0, 11, 100}, 1, half, half, 100.0f / 127.0f},  // as short as it claims to be
             {{0xB0, 7, 127}, 0, half, half, half},
             {{0xB0, 7, 127}, 4, half, half, half},
             {{0xB0, 12, 127}, 3, half, half, half},
             {{0x90, 7, 127}, 3, half, half, half},
             {{0xC0, 7, 127}, 3, half, half, half},
             {{0xF8, 7, 127}, 1, half, half, half},
             {{0xFF, 7, 127}, 3, half, half, half}}) {
        QOV_Kelvane_PluginDSPKernel kernel;
        for (const auto address : {kVolume, kPanorama, kStereoWidth})
            kernel.setParameter(address, half);
        const auto byte = [&](std::size_t i) {
            return static_cast<std::uint8_t>(message.bytes[i]);
        };
        const auto event =
            midiEvent(0, byte(0), byte(1), byte(2), static_cast<std::uint16_t>(message.length));
        kernel.handleOneEvent(&event);
        EXPECT_EQ(kernel.getParameter(kVolume), message.volume);
        EXPECT_EQ(kernel.getParameter(kPanorama), message.pan);
        EXPECT_EQ(kernel.getParameter(kStereoWidth), message.width);
    }
}

}  // namespace
