#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hosts/cli/Command.h"
#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace {

using qov::cli::Arguments;
using qov::cli::runSnapshot;

TEST(Snapshot, SameArgumentsSameBytesAndEachOptionShows) {
    const TemporaryFolder folder;
    Sound second{.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16, .rate = 8000, .samples = {}};
    for (int i = 0; i < 8000; ++i) second.samples.insert(second.samples.end(), {0.5, -0.25});
    save(folder / "in.wav", second);
    const auto take = [&](const Arguments& more) {
        Arguments options{folder / "out.png", "--signal", folder / "in.wav", "--at", "0.5s",
                          "--size",           "340x220"};
        options.insert(options.end(), more.begin(), more.end());
        EXPECT_EQ(runSnapshot(options), 0);
        return contents(folder / "out.png");
    };
    const auto plain = take({});
    EXPECT_EQ(take({}), plain);
    for (const Arguments& more : {Arguments{"--phase-shift", "0.5"},
                                  {"--test-mono"},
                                  {"--bypass"},
                                  {"--brightness", "1"},
                                  {"--scale", "2"},
                                  {"--draw-mode", "bezier"}})
        EXPECT_NE(take(more), plain) << more[0];
    // The correlograph shows how far the file has been played, and the delay that was asked for.
    const auto graph = [&](const char* at, const char* shift) {
        return take({"--view", "correlograph", "--at", at, "--phase-shift", shift});
    };
    EXPECT_NE(graph("0", "0"), graph("0.5s", "0"));
    EXPECT_NE(graph("2048", "0"), graph("2048", "1")) << "80 frames of the left side come later";
}

using SnapshotCommand = ProgramTest;
TEST_F(SnapshotCommand, WrongWordsEndWithALineThatSaysWhatWouldBeRight) {
    expectErrors("snapshot out.png ",
                 {{"--size 3", 2, "takes WIDTHxHEIGHT in points, 1 to 16384 each"},
                  {"--draw-mode dots", 2, "dots: takes one of points, ovals, bezier"},
                  {"--scale nan", 2, "--scale nan: takes a number from 0.25 to 8"},
                  {"--size 90000x10", 2, "16384"},
                  {"--at 3", 2, "--signal"}});
    EXPECT_EQ(folder.files(), std::vector<std::string>{});
}

}  // namespace
