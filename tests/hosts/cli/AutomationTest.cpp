#include "hosts/cli/Automation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hosts/cli/Parameters.h"
#include "tests/hosts/cli/Program.h"

namespace {

using qov::cli::parseAutomation;

TEST(Automation, TimesAreFramesSecondsOrMinutes) {
    struct Case {
        const char* time;
        double rate;
        std::int64_t frame;
    };
    for (const auto& [time, rate, frame] : {Case{"0", 44100, 0},
                                            {"4410", 44100, 4410},
                                            {"0.1s", 44100, 4410},
                                            {"0.3s", 48000, 14400},
                                            {"1:02.5", 44100, 2756250},
                                            {"90:00", 96000, 518400000},
                                            {".5s", 11025, 5513},
                                            {"1e-1s", 44100, 4410}}) {
        const auto events = parseAutomation(std::string(time) + " set panorama 1", "a", rate);
        ASSERT_EQ(events.size(), 1U);
        EXPECT_EQ(events[0].head.eventSampleTime, frame) << time;
    }
}

TEST(Automation, ReadsBothKindsOfEventsAmongCommentsAndBlankLines) {
    const auto events = parseAutomation(
        "# all of it\n\n\t10 set stereo-width 0.25 # half\r\n"
        "11 set kBypass on\n12 midi B3 0a 7F\n13 set panorama L 30 %\n14 set phase-shift "
        "220samples",
        "a", 44100);
    ASSERT_EQ(events.size(), 5U);
    EXPECT_FLOAT_EQ(events[3].parameter.value, 0.35F);
    EXPECT_FLOAT_EQ(events[4].parameter.value, 0.5F);
    EXPECT_EQ(events[0].parameter.parameterAddress, 0U);
    EXPECT_EQ(events[0].parameter.value, 0.25F);
    EXPECT_EQ(events[1].parameter.parameterAddress, 7U);
    EXPECT_EQ(events[1].parameter.value, 1.0F);
    EXPECT_EQ(events[2].head.eventType, platform::AURenderEventMIDI);
    EXPECT_EQ(events[2].MIDI.length, 3);
    EXPECT_THAT(events[2].MIDI.data, testing::ElementsAre(0xB3, 0x0A, 0x7F));
}

TEST(Automation, SortsByTimeAndKeepsTheOrderOfLinesWithin) {
    std::string text;
    for (int i = 0; i < 50; ++i)
        text += std::to_string(2 - i % 3) + " set volume 0." + std::to_string(10 + i) + "\n";
    const auto events = parseAutomation(text, "a", 44100);
    ASSERT_EQ(events.size(), 50U);
    for (std::size_t i = 1; i < events.size(); ++i) {
        ASSERT_LE(events[i - 1].head.eventSampleTime, events[i].head.eventSampleTime);
        if (events[i - 1].head.eventSampleTime == events[i].head.eventSampleTime) {
            ASSERT_LT(events[i - 1].parameter.value, events[i].parameter.value);
        }
    }
}

TEST(Automation, ABadLineIsNamedWithItsNumberAndWhatWouldBeRight) {
    struct Case {
        const char* line;
        const char* message;
    };
    for (const auto& [line, message] : {
             Case{"soon set panorama 1", "'soon' is not a time"},
             {"-5 set panorama 1", "'-5' is not a time"},
             {"1.5 set panorama 1", "'1.5' is not a time"},
             {"1:60 set panorama 1", "'1:60' is not a time"},
             {"99999999999999999999 set panorama 1", "is not a time"},
             {"1e300s set panorama 1", "later than any file"},
             {"5", "nothing behind the time; write set or midi"},
             {"5 put panorama 1", "'put' behind the time; write set or midi"},
             {"5 set panorama", "set takes a parameter and a value"},
             {"5 set panorma 1", "unknown parameter 'panorma'; did you mean 'panorama'?"},
             {"5 set loudness 1",
              "unknown parameter 'loudness'; the parameters are stereo-width, "},
             {"5 set panorama 1.01", "1.01 is out of range; panorama takes 0 to 1, L100"},
             {"5 set panorama nan", "'nan' is not a value"},
             {"5 set panorama 0,5", "'0,5' is not a value"},
             {"5 midi", "midi takes one to three bytes"},
             {"5 midi B0 07 40 00", "midi takes one to three bytes"},
             {"5 midi B0 07", "midi B0 takes 2 data bytes behind it, as in: midi B0 0B 40"},
             {"5 midi C1 07 40", "midi C1 takes 1 data byte behind it, as in: midi C0 05"},
             {"5 midi B0 7 GG", "'GG' is not a byte"},
             {"5 midi 30 07 40", "'30' is not a MIDI status byte"},
             {"5 midi B0 07 80", "'80' is not a MIDI data byte"},
         }) {
        const auto text = std::string("# first\n0 set volume 1\n") + line + "\n";
        EXPECT_THAT(failureOf(1, [&] { parseAutomation(text, "my.txt", 44100); }),
                    testing::AllOf(testing::StartsWith("my.txt:3: "), testing::HasSubstr(message)))
            << line;
    }
}

}  // namespace
