// Renders the demo's tour in memory, and noise through changing settings, and compares their
// checksums with the known ones.
#include <cstdio>

#include "dsp/ParameterAddress.h"
#include "hosts/cli/Automation.h"
#include "hosts/cli/Effect.h"
#include "hosts/cli/Phrase.h"
#include "hosts/cli/Renderer.h"
#include "platform/foundation/Console.h"
#include "tests/hosts/cli/checksum/tourChecksum.h"

namespace {

using namespace qov::cli;

std::uint64_t tour(const char* automation) {
    Phrase phrase = playPhrase();
    SampleChecksum checksum;
    Effect effect(Phrase::rate);
    Renderer renderer(effect, readAutomation(automation, Phrase::rate), 512, Timing::aligned, false,
                      [&](const float* left, const float* right, std::uint32_t frames) {
                          for (std::uint32_t i = 0; i < frames; ++i)
                              checksum.add(left[i], right[i]);
                      });
    renderer.process(phrase.left.data(), phrase.right.data(),
                     static_cast<std::uint32_t>(phrase.left.size()));
    renderer.finish();
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
        if (address != qov::kBypass) effect.set(address, unit());
        const std::uint32_t frames = 1 + (next() >> 22);
        // Every eighth cycle is so soft that the arithmetic ends in subnormal numbers.
        const float scale = cycle % 8 == 7 ? 1e-38f : 1.0f;
        for (std::uint32_t i = 0; i < frames; ++i) {
            left[i] = (unit() - 0.5f) * scale;
            right[i] = (unit() - 0.5f) * scale;
        }
        effect.render(left, right, frames);
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
