// Renders a fixed stretch of noise through changing settings and prints a checksum of the output.

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "dsp/QOV_Kelvane_PluginDSPKernel.h"
#include "platform/audiotoolbox/AudioBufferList.h"
#include "platform/audiotoolbox/AudioTimeStamp.h"
#include "platform/foundation/Console.h"

int main() {
    using namespace qov;
    platform::console::setSink({});
    QOV_Kelvane_PluginDSPKernel kernel;
    kernel.init(2, 48000);
    kernel.reset();
    std::uint32_t noise = 1;
    const auto next = [&] { return noise = noise * 1664525u + 1013904223u; };
    const auto unit = [&] { return static_cast<float>(next() >> 8) / 16777216.0f; };
    std::uint64_t checksum = 14695981039346656037u;
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
        kernel.processWithEvents({}, frames, nullptr);
        for (const float* channel : {left, right}) {
            for (std::uint32_t i = 0; i < frames; ++i) {
                std::uint32_t bits;
                std::memcpy(&bits, channel + i, sizeof bits);
                checksum = (checksum ^ bits) * 1099511628211u;
            }
        }
    }
    std::printf("%016" PRIx64 "\n", checksum);
    return 0;
}
