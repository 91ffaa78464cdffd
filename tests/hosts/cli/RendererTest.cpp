#include "hosts/cli/Renderer.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "hosts/cli/Automation.h"
#include "hosts/instance/Instance.h"
#include "hosts/window/makeInstance.h"
#include "tests/hosts/cli/Sound.h"
#include "tests/support/ConsoleLines.h"

namespace {

using qov::cli::isBypassedThroughout;
using qov::cli::parseAutomation;
using qov::cli::Renderer;
using qov::cli::Timing;

struct Stereo {
    std::vector<float> left, right;
};

Stereo noiseOf(std::size_t frames) {
    const auto both = noise(2 * frames);
    return {{both.begin(), both.begin() + std::ssize(both) / 2},
            {both.begin() + std::ssize(both) / 2, both.end()}};
}

Stereo rendered(Stereo input, const std::string& automation, std::uint32_t block = 512) {
    const ConsoleLines quiet;
    std::string error;
    const auto effect = qov::hosts::makeInstance({}, &error);
    EXPECT_TRUE(effect->activate(44100, block, nullptr)) << error;
    Stereo output;
    Renderer renderer(*effect, parseAutomation(automation, "test", 44100), block, Timing::aligned,
                      [&](const float* left, const float* right, std::uint32_t frames) {
                          output.left.insert(output.left.end(), left, left + frames);
                          output.right.insert(output.right.end(), right, right + frames);
                      });
    renderer.process(input.left.data(), input.right.data(),
                     static_cast<std::uint32_t>(input.left.size()));
    renderer.finish();
    return output;
}

std::vector<float> delayed(std::vector<float> samples, std::size_t frames) {
    samples.insert(samples.begin(), frames, 0.0F);
    samples.resize(samples.size() - frames);
    return samples;
}

/// With nothing turned, only the delay line's shortest length is left of the effect: one frame, on
/// the left.
TEST(Renderer, TheNeutralEffectLinesUpWithItsInputAtAnyLengthAndBlock) {
    for (const std::size_t frames : {0, 1, 100, 2047, 2048, 2049, 5000})
        for (const std::uint32_t block : {1, 64, 512, 1024}) {
            const auto input = noiseOf(frames);
            const auto output = rendered(input, "", block);
            ASSERT_EQ(output.right, input.right) << frames << " frames in blocks of " << block;
            ASSERT_EQ(output.left, frames > 0 ? delayed(input.left, 1) : input.left);
        }
}

TEST(Renderer, BypassInMidStreamMovesNoFrame) {
    const auto input = noiseOf(20000);
    struct Case {
        const char* automation;
        std::vector<std::pair<std::size_t, std::size_t>> bypassed;  ///< [first, end)
    };
    for (const auto& test : {
             Case{"5000 set bypass on\n9000 set bypass off", {{5000, 9000}}},
             {"100 set bypass on\n101 set bypass off", {{100, 101}}},
             {"0 set bypass on\n3000 set bypass off", {{0, 3000}}},
             {"3000 set bypass on\n3600 set bypass off\n4000 set bypass on\n4000 set bypass on",
              {{3000, 3600}, {4000, 20000}}},
             {"3000 set bypass on\n3000 set bypass off", {}},
         }) {
        const auto& [automation, bypassed] = test;
        const auto output = rendered(input, automation);
        ASSERT_EQ(output.right, input.right) << automation;
        std::size_t differences = 0;
        for (const auto& [first, end] : bypassed)
            for (std::size_t i = first; i < end; ++i)
                differences += output.left[i] != input.left[i];
        EXPECT_EQ(differences, 0U) << automation;
        // Where it is not bypassed, the left side is the frame before; behind a change it is
        // silence, but for the first processed frame of all: there the line takes its length, which
        // repeats the frame before.
        const auto isBypassed = [&](std::size_t i) {
            return std::ranges::any_of(test.bypassed,
                                       [i](const auto& b) { return i >= b.first && i < b.second; });
        };
        for (std::size_t i = 1; i < input.left.size() && !bypassed.empty(); ++i) {
            if (!isBypassed(i)) {
                const bool isSilent = isBypassed(i - 1) && bypassed.front() != std::pair{0UL, i};
                ASSERT_EQ(output.left[i], isSilent ? 0 : input.left[i - 1]) << i;
            }
        }
    }
}

TEST(Renderer, KnowsAStreamThatIsBypassedThroughout) {
    struct Case {
        bool bypassed;
        const char* automation;
        bool throughout;
    };
    for (const auto& [bypassed, automation, throughout] : {
             Case{false, "", false},
             {true, "", true},
             {false, "0 set bypass on", true},
             {true, "0 set bypass off", false},
             {true, "50 set bypass off\n50 set bypass on", true},
             {true, "50 set bypass off\n51 set bypass on", false},
             {true, "100 set bypass off", true},
             {true, "50 set panorama 1", true},
         })
        EXPECT_EQ(isBypassedThroughout(bypassed, parseAutomation(automation, "", 44100), 100),
                  throughout)
            << automation;
}

}  // namespace
