#include <algorithm>
#include <cstddef>
#include <string>

#include <gtest/gtest.h>
#include <sndfile.h>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace qov::test {
namespace {

/// Its scripting shell puts the plug-in on a track and saves the session; its export loads that
/// session again.
class Ardour : public testing::TestWithParam<const char*> {};

TEST_P(Ardour, PlaysASavedSessionAsTheCommandLineDoes) {
    constexpr std::size_t frames = 96000;
    const TemporaryFolder folder;
    const std::string format = GetParam();
    // Settings glide when the effect starts: through silence, so that the rest can be compared.
    Sound<float> sound{
        .format = SF_FORMAT_WAV | SF_FORMAT_FLOAT, .rate = 48000, .samples = noise(2 * frames)};
    std::fill_n(sound.samples.begin(), frames / 2, 0.0F);
    save(folder / "in.wav", sound);
    save(folder / "same.wav", sound);
    const auto home = folder / "home";
    // Nothing of this user's; scanning finds the bundles of the build.
    const auto in = "mkdir -p " + home + "/.vst3 && ln -sf '" PLUGINS "/vst3/QOV Kelvane.vst3' " +
                    home + "/.vst3 && env -u DISPLAY HOME=" + home + " XDG_CACHE_HOME=" + home +
                    "/cache XDG_CONFIG_HOME=" + home + "/config LV2_PATH='" PLUGINS "/lv2' ";
    const auto scanned = shell(in +
                               "LD_LIBRARY_PATH=/usr/lib/ardour7 "
                               "/usr/lib/ardour7/ardour-vst3-scanner '" +
                               home + "/.vst3/QOV Kelvane.vst3'");
    ASSERT_EQ(scanned.code, 0) << scanned.out << scanned.err;
    const auto made = shell(in + "timeout 60 ardour7-lua " SCRIPTS "/ardour.lua " + (folder / ".") +
                            " " + format + " " + std::to_string(frames));
    ASSERT_EQ(made.code, 0) << made.out << made.err;
    EXPECT_NE(made.out.find("latency 2048"), std::string::npos) << made.out;
    const auto exported = shell(in + "timeout 60 ardour7-export -b float -o " +
                                (folder / "out.wav") + " " + (folder / "s") + " s");
    ASSERT_EQ(exported.code, 0) << exported.out << exported.err;

    // Ardour plays automation late by the latency of the plug-in that it is for.
    write(folder / "automation", "52048 set swap-channels on\n72048 set swap-channels off\n");
    const auto rendered =
        shell("$K render " + (folder / "same.wav") + " " + (folder / "expected.wav") +
              " --stereo-width 0.75 --phase-shift 0.5" +
              (format == "VST3" ? " --automation " + (folder / "automation") : std::string()));
    ASSERT_EQ(rendered.code, 0) << rendered.err;

    const auto expected = loadFloats(folder / "expected.wav").samples;
    const auto heard = loadFloats(folder / "out.wav").samples;
    ASSERT_EQ(heard.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        ASSERT_EQ(heard[i], expected[i]) << "channel " << i % 2 << ", frame " << i / 2;
}

INSTANTIATE_TEST_SUITE_P(Formats, Ardour, testing::Values("LV2", "VST3"),
                         [](const auto& of) { return std::string(of.param); });

}  // namespace
}  // namespace qov::test
