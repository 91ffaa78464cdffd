// Every format's output for a host's blocks and events is, to the bit, that of the bare instance.

#include <atomic>
#include <cmath>
#include <iterator>
#include <thread>

#include "dsp/ParameterAddress.h"
#include "fuzz/anything.h"
#include "tests/hosts/conformance/FormatTest.h"

namespace qov::test {
namespace {

using platform::AURenderEvent;

constexpr std::uint32_t late = 2048;

class Sound : public FormatTest {};

/// The fuzz target's property on random input, whose first byte chooses the format. Instances of
/// several threads do not mix.
TEST_P(Sound, IsThatOfTheInstanceForAnyCallsOfAHostOnFourThreads) {
    const auto& all = Format::all();
    const auto place = std::distance(all.begin(), all.find(GetParam()));
    // Its library stays loaded: to the thread sanitizer, what is loaded where another library was
    // is still that one's memory.
    const auto held = all.at(GetParam()).create();
    std::vector<std::thread> threads;
    for (std::uint8_t seed = 0; seed < 4; ++seed)
        threads.emplace_back(giveRandomInputs, static_cast<std::uint8_t>(place), 250, 600, seed);
    for (auto& thread : threads) thread.join();
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
    for (const float bypass : {1.0F, 0.0F, 1.0F, 0.0F}) {
        EXPECT_TRUE(play({parameterEvent(bypass ? 63 : 0, kBypass, bypass)}));
        EXPECT_EQ(plugin->latency(), bypass ? 0 : late);
        plugin->idle();
        EXPECT_FALSE(plugin->takeLatencyAnnouncement());
    }
    plugin->setValue(kBypass, 1);
    EXPECT_TRUE(play({})) << "set by the main thread";
    EXPECT_EQ(plugin->latency(), 0U);
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
