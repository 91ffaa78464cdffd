#include <chrono>
#include <cmath>
#include <numeric>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hosts/cli/Progress.h"
#include "hosts/cli/StereoField.h"
#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"
#include "tests/hosts/cli/checksum/SampleChecksum.h"

namespace {

using qov::cli::StereoField;
using testing::HasSubstr;

using Demo = ProgramTest;
TEST_F(Demo, WritesThePhraseItsTourAndThePictureFromAnyFolder) {
    // A change of this number is a change of the sound that people hear.
    constexpr std::uint64_t tourChecksum = 0x6F8E51CC223DD9D5;
    const auto run = kelvane("demo sub/folder");
    ASSERT_EQ(run.code, 0) << run.err;
    SampleChecksum checksum;
    for (const double sample : load(folder / "sub/folder/tour.wav").samples)
        checksum.add(static_cast<float>(sample));
    EXPECT_EQ(checksum.value(), tourChecksum);
    for (const char* file : {"phrase.wav", "tour.wav", "tour.automation", "field.png"})
        EXPECT_THAT(run.out, HasSubstr(std::string("sub/folder/") + file));
    EXPECT_THAT(contents(folder / "sub/folder/field.png"), testing::StartsWith("\x89PNG\r\n"));
}

TEST(StereoField, MeasuresWidthCorrelationAndBalanceAndTracesMidUpright) {
    constexpr std::size_t side = 101;
    struct Case {
        std::vector<float> left, right;  // played round and round
        double width, correlation, balance;
        std::size_t column, row;  // where the beam rests longest
    };
    for (const auto& c : {Case{{0.5F}, {0.5F}, 0, 1, 0, 50, 15},
                          {{-0.5F}, {-0.5F}, 0, 1, 0, 50, 85},
                          {{0.5F}, {-0.5F}, 1, -1, 0, 15, 50},
                          {{0.5F}, {0}, 0.5, 0, -1, 33, 33},
                          {{0}, {0.5F}, 0.5, 0, 1, 67, 33},
                          {{0.6F}, {0.3F}, 0.25, 1, -1.0 / 3, 39, 18},
                          {{0.5F, 0.5F, 0.5F, -0.5F}, {0.5F, -0.5F, 0.5F, 0.5F}, 0.5, 0, 0, 50, 15},
                          {{NAN}, {0}, 0, NAN, 0, 50, 50}}) {
        constexpr std::size_t frames = 1000;
        std::vector<float> left, right;
        for (std::size_t i = 0; i < frames; ++i) {
            left.push_back(c.left[i % c.left.size()]);
            right.push_back(c.right[i % c.right.size()]);
        }
        StereoField field(frames, 4, side);
        field.measure(left.data(), right.data(), frames);
        for (const auto& slice : field.slices()) {
            EXPECT_NEAR(slice.width(), c.width, 0.01);
            EXPECT_THAT(slice.correlation(), testing::NanSensitiveDoubleNear(c.correlation, 0.01));
            EXPECT_NEAR(slice.balance(), c.balance, 0.01);
        }
        field.trace(left.data(), right.data(), frames, 1);
        const auto from = field.visits().begin();
        EXPECT_EQ(std::accumulate(from, from + 10 * side, 0.0F), 0) << "nothing near the top";
        const auto brightest = static_cast<std::size_t>(std::ranges::max_element(field.visits()) -
                                                        field.visits().begin());
        EXPECT_NEAR(static_cast<double>(brightest % side), static_cast<double>(c.column), 3);
        EXPECT_NEAR(static_cast<double>(brightest / side), static_cast<double>(c.row), 3);
    }
}

using Field = ProgramTest;
TEST_F(Field, DrawsOneOrTwoFilesAsPngAndSvgAndNamesWhatIsWrong) {
    save(folder / "a.wav", {.samples = noise(20000)});
    save(folder / "silent.wav", {.samples = {0, 0}});
    save(folder / "empty.wav", {});
    EXPECT_EQ(kelvane("field one.png a.wav").code, 0);
    EXPECT_EQ(kelvane("field two.svg a.wav silent.wav").code, 0);
    EXPECT_THAT(contents(folder / "two.svg"),
                testing::AllOf(HasSubstr("<svg"), HasSubstr("</svg>")));
    EXPECT_EQ(contents(folder / "one.png").substr(12, 4), "IHDR");
    const auto files = folder.files();
    for (const auto& [arguments, code, message] :
         {std::tuple{"one.gif a.wav", 2, "one.gif: a picture ends in .png or .svg"},
          {"one.png gone.wav", 1, "gone.wav: there is no such file"},
          {"one.png empty.wav", 1, "empty.wav: has no samples"},
          {"one.png a.wav a.wav a.wav", 2, "FILE has too many values"},
          {"/dev/full a.wav", 2, "/dev/full: a picture ends in"}}) {
        const auto run = kelvane(std::string("field ") + arguments);
        EXPECT_EQ(run.code, code) << arguments;
        EXPECT_THAT(run.err, HasSubstr(message));
    }
    EXPECT_EQ(shell("ulimit -f 4; cd " + (folder / "") + " && $K field one.png a.wav").code, 1);
    EXPECT_EQ(folder.files(), files);
}

TEST(Progress, SaysHowFarAndHowFast) {
    using namespace std::chrono_literals;
    EXPECT_EQ(qov::cli::progressLine(44100 * 252, 44100 * 600, 44100, 500ms),
              " 42 %  [############                  ]  4:12 of 10:00  504x");
    EXPECT_EQ(qov::cli::progressLine(48000L * 3723, {}, 48000, 1s), "1:02:03  3723x");
    EXPECT_EQ(qov::cli::progressLine(0, 44100, 44100, 0s),
              "  0 %  [                              ]  0:00 of 0:01  0x");
}

}  // namespace
