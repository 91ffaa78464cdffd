#include "hosts/instance/valueText.h"

#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "dsp/ParameterAddress.h"

namespace qov::hosts {
namespace {

struct Row {
    std::uint64_t address;
    float value;
    double rate;
    const char* text;
};

class ValueTextTest : public testing::TestWithParam<Row> {};

TEST_P(ValueTextTest, ShowsThePanelsFigureAndReadsItBack) {
    const auto& row = GetParam();
    EXPECT_EQ(valueText(row.address, row.value, row.rate), row.text);
    const auto parsed = parseValue(row.address, row.text, row.rate);
    ASSERT_TRUE(parsed);
    EXPECT_EQ(valueText(row.address, *parsed, row.rate), row.text);
}

INSTANTIATE_TEST_SUITE_P(
    Values, ValueTextTest,
    testing::Values(Row{kStereoWidth, 0.5f, 44100, "0 %"}, Row{kStereoWidth, 0.6f, 44100, "+20 %"},
                    Row{kStereoWidth, 0.0f, 44100, "-100 %"},
                    Row{kStereoWidth, 0.499f, 44100, "0 %"}, Row{kPanorama, 0.35f, 44100, "L 30 %"},
                    Row{kPanorama, 1.0f, 44100, "R 100 %"}, Row{kPanorama, 0.501f, 44100, "C"},
                    Row{kPhaseShift, 0.5f, 44100, "220 samples (5.0 ms)"},
                    Row{kPhaseShift, 0.0f, 44100, "1 sample (0.0 ms)"},
                    Row{kPhaseShift, 1.0f, 96000, "960 samples (10.0 ms)"},
                    Row{kPhaseShift, 0.25f, 48000, "120 samples (2.5 ms)"},
                    Row{kTestMono, 0.5f, 44100, "off"}, Row{kTestMono, 0.6f, 44100, "on"},
                    Row{kBypass, 1.0f, 44100, "on"}, Row{kStereoWidth, NAN, 44100, "-100 %"},
                    Row{kPanorama, 1e30f, 44100, "R 100 %"},
                    Row{kPhaseShift, NAN, 44100, "1 sample (0.0 ms)"},
                    Row{kPhaseShift, INFINITY, 44100, "441 samples (10.0 ms)"}));

TEST(ParseValue, ReadsEveryDelayBackAsItself) {
    for (const double rate : {8000.0, 44100.0, 192000.0})
        for (int frames = 1; frames <= static_cast<int>(rate / 100); ++frames) {
            const auto text = std::to_string(frames) + " samples";
            const auto value = parseValue(kPhaseShift, text, rate);
            ASSERT_TRUE(value) << text;
            // What the kernel makes of it.
            const auto heard = static_cast<int>(static_cast<float>(rate) / 100.0f * *value);
            ASSERT_EQ(std::max(1, heard), frames) << "at " << rate;
        }
}

TEST(ParseValue, UnderstandsPeopleAndRefusesTheRest) {
    const std::tuple<std::uint64_t, const char*, float> understood[] = {
        {kStereoWidth, " +20 ", 0.6f}, {kStereoWidth, "1e9%", 1},    {kPanorama, "r30", 0.65f},
        {kPanorama, "-100", 0},        {kPanorama, "Center", 0.5f},  {kPhaseShift, "9.99 ms", 1},
        {kPhaseShift, "-5", 0},        {kPhaseShift, "1 sample", 0}, {kBypass, "YES", 1},
        {kSwapChannels, "0", 0}};
    for (const auto& [address, text, value] : understood) {
        const auto parsed = parseValue(address, text, 48000);
        ASSERT_TRUE(parsed) << text;
        EXPECT_NEAR(*parsed, value, 1e-6) << text;
    }
    const std::pair<std::uint64_t, const char*> refused[] = {
        {kStereoWidth, ""},    {kStereoWidth, "wide"},
        {kStereoWidth, "nan"}, {kStereoWidth, "++1"},
        {kPanorama, "L"},      {kPanorama, "5 ms"},
        {kPhaseShift, "inf"},  {kPhaseShift, "2 cm"},
        {kBypass, "perhaps"},  {8, "1"}};
    for (const auto& [address, text] : refused)
        EXPECT_FALSE(parseValue(address, text, 48000)) << text;
}

}  // namespace
}  // namespace qov::hosts
