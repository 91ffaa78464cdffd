// The worklet's side: the effect renders, a block at a time.

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "hosts/web/exchange.h"

using namespace qov::hosts::web;

namespace {

constexpr std::size_t longestBlock = 4096;
std::array<std::vector<float>, 4> channels;  // of input and output

}  // namespace

/// 0 and 1 are the input's channels, 2 and 3 the output's, each of 4096 frames.
KELVANE_EXPORT(channel) float* channel(int index) {
    auto& frames = channels.at(static_cast<std::size_t>(index));
    frames.resize(longestBlock);
    return frames.data();
}

KELVANE_EXPORT(beginBlock) void beginBlock(int frames) {
    effect().begin({channel(0), channel(1)}, {channel(2), channel(3)},
                   static_cast<std::uint32_t>(frames));
}

KELVANE_EXPORT(setAt) void setAt(int frame, int address, float value) {
    effect().set(static_cast<std::uint32_t>(frame), static_cast<std::uint64_t>(address), value);
}

/// Of `count` bytes. The address of the parameter that the message sets, or -1.
KELVANE_EXPORT(midiAt) int midiAt(int frame, int count, int status, int data1, int data2) {
    const std::array bytes{static_cast<std::uint8_t>(status), static_cast<std::uint8_t>(data1),
                           static_cast<std::uint8_t>(data2)};
    const auto setting = effect().midi(
        static_cast<std::uint32_t>(frame),
        std::span(bytes).first(std::min(static_cast<std::size_t>(count), bytes.size())));
    return setting ? static_cast<int>(setting->address) : -1;
}

KELVANE_EXPORT(endBlock) void endBlock() {
    effect().end();
}
