#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "tests/support/renderEvents.h"

namespace qov {

/// A stereo signal, or what came out for one.
struct Stereo {
    std::vector<float> left;
    std::vector<float> right;
    bool operator==(const Stereo&) const = default;
};

/// Frames 1, 2, 3, … on the left and their negatives on the right: each frame shows its place.
inline Stereo ramp(std::size_t frames) {
    Stereo signal;
    for (std::size_t i = 1; i <= frames; ++i) {
        signal.left.push_back(static_cast<float>(i));
        signal.right.push_back(-static_cast<float>(i));
    }
    return signal;
}

/// White noise in -1..1, the same for the same length.
inline Stereo noise(std::size_t frames) {
    std::minstd_rand random(7);
    std::uniform_real_distribution<float> level(-1, 1);
    Stereo signal{std::vector<float>(frames), std::vector<float>(frames)};
    for (auto* channel : {&signal.left, &signal.right})
        for (auto& sample : *channel) sample = level(random);
    return signal;
}

/// Where two runs of frames differ in a bit, in words; empty where they do not. Any NaN is as good
/// as any other.
inline std::string difference(const char* what, const float* a, const float* b, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        if (std::bit_cast<int>(a[i]) != std::bit_cast<int>(b[i]) &&
            !(std::isnan(a[i]) && std::isnan(b[i])))
            return std::string(what) + "[" + std::to_string(i) + "]: " + std::to_string(a[i]) +
                   " and " + std::to_string(b[i]);
    return {};
}

/// The same of two signals of one length.
inline std::string difference(const Stereo& one, const Stereo& other) {
    return difference("left", one.left.data(), other.left.data(), one.left.size()) +
           difference("right", one.right.data(), other.right.data(), one.left.size());
}

namespace test {

/// A signal as process(input, output, frames, events) leaves it, in blocks of one length, every
/// other one in place. Events count from the signal's start; those past its end are in the last
/// block.
template <class Process>
Stereo inBlocks(const Stereo& signal, std::uint32_t block,
                const std::vector<platform::AURenderEvent>& events, const Process& process) {
    Stereo output = signal;
    const auto frames = static_cast<std::uint32_t>(signal.left.size());
    std::uint32_t at = 0;
    do {
        const auto count = std::min(block, frames - at);
        const auto& from = at / block % 2 ? output : signal;
        const float* const in[] = {from.left.data() + at, from.right.data() + at};
        float* const out[] = {output.left.data() + at, output.right.data() + at};
        const auto end = at + count;
        std::vector<platform::AURenderEvent> inside;
        for (auto event : events) {
            const auto time = event.head.eventSampleTime -= at;
            if (time >= 0 && (time < count || end == frames)) inside.push_back(event);
        }
        process(in, out, count, inside);
        at = end;
    } while (at < frames);
    return output;
}

}  // namespace test

}  // namespace qov
