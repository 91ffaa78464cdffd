#include <algorithm>
#include <cstddef>
#include <iostream>
#include <string>

#include <gtest/gtest.h>
#include <sndfile.h>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace qov::test {
namespace {

constexpr std::size_t frames = 96000;
/// The result of one try: no fault where Ardour's export has the expected sound.
struct Outcome {
    std::string fault;
    /// A crash, a hang or silence, which Ardour's export produces without any plug-in, too.
    bool mayBeArdour = false;
};

/// Ardour's scripting shell puts the plug-in on a track and saves the session; its export loads
/// that session again.
Outcome attempt(const std::string& format, const Sound& sound) {
    const TemporaryFolder folder;
    save(folder / "in.wav", sound);
    save(folder / "same.wav", sound);
    const auto home = folder / "home";
    // Nothing of this user's; scanning finds the bundles of the build. Two faults of Ardour, seen
    // without any plug-in, are avoided: the resampler of its ports makes some exports 16 frames
    // early, and its threads corrupt the heap where they run on two cores.
    shell("mkdir -p " + home + "/.vst3 " + home +
          "/config/ardour7 && ln -sf '" PLUGINS "/vst3/QOV Kelvane.vst3' " + home + "/.vst3");
    write(home + "/config/ardour7/config",
          "<Ardour><Config><Option name=\"port-resampler-quality\" "
          "value=\"0\"/></Config></Ardour>\n");
    const auto in = "env -u DISPLAY HOME=" + home + " XDG_CACHE_HOME=" + home +
                    "/cache XDG_CONFIG_HOME=" + home +
                    "/config LV2_PATH='" PLUGINS
                    "/lv2' taskset --cpu-list $(taskset --cpu-list --pid $$ |"
                    " sed 's/.*: //; s/[-,].*//') ";
    std::string printed;
    for (const auto& command :
         {"timeout 40 env LD_LIBRARY_PATH=/usr/lib/ardour7 /usr/lib/ardour7/ardour-vst3-scanner '" +
              home + "/.vst3/QOV Kelvane.vst3'",
          "timeout 40 ardour7-lua " SCRIPTS "/ardour.lua " + (folder / ".") + " " + format + " " +
              std::to_string(frames),
          "timeout 40 ardour7-export -b float -o " + (folder / "out.wav") + " " + (folder / "s") +
              " s"}) {
        const auto run = shell(in + command);
        printed += run.out + run.err;
        // `timeout` exits with 124, a shell with 128 and the signal's number.
        if (run.code != 0)
            return {"exit code " + std::to_string(run.code) + ":\n" + printed, run.code >= 124};
    }
    if (printed.find("latency 2048") == std::string::npos) return {"latency:\n" + printed};

    // Ardour plays automation late by the latency of the plug-in that it is for.
    write(folder / "automation", "52048 set swap-channels on\n72048 set swap-channels off\n");
    const auto rendered =
        shell("$K render " + (folder / "same.wav") + " " + (folder / "expected.wav") +
              " --stereo-width 0.75 --phase-shift 0.5" +
              (format == "VST3" ? " --automation " + (folder / "automation") : std::string()));
    if (rendered.code != 0) return {rendered.err};

    const auto expected = load(folder / "expected.wav").samples;
    const auto heard = load(folder / "out.wav").samples;
    if (heard.size() != expected.size())
        return {std::to_string(heard.size()) + " samples instead of " +
                std::to_string(expected.size())};
    std::size_t wrong = 0, silent = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        wrong += heard[i] != expected[i];
        silent += heard[i] == 0.0F && expected[i] != 0.0F;
    }
    if (wrong == 0) return {};
    const auto first = std::ranges::mismatch(heard, expected).in1 - heard.begin();
    return {"from channel " + std::to_string(first % 2) + ", frame " + std::to_string(first / 2) +
                ": " + std::to_string(wrong) + " samples are wrong, " + std::to_string(silent) +
                " of them 0",
            silent == wrong};
}

class Ardour : public testing::TestWithParam<const char*> {};

TEST_P(Ardour, PlaysASavedSessionAsTheCommandLineDoes) {
    // Settings glide when the effect starts: through silence, so that the rest can be compared.
    Sound sound{
        .format = SF_FORMAT_WAV | SF_FORMAT_FLOAT, .rate = 48000, .samples = noise(2 * frames)};
    std::fill_n(sound.samples.begin(), frames / 2, 0.0F);
    constexpr int tries = 6;
    Outcome outcome;
    for (int number = 1; number <= tries; ++number) {
        outcome = attempt(GetParam(), sound);
        if (outcome.fault.empty()) return;
        std::cout << "try " << number << " of " << tries << ": " << outcome.fault << std::endl;
        if (!outcome.mayBeArdour) break;
    }
    FAIL() << outcome.fault;
}

INSTANTIATE_TEST_SUITE_P(Formats, Ardour, testing::Values("LV2", "VST3"),
                         [](const auto& of) { return std::string(of.param); });

}  // namespace
}  // namespace qov::test
