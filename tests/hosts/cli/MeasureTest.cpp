// kelvane measure as a process.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hosts/cli/FigureWriter.h"
#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;

class Measure : public ProgramTest {
 protected:
    Measure() {
        const auto one = noise(44200);
        Sound late, early;
        for (std::size_t i = 100; i < one.size(); ++i) {
            late.samples.insert(late.samples.end(), {one[i - 100] / 2, one[i] / 2});
            early.samples.insert(early.samples.end(), {one[i] / 2, one[i - 100] / 2});
        }
        save(folder / "left.wav", late);
        save(folder / "right.wav", early);
        save(folder / "mono.wav", {.channels = 1, .samples = one});
        save(folder / "silent.wav", {.samples = std::vector<double>(88200)});
        save(folder / "5.1.wav", {.channels = 6, .samples = noise(6000)});
    }
};

TEST_F(Measure, TheSettingsThatItNamesMendTheDelay) {
    EXPECT_THAT(
        kelvane("measure left.wav right.wav").out,
        AllOf(HasSubstr("\nleft.wav: left late by 100 frames, 2.27 ms; render --swap-channels, "
                        "and then render --swap-channels --phase-shift 101samples mends it\n"),
              HasSubstr("\nright.wav: right late by 100 frames, 2.27 ms; render --phase-shift "
                        "100samples mends it\n")));
    for (const auto* const command :
         {"render right.wav mended.wav --phase-shift 100samples",
          "render left.wav swapped.wav --swap-channels",
          "render swapped.wav twice.wav --swap-channels --phase-shift 101samples",
          "measure mended.wav twice.wav --fail-if 'delay>0.05' --fail-if 'delay<-0.05' "
          "--fail-if 'match<0.99'"})
        EXPECT_EQ(kelvane(command).code, 0) << command;
}

TEST_F(Measure, LimitsAndFilesThatFailHaveTheirExitCodeAndLine) {
    expectErrors(
        "measure ",
        {{"mono.wav --fail-if 'correlation<1' --fail-if 'side-to-mid > -60'", 0, ""},
         {"mono.wav --fail-if 'correlation >= 1'", 3,
          "kelvane: mono.wav: correlation is 1; it fails --fail-if \"correlation >= 1\"\n"},
         {"right.wav --fail-if 'delay<-10' mono.wav", 3,
          "kelvane: right.wav: delay is -100 frames; it fails --fail-if \"delay<-10\"\n"},
         {"silent.wav --fail-if 'correlation<2'", 0, ""},
         {"silent.wav --every 0.6s --fail-if 'peak<-60'", 3,
          "kelvane: silent.wav at 0.600 s: peak is -inf dBFS; it fails --fail-if \"peak<-60\"\n"},
         {"gone.wav mono.wav --fail-if 'peak>-90'", 1,
          "kelvane: gone.wav: there is no such file\n"},
         {"5.1.wav", 1, "kelvane: 5.1.wav: has 6 channels; kelvane takes stereo\n"},
         {"mono.wav --every 10", 2, "--every 10: is shorter than 0.1 s at 44100 Hz\n"},
         {"mono.wav --every soon", 2, "--every: 'soon' is not a time"},
         {"mono.wav --fail-if 'corelation<0'", 2, "did you mean 'correlation'?\n"},
         {"mono.wav --fail-if 'peak=0'", 2, "'peak=0' is not a figure"},
         {"mono.wav --fail-if 'peak<low'", 2, "takes a figure, <, <=, > or >=, and a number"},
         {"mono.wav --json --csv", 2, "--json and --csv: take one of them\n"},
         {"mono.wav left.wav right.wav --picture a.png", 2, "--picture: draws one or two files\n"},
         {"gone.wav --picture gone/a.png", 1, "kelvane: gone/a.png: there is no folder gone\n"},
         {"mono.wav --picture a.xyz", 2, "a.xyz: a picture ends in .png or .svg\n"},
         {"mono.wav >/dev/full", 1, "standard output: cannot write: "}});
    // The rest goes on.
    EXPECT_THAT(kelvane("measure gone.wav mono.wav").out, HasSubstr("  mono.wav\n"));
}

TEST_F(Measure, OtherProgramsReadItsJsonAndCsv) {
    const auto figures = kelvane(
        "measure silent.wav mono.wav --json --every 0.4s | python3 -c \"import json, sys\n"
        "for row in json.load(sys.stdin): print(*[row[key] for key in ('file', 'start', "
        "'seconds', 'correlation', 'peak', 'side-to-mid')], len(row['remarks']))\"");
    EXPECT_THAT(figures.out, AllOf(HasSubstr("silent.wav 0.8 0.2 None -inf None 1\n"),
                                   HasSubstr("mono.wav 0.8 0.202268 1")))
        << figures.err;
    EXPECT_THAT(kelvane("measure mono.wav silent.wav --csv | python3 -c \"import csv, sys\n"
                        "for row in csv.DictReader(sys.stdin): print(row['correlation'], "
                        "row['mono-cost'], row['rate'], row['peak'])\"")
                    .out,
                testing::MatchesRegex("1,? -?0 44100 .*\n  44100 -inf\n"));
    EXPECT_EQ(qov::cli::jsonText("\"\\\n\xC3\xA9\xC3\xED\xA0\x80"),
              "\"\\\"\\\\\\u000a\xC3\xA9\\ufffd\\ufffd\\ufffd\\ufffd\"");
}

}  // namespace
