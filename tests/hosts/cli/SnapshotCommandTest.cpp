#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "hosts/cli/SnapshotCommand.h"

namespace qov::cli {
namespace {

class Snapshot : public testing::Test {
 protected:
    Snapshot() { std::filesystem::create_directory(folder_); }
    ~Snapshot() override { std::filesystem::remove_all(folder_); }

    std::string path(const std::string& name) const { return folder_ / name; }
    /// The picture's bytes.
    std::string take(Arguments options) {
        options.insert(options.begin(), path("out.png"));
        EXPECT_EQ(runSnapshot(options), 0);
        std::ifstream file(path("out.png"), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// A second of left 0.5, right -0.25, in 16 bits at 8000 Hz.
    void writeSignal() const {
        std::ofstream file(path("in.wav"), std::ios::binary);
        const unsigned char header[]{'R', 'I', 'F',  'F',  0x24, 0x7d, 0,   0,    'W',  'A', 'V',
                                     'E', 'f', 'm',  't',  ' ',  16,   0,   0,    0,    1,   0,
                                     2,   0,   0x40, 0x1f, 0,    0,    0,   0x7d, 0,    0,   4,
                                     0,   16,  0,    'd',  'a',  't',  'a', 0,    0x7d, 0,   0};
        file.write(reinterpret_cast<const char*>(header), sizeof header);
        for (int i = 0; i < 8000; ++i) file.write("\x00\x40\x00\xe0", 4);
    }

    std::filesystem::path folder_ =
        std::filesystem::temp_directory_path() / ("kelvane-snapshot-" + std::to_string(getpid()));
};

TEST_F(Snapshot, SameArgumentsSameBytesAndEachOptionShows) {
    writeSignal();
    const Arguments base{"--size", "340x220", "--signal", path("in.wav"), "--at", "0.5s"};
    const std::string plain = take(base);
    EXPECT_EQ(take(base), plain);
    for (const Arguments& more : {Arguments{"--phase-shift", "0.5"}, Arguments{"--test-mono"},
                                  Arguments{"--bypass"}, Arguments{"--brightness", "1"},
                                  Arguments{"--scale", "2"}, Arguments{"--draw-mode", "bezier"}}) {
        Arguments with = base;
        with.insert(with.end(), more.begin(), more.end());
        EXPECT_NE(take(with), plain) << more[0];
    }
    // The correlograph shows how far the file has been played, and the delay that was asked for.
    const auto graph = [&](const char* at, const char* shift) {
        return take({"--view", "correlograph", "--signal", path("in.wav"), "--at", at,
                     "--phase-shift", shift});
    };
    EXPECT_NE(graph("0", "0"), graph("0.5s", "0"));
    EXPECT_NE(graph("2048", "0"), graph("2048", "1")) << "80 frames of the left side come later";
}

TEST_F(Snapshot, WrongWordsEndWithALineThatSaysWhatWouldBeRight) {
    const auto lineOf = [&](Arguments options) -> std::string {
        try {
            options.insert(options.begin(), path("out.png"));
            runSnapshot(options);
        } catch (const Failure& failure) {
            return failure.what();
        }
        return "no failure";
    };
    EXPECT_EQ(lineOf({"--size", "3"}),
              "--size 3: takes a width and a height in points, as in 680x440");
    EXPECT_EQ(lineOf({"--draw-mode", "dots"}),
              "--draw-mode dots: takes one of points, ovals, bezier");
    EXPECT_EQ(lineOf({"--scale", "nan"}), "--scale nan: takes a number from 0.25 to 8");
    EXPECT_NE(lineOf({"--size", "90000x10"}).find("16384"), std::string::npos);
    EXPECT_NE(lineOf({"--at", "3"}).find("--signal"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(path("out.png")));
}

}  // namespace
}  // namespace qov::cli
