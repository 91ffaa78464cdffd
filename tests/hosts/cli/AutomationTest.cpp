#include "hosts/cli/Automation.h"

#include <tuple>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/Program.h"

namespace {

using qov::cli::parseAutomation;

TEST(Automation, ReadsTimesValuesAndMessagesAndSortsThemByFrame) {
    // Of each event: frame, address and value, or frame and bytes.
    for (const auto& [text, rate, events] : {
             std::tuple{"0 set panorama 1", 44100, "0 1=1, "},
             {"4410 set kBypass on", 44100, "4410 7=1, "},
             {"0.1s set panorama L 30 %", 44100, "4410 1=0.35, "},
             {"0.3s set panorama 1", 48000, "14400 1=1, "},
             {"1:02.5 set phase-shift 220samples", 44100, "2756250 2=0.5, "},
             {"90:00 set panorama 1", 96000, "518400000 1=1, "},
             {".5s set panorama 1", 11025, "5513 1=1, "},
             {"1e-1s set panorama 1", 44100, "4410 1=1, "},
             {"# all of it\n\n\t10 set stereo-width 0.25 # half\r\n7 midi B3 0a 7F", 44100,
              "7 B3 0A 7F, 10 0=0.25, "},
             {"1 set volume 0.1\n0 set volume 0.2\n1 midi C1 05\n1 set volume 0\n0 set volume 0.1",
              44100, "0 9=0.2, 0 9=0.1, 1 9=0.1, 1 C1 05, 1 9=0, "},
         }) {
        std::string read;
        for (const auto& event : parseAutomation(text, "a", rate)) {
            const auto& parameter = event.parameter;
            read += fmt::format("{} ", event.head.eventSampleTime);
            if (event.head.eventType == platform::AURenderEventParameter)
                read += fmt::format("{}={:.6g}", parameter.parameterAddress, parameter.value);
            else
                read += fmt::format(
                    "{:02X}", fmt::join(event.MIDI.data, event.MIDI.data + event.MIDI.length, " "));
            read += ", ";
        }
        EXPECT_EQ(read, events) << text;
    }
}

TEST(Automation, NamesABadLineItsNumberAndWhatWouldBeRight) {
    for (const auto& [line, message] : {
             std::pair{"soon set panorama 1", "'soon' is not a time"},
             {"-5 set panorama 1", "'-5' is not a time"},
             {"1.5 set panorama 1", "'1.5' is not a time"},
             {"1:60 set panorama 1", "'1:60' is not a time"},
             {"99999999999999999999 set panorama 1", "is not a time"},
             {"1e300s set panorama 1", "later than any file"},
             {"5", "nothing behind the time; write set or midi"},
             {"5 put panorama 1", "'put' behind the time; write set or midi"},
             {"5 set panorama", "set takes a parameter and a value"},
             {"5 set panorma 1", "unknown parameter 'panorma'; did you mean 'panorama'?"},
             {"5 set loudness 1", "'loudness'; the parameters are stereo-width, "},
             {"5 set panorama 1.01", "1.01 is out of range; panorama takes 0 to 1, L100"},
             {"5 set panorama nan", "'nan' is not a value"},
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
