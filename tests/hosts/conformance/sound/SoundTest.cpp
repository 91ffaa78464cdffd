// Every format's output for a host's blocks and events is, to the bit, that of the bare instance.

#include <atomic>
#include <cmath>
#include <iterator>
#include <random>
#include <thread>

#include "dsp/ParameterAddress.h"
#include "tests/hosts/conformance/FormatTest.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace qov::test {
namespace {

using platform::AURenderEvent;

constexpr std::uint32_t late = 2048;

class Sound : public FormatTest {};

/// The fuzz target's property on random input, whose first byte chooses the format.
TEST_P(Sound, IsThatOfTheInstanceForAnyCallsOfAHost) {
    const auto& all = Format::all();
    std::minstd_rand random(7);
    for (int round = 0; round < 300; ++round) {
        std::vector<std::uint8_t> bytes(600);
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() >> 8);
        bytes[0] = static_cast<std::uint8_t>(std::distance(all.begin(), all.find(GetParam())));
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
}

TEST_P(Sound, StartsFromSilenceAfterAResetAndAtEachActivation) {
    const auto signal = noise(3 * late);
    const auto plugin = createActive(48000, 1000);
    plugin->setValue(kPhaseShift, 0.4F);
    plugin->setValue(kStereoWidth, 0.8F);
    processAll(*plugin, signal, 1000);
    plugin->reset();
    const auto once = processAll(*plugin, signal, 1000);
    EXPECT_EQ(once.left[late - 1], 0);
    plugin->deactivate();
    for (const double rate : {384000., 8000., 48000.}) {
        ASSERT_TRUE(plugin->activate(rate, 1000));
        if (rate == 48000) {
            EXPECT_EQ(plugin->value(kPhaseShift), 0.4F);
            plugin->reset();  // otherwise the first block has the smoothing of an activation
            EXPECT_EQ(difference(processAll(*plugin, signal, 1000), once), "");
        }
        plugin->deactivate();
    }
}

TEST_P(Sound, LatencyIsAnnouncedWithEachChangeOfBypass) {
    const auto plugin = createActive(48000, 64);
    const auto signal = noise(64);
    const auto play = [&](std::vector<AURenderEvent> events) {
        processAll(*plugin, signal, 64, events);
        plugin->idle();
        const bool announced = plugin->takeLatencyAnnouncement();
        return announced || !can().announcesLatency;
    };
    play({});
    EXPECT_EQ(plugin->latency(), late);
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(play({parameterEvent(63, kBypass, 1)}));
        EXPECT_EQ(plugin->latency(), 0U);
        plugin->idle();
        EXPECT_FALSE(plugin->takeLatencyAnnouncement());
        EXPECT_TRUE(play({parameterEvent(0, kBypass, 0)}));
        EXPECT_EQ(plugin->latency(), late);
    }
    plugin->setValue(kBypass, 1);
    EXPECT_TRUE(play({})) << "set by the main thread";
    EXPECT_EQ(plugin->latency(), 0U);
}

TEST_P(Sound, AHundredInstancesOnFourThreadsNeverMix) {
    const auto signal = noise(late + 500);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            const auto own = static_cast<float>(thread + 1) / 5;
            const std::vector<AURenderEvent> events{parameterEvent(64, kPanorama, own)};
            const auto expected = processAll(*createReference(48000, 64), signal, 64, events);
            std::vector<std::unique_ptr<Plugin>> plugins;
            for (int i = 0; i < 25; ++i) plugins.push_back(createActive(48000, 64));
            for (auto& plugin : plugins) {
                EXPECT_EQ(difference(processAll(*plugin, signal, 64, events), expected), "");
                plugin->idle();
                EXPECT_EQ(plugin->value(kPanorama), own);
                plugin.reset();  // while it is active
            }
        });
    for (auto& thread : threads) thread.join();
}

TEST_P(Sound, GoesOnWhileTheMainThreadIsBusy) {
    const auto plugin = createActive(48000, 256);
    const auto saved = plugin->saveState();
    std::atomic<bool> stop{false};
    std::thread audio([&] {
        const auto signal = noise(2000);
        while (!stop) {
            const auto output =
                processAll(*plugin, signal, 256,
                           {parameterEvent(0, kPanorama, 0.2F), parameterEvent(700, kBypass, 1),
                            parameterEvent(1200, kBypass, 0)});
            for (const float sample : output.left) ASSERT_TRUE(std::isfinite(sample));
        }
    });
    for (int i = 0; i < 300; ++i) {
        plugin->setValue(kStereoWidth, static_cast<float>(i) / 300);
        plugin->setValue(kTestMono, static_cast<float>(i % 2));
        plugin->idle();
        plugin->takeEdits();
        EXPECT_LE(plugin->latency(), late);
        EXPECT_GE(plugin->value(kPanorama), 0);
        EXPECT_FALSE(plugin->saveState().empty());
        EXPECT_TRUE(!can().restoresWhileRunning || plugin->restoreState(saved));
    }
    stop = true;
    audio.join();
}

QOV_EVERY_FORMAT(Sound);

}  // namespace
}  // namespace qov::test
