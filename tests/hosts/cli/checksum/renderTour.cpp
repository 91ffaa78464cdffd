// Renders the demo's tour in memory, and noise through changing settings, and compares their
// checksums with the known ones. Straight on the kernel, without the audio unit and what that
// stands on: few enough sources for every compiler and level, and a second way to the same samples.
#include <algorithm>
#include <cstdio>
#include <vector>

#include "audiounit/parameters.h"
#include "dsp/QOV_Kelvane_PluginDSPKernel.h"
#include "hosts/cli/Automation.h"
#include "hosts/cli/Phrase.h"
#include "platform/audiotoolbox/AURenderEvent.h"
#include "platform/audiotoolbox/AudioBufferList.h"
#include "platform/audiotoolbox/AudioTimeStamp.h"
#include "platform/foundation/Console.h"
#include "tests/hosts/cli/checksum/tourChecksum.h"

namespace {

using namespace qov;
using namespace qov::cli;
using platform::AURenderEvent;

/// A kernel with every parameter at its initial value, rendering in place.
class Effect {
 public:
    explicit Effect(double rate) {
        kernel.init(2, rate);
        kernel.reset();
        for (const auto& row : allParameters) kernel.setParameter(row.address, row.initial);
    }
    void render(float* left, float* right, std::uint32_t frames, const AURenderEvent* events) {
        platform::StereoBufferList buffers(left, right, frames);
        platform::AudioTimeStamp now;
        now.mSampleTime = static_cast<double>(clock_);
        now.mFlags = platform::kAudioTimeStampSampleTimeValid;
        kernel.setBuffers(buffers.list(), buffers.list());
        kernel.processWithEvents(now, frames, events);
        clock_ += frames;
    }
    QOV_Kelvane_PluginDSPKernel kernel;

 private:
    std::int64_t clock_ = 0;
};

/// In blocks of 512 frames. What the effect holds back is pushed out by silence where the tour
/// bypasses it, with its last event, and the first that comes out is dropped.
std::uint64_t tour(const char* automation) {
    constexpr std::uint32_t block = 512;
    Phrase phrase = playPhrase();
    auto events = readAutomation(automation, Phrase::rate);
    Effect effect(Phrase::rate);
    const auto late = static_cast<std::uint32_t>(effect.kernel.collectorSize);
    const auto bypass = static_cast<std::size_t>(events.back().head.eventSampleTime);
    events.back().head.eventSampleTime += late;
    for (auto* channel : {&phrase.left, &phrase.right})
        channel->insert(channel->begin() + static_cast<std::ptrdiff_t>(bypass), late, 0);

    const auto frames = phrase.left.size();
    std::size_t next = 0;
    for (std::size_t at = 0, end; at < frames; at = end) {
        // Blocks count from the start of the sound, and in the silence from its own.
        const auto origin = at < bypass ? 0 : at < bypass + late ? bypass : late;
        end = at + block - (at - origin) % block;
        for (const auto cut : {bypass, bypass + late, frames})
            if (at < cut) end = std::min(end, cut);
        const auto first = next;
        for (; next < events.size() &&
               events[next].head.eventSampleTime < static_cast<std::int64_t>(end);
             ++next)
            events[next].head.next = nullptr;
        for (auto i = first; i + 1 < next; ++i) events[i].head.next = &events[i + 1];
        effect.render(&phrase.left[at], &phrase.right[at], static_cast<std::uint32_t>(end - at),
                      first < next ? &events[first] : nullptr);
    }
    SampleChecksum checksum;
    for (std::size_t i = late; i < frames; ++i) checksum.add(phrase.left[i], phrase.right[i]);
    return checksum.value();
}

std::uint64_t noise() {
    Effect effect(48000);
    SampleChecksum checksum;
    std::uint32_t state = 1;
    const auto next = [&] { return state = state * 1664525u + 1013904223u; };
    const auto unit = [&] { return static_cast<float>(next() >> 8) / 16777216.0f; };
    static float left[1024], right[1024];
    for (int cycle = 0; cycle < 4000; ++cycle) {
        const auto address = next() >> 28;
        if (address != kBypass) effect.kernel.setParameter(address, unit());
        const std::uint32_t frames = 1 + (next() >> 22);
        // Every eighth cycle is so soft that the arithmetic ends in subnormal numbers.
        const float scale = cycle % 8 == 7 ? 1e-38f : 1.0f;
        for (std::uint32_t i = 0; i < frames; ++i) {
            left[i] = (unit() - 0.5f) * scale;
            right[i] = (unit() - 0.5f) * scale;
        }
        effect.render(left, right, frames, nullptr);
        for (std::uint32_t i = 0; i < frames; ++i) checksum.add(left[i], right[i]);
    }
    return checksum.value();
}

bool isKnown(const char* what, std::uint64_t is, std::uint64_t known) {
    std::printf("%s: %016llx, known %016llx\n", what, static_cast<unsigned long long>(is),
                static_cast<unsigned long long>(known));
    return is == known;
}

}  // namespace

int main(int, char** argv) {
    platform::console::setSink({});
    const bool isTour = isKnown("tour", tour(argv[1]), tourChecksum);
    return isKnown("noise", noise(), noiseChecksum) && isTour ? 0 : 1;
}
