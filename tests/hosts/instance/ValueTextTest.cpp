#include "hosts/instance/valueText.h"

#include <cmath>
#include <cstdlib>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "dsp/ParameterAddress.h"

namespace qov::hosts {
namespace {

TEST(ValueText, ShowsThePanelsFigureAndReadsItBack) {
    for (const auto& [address, value, rate, text] :
         {std::tuple{kStereoWidth, 0.5f, 44100.0, "0 %"},
          {kStereoWidth, 0.6f, 44100, "+20 %"},
          {kStereoWidth, 0.0f, 44100, "-100 %"},
          {kStereoWidth, NAN, 44100, "-100 %"},
          {kPanorama, 0.35f, 44100, "L 30 %"},
          {kPanorama, 1e30f, 44100, "R 100 %"},
          {kPanorama, 0.501f, 44100, "C"},
          {kPhaseShift, 0.5f, 44100, "220 samples (5.0 ms)"},
          {kTestMono, 0.5f, 44100, "off"},
          {kPhaseShift, 1.0f, 96000, "960 samples (10.0 ms)"},
          {kBypass, 0.6f, 44100, "on"},
          {kPhaseShift, NAN, 44100, "1 sample (0.0 ms)"},
          {kPhaseShift, INFINITY, 44100, "441 samples (10.0 ms)"}}) {
        EXPECT_EQ(valueText(address, value, rate), text);
        const auto parsed = parseValue(address, text, rate, BareNumber::shown).value_or(-9);
        EXPECT_EQ(valueText(address, static_cast<float>(parsed), rate), text);
    }
    for (int i = 0; i <= 10000; ++i) {
        const auto value = static_cast<float>(i) / 10000;
        // As the panel computes it: twice the value less 1, in double precision, rounded.
        const auto panel = static_cast<int>(std::round((2 * double{value} - 1) * 100));
        ASSERT_EQ(std::atoi(valueText(kStereoWidth, value, 44100).c_str()), panel) << value;
    }
}

TEST(ParseValue, ReadsEveryDelayBackAsItself) {
    for (const double rate : {8000.0, 44100.0, 192000.0})
        for (int frames = 1; frames <= static_cast<int>(rate / 100); ++frames) {
            const auto text = std::to_string(frames) + " samples";
            const auto value = parseValue(kPhaseShift, text, rate, BareNumber::shown);
            ASSERT_TRUE(value) << text;
            // As the kernel computes it.
            const auto delay =
                static_cast<int>(static_cast<float>(rate) / 100.0f * static_cast<float>(*value));
            ASSERT_EQ(std::max(1, delay), frames) << "at " << rate;
        }
}

TEST(ParseValue, ReadsTheFormsThatPeopleWriteAndRefusesOthers) {
    constexpr double refused = -99;
    for (const auto& [address, text, shown, normalized, typed] :
         {std::tuple{kStereoWidth, "+60%", 0.8, 0.8, 0.8},
          {kStereoWidth, " +20 ", 0.6, 20, 0.6},
          {kStereoWidth, "0.7", 0.5035, 0.7, 0.7},
          {kStereoWidth, "1", 0.505, 1, 0.505},
          {kStereoWidth, "150 %", 1.25, 1.25, 1.25},
          {kPanorama, "r30", 0.65, 0.65, 0.65},
          {kPanorama, "L 30 %", 0.35, 0.35, 0.35},
          {kPanorama, "-0.5", 0.4975, -0.5, 0.4975},
          {kPanorama, "Center", 0.5, 0.5, 0.5},
          {kPanorama, "R 0.5", 0.5025, 0.5025, 0.5025},
          {kPhaseShift, "1.0", 0, 1, 1},
          {kPhaseShift, "9.99 ms", 1, 1, 1},
          {kPhaseShift, "1 sample", 0, 0, 0},
          {kPhaseShift, "20ms", 2, 2, 2},
          {kBypass, "YES", 1, 1, 1},
          {kSwapChannels, "0", 0, 0, 0},
          {kBypass, "0.7", refused, 0.7, 0.7},
          {kVolume, "80", 0.8, 80, 0.8},
          {kVolume, "-6dB", 0.501187, 0.501187, 0.501187},
          {kVolume, "+6 dB", 1.995262, 1.995262, 1.995262},
          {kPhaseShift, "220", 220.5 / 480, 220, 220.5 / 480},
          {kPhaseShift, "5ms", 240.5 / 480, 240.5 / 480, 240.5 / 480},
          {kPhaseShift, "220samples", 220.5 / 480, 220.5 / 480, 220.5 / 480}})
        for (const auto& [number, value] : {std::pair{BareNumber::shown, shown},
                                            {BareNumber::normalized, normalized},
                                            {BareNumber::typed, typed}})
            EXPECT_NEAR(parseValue(address, text, 48000, number).value_or(refused), value, 1e-6)
                << text;
    const std::pair<std::uint64_t, std::vector<const char*>> others[]{
        {kStereoWidth, {"", "wide", "nan", "++1"}},
        {kPanorama, {"L", "5 ms"}},
        {kPhaseShift, {"inf", "2 cm"}},
        {kBypass, {"perhaps"}},
        {8, {"1"}}};
    for (const auto& [address, texts] : others)
        for (const auto* text : texts)
            for (const auto number : {BareNumber::shown, BareNumber::normalized, BareNumber::typed})
                EXPECT_FALSE(parseValue(address, text, 48000, number)) << text;
}

}  // namespace
}  // namespace qov::hosts
