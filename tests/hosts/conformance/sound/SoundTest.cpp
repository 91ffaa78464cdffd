// What every format makes of a host's blocks and events is, to the bit, what the bare instance
// does.

#include <atomic>
#include <cmath>
#include <iterator>
#include <limits>
#include <random>
#include <thread>

#include "dsp/ParameterAddress.h"
#include "tests/hosts/conformance/FormatTest.h"

namespace qov::test {
namespace {

using platform::AURenderEvent;

constexpr std::uint32_t longest = 8192;
constexpr std::uint32_t late = 2048;

class Sound : public FormatTest {};

/// A host's whole behaviour in one block.
struct Block {
    std::uint32_t frames;
    Layout layout;
    std::optional<std::pair<std::uint64_t, float>> setting;  // by the main thread, before
    std::vector<AURenderEvent> events;
};

class RandomHost {
 public:
    RandomHost(std::uint32_t seed, Capabilities can) : random_(seed), can_(can) {}

    std::vector<Block> blocks(std::size_t count) {
        std::vector<Block> result;
        for (std::size_t i = 0; i < count; ++i) {
            constexpr std::uint32_t lengths[] = {1, 2, 17, 64, 255, 512, 1024, 1025, 4096, 8192};
            Block block{pick(lengths), Layout(random_() % 3), {}, {}};
            if (can_.emptyBlocks && i % 9 == 8) block.frames = 0;
            if (i % 4 == 3) block.setting.emplace(pick(settings_), value());
            if (i % 2 == 0) addEvents(block);
            result.push_back(std::move(block));
        }
        return result;
    }

 private:
    template <class Values>
    auto pick(const Values& values) -> std::remove_cvref_t<decltype(values[0])> {
        return values[random_() % std::size(values)];
    }
    float value() { return static_cast<float>(random_() % 1001) / 1000; }
    float anyValue(std::uint64_t address) {
        constexpr float wrong[] = {-3, 7, std::numeric_limits<float>::infinity(),
                                   std::numeric_limits<float>::quiet_NaN(), 1e-42F};
        if (random_() % 4 == 0) return pick(wrong);
        return address < kSwapChannels ? value() : static_cast<float>(random_() % 2);
    }

    /// In no order. Events of one parameter may meet on a frame, those of several do not: formats
    /// that keep a queue a parameter have no order between them.
    void addEvents(Block& block) {
        std::array<std::uint64_t, longest + 1> owners{};
        for (auto left = random_() % 12; left > 0; --left) {
            const auto last = std::max(block.frames, 1U) - 1;
            const std::uint32_t frames[] = {0, last, last, last + 5,
                                            static_cast<std::uint32_t>(random_()) % (last + 1)};
            const auto frame = pick(frames);
            const bool isMidi = can_.midi && random_() % 4 == 0;
            constexpr std::uint8_t controllers[] = {7, 10};
            const auto controller = can_.midiVolume ? pick(controllers) : std::uint8_t{10};
            const auto address = !isMidi ? pick(automated_) : controller == 7 ? kVolume : kPanorama;
            auto& owner = owners[std::min(frame, last)];
            if (owner != 0 && owner != address + 1) continue;
            owner = address + 1;
            const auto data = static_cast<std::uint8_t>(random_() % 128);
            block.events.push_back(isMidi ? midiEvent(frame, 0xb2, controller, data)
                                          : parameterEvent(frame, address, anyValue(address)));
        }
    }

    std::minstd_rand random_;
    Capabilities can_;
    // A host automates a parameter or lets its user set it, at a time.
    std::array<std::uint64_t, 6> automated_{kPanorama,    kPhaseShift, kSwapChannels,
                                            kRecoverMono, kTestMono,   kBypass};
    std::array<std::uint64_t, 2> settings_{kStereoWidth, kInvertChannel};
};

TEST_P(Sound, IsThatOfTheInstanceAtEveryRateWhateverTheHostDoes) {
    for (const double rate : {8000., 44100., 96000., 384000.}) {
        SCOPED_TRACE(rate);
        const auto plugin = createActive(rate, longest);
        const auto reference = createReference(rate, longest);
        const auto blocks = RandomHost(static_cast<std::uint32_t>(rate), can()).blocks(60);
        std::size_t at = 0;
        const auto signal = roughSignal(60 * longest);
        for (std::size_t i = 0; i < blocks.size(); at += blocks[i++].frames) {
            const auto& block = blocks[i];
            Stereo output, expected;
            for (auto [effect, result] :
                 {std::pair(plugin.get(), &output), std::pair(reference.get(), &expected)}) {
                if (block.setting) effect->setValue(block.setting->first, block.setting->second);
                processBlock(*effect, signal, at, block.frames, block.layout, block.events,
                             *result);
            }
            ASSERT_EQ(difference(output, expected), "")
                << "block " << i << " of " << block.frames << " frames, " << block.events.size()
                << " events, layout " << int(block.layout);
            plugin->idle();
            ASSERT_EQ(plugin->latency(), reference->latency()) << "block " << i;
            for (std::uint64_t address = 0; address < 8; ++address)
                ASSERT_EQ(plugin->value(address), reference->value(address))
                    << "address " << address << ", block " << i;
        }
    }
}

TEST_P(Sound, StartsFromSilenceAfterAResetAndAtEachActivation) {
    const auto signal = roughSignal(3 * late);
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
            plugin->reset();  // the smoothing of a first block is that of an activation, else
            EXPECT_EQ(difference(processAll(*plugin, signal, 1000), once), "");
        }
        plugin->deactivate();
    }
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(plugin->activate(44100 + round, 64));
        plugin->deactivate();
    }
}

TEST_P(Sound, LatencyIsAnnouncedWithEachChangeOfBypass) {
    const auto plugin = createActive(48000, 64);
    const auto signal = roughSignal(64);
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
    const auto signal = roughSignal(late + 500);
    std::vector<std::thread> threads;
    for (std::uint32_t thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            const auto own = static_cast<float>(thread + 1) / 5;
            const std::vector<AURenderEvent> events{parameterEvent(64, kPanorama, own)};
            const auto expected = processAll(*createReference(48000, 64), signal, 64, events);
            std::vector<std::unique_ptr<Plugin>> plugins;
            std::vector<Stereo> outputs(25);
            for (std::size_t i = 0; i < outputs.size(); ++i)
                plugins.push_back(createActive(48000, 64));
            for (std::size_t at = 0; at < signal.left.size(); at += 64)
                for (std::size_t i = 0; i < outputs.size(); ++i) {
                    const std::vector<AURenderEvent> now{parameterEvent(0, kPanorama, own)};
                    const auto count = std::min<std::size_t>(64, signal.left.size() - at);
                    processBlock(*plugins[i], signal, at, static_cast<std::uint32_t>(count),
                                 Layout::inPlace, at == 64 ? now : std::vector<AURenderEvent>{},
                                 outputs[i]);
                }
            for (std::size_t i = 0; i < outputs.size(); ++i) {
                plugins[i]->idle();
                EXPECT_EQ(plugins[i]->value(kPanorama), own);
                EXPECT_EQ(difference(outputs[i], expected), "") << i;
                if (i % 2) plugins[i].reset();  // the others go while active, behind them
            }
        });
    for (auto& thread : threads) thread.join();
}

TEST_P(Sound, GoesOnWhileTheMainThreadIsBusy) {
    const auto plugin = createActive(48000, 256);
    const auto saved = plugin->saveState();
    std::atomic<bool> stop{false};
    std::thread audio([&] {
        const auto signal = roughSignal(2000);
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
