#include "hosts/cli/SnapshotCommand.h"

#include <algorithm>
#include <span>

#include <gtest/gtest.h>

#include "platform/coregraphics/CGImage.h"
#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace qov::cli {
namespace {

class Snapshot : public testing::Test {
 protected:
    /// The picture's bytes.
    std::string take(Arguments options) {
        options.insert(options.begin(), folder_ / "out.png");
        EXPECT_EQ(runSnapshot(options), 0);
        return contents(folder_ / "out.png");
    }

    const TemporaryFolder folder_;
};

TEST_F(Snapshot, SameArgumentsSameBytesAndEachOptionShows) {
    Sound<float> second{.format = 0x10002, .rate = 8000, .samples = {}};
    for (int i = 0; i < 8000; ++i) second.samples.insert(second.samples.end(), {0.5f, -0.25f});
    save(folder_ / "in.wav", second);
    const Arguments base{"--size", "340x220", "--signal", folder_ / "in.wav", "--at", "0.5s"};
    const std::string plain = take(base);
    EXPECT_EQ(take(base), plain);
    for (const Arguments& more : {Arguments{"--phase-shift", "0.5"}, Arguments{"--test-mono"},
                                  Arguments{"--bypass"}, Arguments{"--brightness", "1"},
                                  Arguments{"--scale", "2"}, Arguments{"--draw-mode", "bezier"}}) {
        Arguments with = base;
        with.insert(with.end(), more.begin(), more.end());
        EXPECT_NE(take(with), plain) << more[0];
    }
    // A flat window shows the same panel in its middle.
    const auto decode = [](const std::string& png) {
        return platform::CGImage::decode(std::as_bytes(std::span(png)));
    };
    Arguments flat = base;
    flat[1] = "440x220";
    const auto panel = decode(plain), wide = decode(take(flat));
    ASSERT_EQ(wide->width(), 440);
    for (int y = 0; y < 220; y += 11)
        EXPECT_TRUE(std::ranges::equal(panel->pixels().subspan(y * 340 + 10, 320),
                                       wide->pixels().subspan(y * 440 + 60, 320)))
            << y;
    // The correlograph shows how far the file has been played, and the delay that was asked for.
    const auto graph = [&](const char* at, const char* shift) {
        return take({"--view", "correlograph", "--signal", folder_ / "in.wav", "--at", at,
                     "--phase-shift", shift});
    };
    EXPECT_NE(graph("0", "0"), graph("0.5s", "0"));
    EXPECT_NE(graph("2048", "0"), graph("2048", "1")) << "80 frames of the left side come later";
}

TEST_F(Snapshot, WrongWordsEndWithALineThatSaysWhatWouldBeRight) {
    const auto lineOf = [&](Arguments options) {
        options.insert(options.begin(), folder_ / "out.png");
        return failureOf(2, [&] { runSnapshot(options); });
    };
    EXPECT_EQ(lineOf({"--size", "3"}),
              "--size 3: takes a width and a height in points, as in 680x440");
    EXPECT_EQ(lineOf({"--draw-mode", "dots"}),
              "--draw-mode dots: takes one of points, ovals, bezier");
    EXPECT_EQ(lineOf({"--scale", "nan"}), "--scale nan: takes a number from 0.25 to 8");
    EXPECT_NE(lineOf({"--size", "90000x10"}).find("16384"), std::string::npos);
    EXPECT_NE(lineOf({"--at", "3"}).find("--signal"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "out.png"));
}

}  // namespace
}  // namespace qov::cli
