#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/foundation/Console.h"
#include "tests/audiounit/RenderingUnit.h"
#include "tests/hosts/conformance/Plugin.h"

namespace qov::test {

/// A test of every format; see QOV_EVERY_FORMAT.
class FormatTest : public testing::TestWithParam<std::size_t> {
 protected:
    ~FormatTest() override { platform::console::setSink(before_); }

    static Format& format() { return *Format::all()[GetParam()]; }
    static Capabilities can() { return format().capabilities(); }
    static std::unique_ptr<Plugin> create() { return format().create(); }
    static std::unique_ptr<Plugin> createActive(double rate, std::uint32_t longest) {
        auto plugin = create();
        EXPECT_TRUE(plugin->activate(rate, longest));
        return plugin;
    }
    /// The bare instance: what all of them sound like.
    static std::unique_ptr<Plugin> createReference(double rate, std::uint32_t longest) {
        const auto& formats = Format::all();
        auto plugin = (*std::ranges::find(formats, "Instance", &Format::name))->create();
        EXPECT_TRUE(plugin->activate(rate, longest));
        return plugin;
    }

 private:
    platform::console::Sink before_ = platform::console::setSink({});
};

#define QOV_EVERY_FORMAT(Suite)                                                                    \
    INSTANTIATE_TEST_SUITE_P(Formats, Suite, testing::Range<std::size_t>(0, Format::all().size()), \
                             [](const auto& of) { return Format::all()[of.param]->name(); })

/// Noise with passages of subnormal numbers, silence and far too loud ones.
inline Stereo roughSignal(std::size_t frames, std::uint32_t seed = 1) {
    Stereo signal;
    const float levels[] = {1, 1, 1e-41F, 0, 1, 1e25F};
    for (std::size_t i = 0; i < frames; ++i) {
        const float level = levels[i / 700 % std::size(levels)];
        for (auto* channel : {&signal.left, &signal.right}) {
            seed = seed * 1664525U + 1013904223U;
            channel->push_back(static_cast<float>(static_cast<std::int32_t>(seed)) / 2147483648.0F *
                               level);
        }
    }
    return signal;
}

/// How the outputs of a block lie to its inputs.
enum class Layout : std::uint8_t { separate, inPlace, crossed };

/// The next `frames` of a signal through a plug-in; what comes out is put behind `output`.
inline void processBlock(Plugin& plugin, const Stereo& signal, std::size_t at, std::uint32_t frames,
                         Layout layout, std::span<const platform::AURenderEvent> events,
                         Stereo& output) {
    std::vector<float> memory(4 * std::size_t{frames} + 1, -9);
    const auto place = [&](std::size_t index) { return memory.data() + index * frames; };
    std::copy_n(signal.left.data() + at, frames, place(0));
    std::copy_n(signal.right.data() + at, frames, place(1));
    constexpr std::size_t places[][2] = {{2, 3}, {0, 1}, {1, 0}};
    const auto& [left, right] = places[static_cast<std::size_t>(layout)];
    plugin.process({place(0), place(1)}, {place(left), place(right)}, frames, events);
    output.left.insert(output.left.end(), place(left), place(left) + frames);
    output.right.insert(output.right.end(), place(right), place(right) + frames);
}

/// A whole signal in blocks of one length, events counted from its start.
inline Stereo processAll(Plugin& plugin, const Stereo& signal, std::uint32_t block,
                         const std::vector<platform::AURenderEvent>& events = {}) {
    Stereo output;
    const auto frames = static_cast<std::uint32_t>(signal.left.size());
    for (std::uint32_t at = 0; at < frames; at += block) {
        const auto count = std::min(block, frames - at);
        processBlock(plugin, signal, at, count, Layout::separate,
                     eventsWithin(events, at, at + count), output);
    }
    return output;
}

/// Where two signals differ first, in any bit; empty where they don't.
inline std::string difference(const Stereo& one, const Stereo& other) {
    if (one.left.size() != other.left.size()) return "the lengths";
    for (std::size_t i = 0; i < one.left.size(); ++i)
        for (const auto channel : {&Stereo::left, &Stereo::right}) {
            const float a = (one.*channel)[i];
            const float b = (other.*channel)[i];
            if (std::bit_cast<std::uint32_t>(a) != std::bit_cast<std::uint32_t>(b))
                return (channel == &Stereo::left ? "left frame " : "right frame ") +
                       std::to_string(i) + ": " + std::to_string(a) + " and " + std::to_string(b);
        }
    return {};
}

}  // namespace qov::test
