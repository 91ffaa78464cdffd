// Renders noise through changing settings by the kernel alone, computes the demo's phrase, and
// compares the checksums of both with the known ones: few enough sources for every compiler and
// level.
#include <algorithm>
#include <cstdio>

#include "audiounit/parameters.h"
#include "dsp/QOV_Kelvane_PluginDSPKernel.h"
#include "hosts/cli/Phrase.h"
#include "platform/audiotoolbox/AudioBufferList.h"
#include "platform/audiotoolbox/AudioTimeStamp.h"
#include "platform/foundation/Console.h"
#include "tests/hosts/cli/checksum/SampleChecksum.h"

namespace {

using namespace qov;

std::uint64_t noise() {
    QOV_Kelvane_PluginDSPKernel kernel;
    kernel.init(2, 48000);
    kernel.reset();
    for (const auto& row : allParameters) kernel.setParameter(row.address, row.initial);
    platform::AudioTimeStamp now;
    now.mFlags = platform::kAudioTimeStampSampleTimeValid;
    SampleChecksum checksum;
    std::uint32_t state = 1;
    const auto next = [&] { return state = state * 1664525u + 1013904223u; };
    const auto unit = [&] { return static_cast<float>(next() >> 8) / 16777216.0f; };
    static float left[1024], right[1024];
    for (int cycle = 0; cycle < 4000; ++cycle) {
        const auto address = next() >> 28;
        if (address != kBypass) kernel.setParameter(address, unit());
        const std::uint32_t frames = 1 + (next() >> 22);
        // Every eighth cycle is so soft that the arithmetic ends in subnormal numbers.
        const float scale = cycle % 8 == 7 ? 1e-38f : 1.0f;
        for (std::uint32_t i = 0; i < frames; ++i) {
            left[i] = (unit() - 0.5f) * scale;
            right[i] = (unit() - 0.5f) * scale;
        }
        platform::StereoBufferList buffers(left, right, frames);
        kernel.setBuffers(buffers.list(), buffers.list());
        kernel.processWithEvents(now, frames, nullptr);
        now.mSampleTime += frames;
        for (std::uint32_t i = 0; i < frames; ++i) {
            checksum.add(left[i]);
            checksum.add(right[i]);
        }
    }
    return checksum.value();
}

std::uint64_t phrase() {
    SampleChecksum checksum;
    const auto played = cli::playPhrase();
    for (const auto* side : {&played.left, &played.right})
        for (const float sample : *side) checksum.add(sample);
    return checksum.value();
}

}  // namespace

int main() {
    platform::console::setSink({});
    const unsigned long long is[] = {noise(), phrase()};
    const unsigned long long known[] = {0xC7325D60999C0D46, 0x2631AE7EE66233B5};
    for (const int i : {0, 1})
        std::printf("%s: %016llx, known %016llx\n", i ? "phrase" : "noise", is[i], known[i]);
    return std::ranges::equal(is, known) ? 0 : 1;
}
