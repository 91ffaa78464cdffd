// Writes noise that the kernel alone has rendered through changing settings, and the demo's phrase:
// few enough sources for every compiler and level.
#include <cstdio>

#include "audiounit/parameters.h"
#include "hosts/cli/Phrase.h"
#include "platform/foundation/Console.h"
#include "tests/dsp/KernelRig.h"

namespace {

using namespace qov;

void write(const std::vector<float>& samples) {
    std::fwrite(samples.data(), sizeof samples[0], samples.size(), stdout);
}

void writeNoise() {
    test::KernelRig rig(48000);
    for (const auto& row : allParameters) rig.kernel.setParameter(row.address, row.initial);
    std::uint32_t state = 1;
    const auto next = [&] { return state = state * 1664525u + 1013904223u; };
    const auto unit = [&] { return static_cast<float>(next() >> 8) / 16777216.0f; };
    for (int cycle = 0; cycle < 4000; ++cycle) {
        const auto address = next() >> 28;
        if (address != kBypass) rig.kernel.setParameter(address, unit());
        const std::uint32_t frames = 1 + (next() >> 22);
        // Every eighth cycle is so soft that the arithmetic ends in subnormal numbers.
        const float scale = cycle % 8 == 7 ? 1e-38f : 1.0f;
        std::vector<float> left(frames), right(frames);
        for (std::uint32_t i = 0; i < frames; ++i) {
            left[i] = (unit() - 0.5f) * scale;
            right[i] = (unit() - 0.5f) * scale;
        }
        rig.render(left, right);
        write(left);
        write(right);
    }
}

}  // namespace

int main() {
    platform::console::setSink({});
    writeNoise();
    const auto phrase = cli::playPhrase();
    write(phrase.left);
    write(phrase.right);
    return std::ferror(stdout);
}
