// What the page and the worklet both ask of their copy of the module.

#include "hosts/web/exchange.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>

#include "hosts/window/makeInstance.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/fatalError.h"

namespace qov::hosts::web {

namespace {

std::array<char, 1 << 16> exchanged;

}  // namespace

Instance& effect() {
    static Instance& made = []() -> Instance& {
        platform::console::setSink({});
        std::string error;
        auto instance = makeInstance({}, &error);
        if (!instance) platform::fatalError(error);
        return *instance.release();  // as long as the module
    }();
    return made;
}

int giveText(std::string_view text) {
    const auto size = std::min(text.size(), exchanged.size());
    std::copy_n(text.begin(), size, exchanged.begin());
    return static_cast<int>(size);
}

}  // namespace qov::hosts::web

using namespace qov::hosts::web;

KELVANE_EXPORT(text) char* exchangedText() {
    return exchanged.data();
}

/// False for a rate that the effect does not run at.
KELVANE_EXPORT(start) bool start(double rate, int longestBlock) {
    return effect().activate(rate, static_cast<std::uint32_t>(longestBlock), nullptr);
}

KELVANE_EXPORT(value) float value(int address) {
    return effect().value(static_cast<std::uint64_t>(address));
}

/// A channel of the ring of captured frames; fetching one clears ringIsNew().
KELVANE_EXPORT(ring) float* ring(int channel) {
    auto& unit = effect().audioUnit();
    return channel == 0 ? unit.getBufferLeft() : unit.getBufferRight();
}

KELVANE_EXPORT(ringIsNew) bool ringIsNew() {
    return effect().audioUnit().isNewBuffer();
}
