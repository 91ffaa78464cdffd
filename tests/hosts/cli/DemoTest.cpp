#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hosts/cli/Phrase.h"
#include "hosts/cli/Progress.h"
#include "hosts/cli/StereoField.h"
#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"
#include "tests/hosts/cli/checksum/tourChecksum.h"

namespace {

using qov::cli::StereoField;

TEST(Demo, WritesThePhraseItsTourAndThePictureFromAnyFolder) {
    const TemporaryFolder folder;
    const auto run = shell("cd " + (folder / "") + " && $K demo sub/folder");
    ASSERT_EQ(run.code, 0) << run.err;
    const auto phrase = loadFloats(folder / "sub/folder/phrase.wav");
    const auto tour = loadFloats(folder / "sub/folder/tour.wav");
    ASSERT_EQ(tour.samples.size(), phrase.samples.size());
    SampleChecksum checksum;
    for (std::size_t i = 0; i < tour.samples.size(); i += 2)
        checksum.add(tour.samples[i], tour.samples[i + 1]);
    EXPECT_EQ(checksum.value(), tourChecksum);
    for (const char* file : {"phrase.wav", "tour.wav", "tour.automation", "field.png"})
        EXPECT_THAT(run.out, testing::HasSubstr(std::string("sub/folder/") + file));
    EXPECT_THAT(contents(folder / "sub/folder/field.png"), testing::StartsWith("\x89PNG\r\n"));
}

TEST(Demo, ThePhraseHasACentreAndTwoSidesAndNoClippedOrBrokenSample) {
    const auto phrase = qov::cli::playPhrase();
    StereoField field(static_cast<std::int64_t>(phrase.left.size()), 1, 1);
    field.measure(phrase.left.data(), phrase.right.data(), phrase.left.size());
    const auto& whole = field.slices()[0];
    EXPECT_GT(whole.width(), 0.2);
    EXPECT_LT(whole.width(), 0.5);
    EXPECT_NEAR(whole.balance(), 0, 0.1);
    float highest = 0;
    for (const auto* side : {&phrase.left, &phrase.right})
        for (const float sample : *side) highest = std::max(highest, std::abs(sample));
    EXPECT_NEAR(highest, 0.9, 1e-6);
    const auto seconds = static_cast<double>(phrase.left.size()) / qov::cli::Phrase::rate;
    EXPECT_GE(seconds, 8);
    EXPECT_LE(seconds, 16);
}

TEST(StereoField, WidthCorrelationAndBalanceOfKnownSignals) {
    struct Case {
        float left, right;  ///< gains of one noise; `other` is added to the right side
        float other;
        double width, correlation, balance;
    };
    for (const auto& c : {Case{1, 1, 0, 0, 1, 0},
                          {1, -1, 0, 1, -1, 0},
                          {1, 0, 0, 0.5, 0, -1},
                          {0, 1, 0, 0.5, 0, 1},
                          {1, 0, 1, 0.5, 0, 0},
                          {1, 0.5, 0, 0.25, 1, -1.0 / 3},
                          {0, 0, 0, 0, 1, 0}}) {
        const auto both = noise(400000);
        std::vector<float> left, right;
        for (std::size_t i = 0; i < 200000; ++i) {
            left.push_back(c.left * both[i]);
            right.push_back(c.right * both[i] + c.other * both[200000 + i]);
        }
        StereoField field(200000, 4, 16);
        field.measure(left.data(), right.data(), left.size());
        for (const auto& slice : field.slices()) {
            EXPECT_NEAR(slice.width(), c.width, 0.01);
            EXPECT_NEAR(slice.correlation(), c.correlation, 0.01);
            EXPECT_NEAR(slice.balance(), c.balance, 0.01);
        }
    }
}

TEST(StereoField, MidIsUprightAndEachSideLeansItsOwnWay) {
    constexpr std::size_t side = 101;
    struct Case {
        float left, right;
        std::size_t column, row;  ///< where the beam rests
    };
    for (const auto& [left, right, column, row] : {Case{0.5F, 0.5F, 50, 15},
                                                   {-0.5F, -0.5F, 50, 85},
                                                   {0.5F, 0, 33, 33},
                                                   {0, 0.5F, 67, 33},
                                                   {0.5F, -0.5F, 15, 50}}) {
        StereoField field(1000, 1, side);
        const std::vector<float> l(1000, left);
        const std::vector<float> r(1000, right);
        field.trace(l.data(), r.data(), l.size(), 1);
        std::size_t brightest = 0;
        for (std::size_t i = 0; i < side * side; ++i)
            if (field.visits()[i] > field.visits()[brightest]) brightest = i;
        EXPECT_NEAR(static_cast<double>(brightest % side), static_cast<double>(column), 1)
            << left << " " << right;
        EXPECT_NEAR(static_cast<double>(brightest / side), static_cast<double>(row), 1)
            << left << " " << right;
    }
}

TEST(Field, DrawsOneOrTwoFilesAsPngAndSvgAndNamesWhatIsWrong) {
    const TemporaryFolder folder;
    save(folder / "a.wav", {.format = 0x10006, .samples = noise(20000)});
    save(folder / "empty.wav", Sound<float>{.format = 0x10006, .samples = {}});
    save(folder / "silent.wav", Sound<float>{.format = 0x10006, .samples = {0, 0}});
    const auto at = "cd " + (folder / "") + " && $K field ";
    EXPECT_EQ(shell(at + "one.png a.wav").code, 0);
    EXPECT_EQ(shell(at + "two.svg a.wav silent.wav").code, 0);
    EXPECT_THAT(contents(folder / "two.svg"),
                testing::AllOf(testing::HasSubstr("<svg"), testing::HasSubstr("</svg>")));
    // The width of a PNG stands behind its first chunk's name.
    EXPECT_EQ(contents(folder / "one.png").substr(12, 4), "IHDR");
    const auto files = folder.files();
    for (const auto& [arguments, code, message] :
         {std::tuple{"one.gif a.wav", 2, "one.gif: a picture ends in .png or .svg"},
          std::tuple{"one.png empty.wav", 1, "empty.wav: has no samples behind its header"},
          std::tuple{"one.png gone.wav", 1, "gone.wav: there is no such file"},
          std::tuple{"one.png a.wav a.wav a.wav", 2, "FILE has too many values"}}) {
        const auto run = shell(at + arguments);
        EXPECT_EQ(run.code, code) << arguments;
        EXPECT_THAT(run.err, testing::HasSubstr(message));
    }
    EXPECT_EQ(shell(at + "/dev/full a.wav").code, 2);
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
