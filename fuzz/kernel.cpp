// Any list of cycles, events and parameter changes: the kernel in its fastest form gives the bits
// of the plain frame-by-frame code.
//
// Input: a byte for the sample rate, then cycles. A cycle is its length (two bytes, to 2500
// frames), a byte for how buffers alias and how many events it has, a seed byte for the signal, and
// the events: time, kind, address and value.

#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

#include "dsp/ChainLoops.h"
#include "dsp/QOV_Kelvane_PluginDSPKernel.h"
#include "fuzz/Bytes.h"
#include "fuzz/anything.h"
#include "fuzz/require.h"
#include "platform/audiotoolbox/AURenderEvent.h"
#include "platform/audiotoolbox/AudioBufferList.h"
#include "platform/audiotoolbox/AudioTimeStamp.h"
#include "platform/foundation/Console.h"

namespace {

using namespace qov;

// What both kernels get.
struct Cycle {
    std::uint32_t frames;
    std::uint8_t aliasing;
    std::vector<float> memory;
    std::vector<platform::AURenderEvent> events;
};

// Most values are in the range that hosts keep to; some are any bits at all.
float parameterValue(Bytes& bytes, std::uint64_t address) {
    const auto choice = bytes.take<std::uint8_t>();
    if (choice < 200) return static_cast<float>(choice) / 199.0f;
    const auto anything = bytes.take<float>();
    // Lengths of a second at most: beyond all memory is another test's matter.
    if (address == kPhaseShift) return std::isfinite(anything) ? std::fmod(anything, 100.0f) : 0;
    return anything;
}

std::vector<platform::AURenderEvent> takeEvents(Bytes& bytes, std::int64_t now,
                                                std::uint32_t frames, int count) {
    std::vector<platform::AURenderEvent> events;
    for (int i = 0; i < count && !bytes.empty(); ++i) {
        // Up to the end of the cycle: a later one asks for frames that the buffers do not have.
        const auto time =
            now + bytes.take<std::uint16_t>() % (frames + 1) - bytes.take<std::int8_t>() / 64;
        const auto kind = bytes.take<std::uint8_t>();
        platform::AURenderEvent event{};
        if (kind % 4 == 3) {
            event.MIDI = {nullptr,
                          time,
                          platform::AURenderEventMIDI,
                          0,
                          static_cast<std::uint16_t>(kind / 4 % 5),
                          0,
                          {bytes.take<std::uint8_t>(), bytes.take<std::uint8_t>(),
                           bytes.take<std::uint8_t>()}};
        } else {
            const auto address = bytes.take<std::uint8_t>() % 12u;
            event.parameter = {nullptr,
                               time,
                               static_cast<platform::AURenderEventType>(kind % 4),
                               {},
                               0,
                               address,
                               parameterValue(bytes, address)};
        }
        event.head.eventSampleTime = std::min<std::int64_t>(time, now + frames);
        events.push_back(event);
    }
    for (std::size_t i = 1; i < events.size(); ++i) events[i - 1].head.next = &events[i];
    return events;
}

Cycle takeCycle(Bytes& bytes, std::int64_t now) {
    Cycle cycle;
    cycle.frames = bytes.take<std::uint16_t>() % 2501u;
    const auto shape = bytes.take<std::uint8_t>();
    cycle.aliasing = shape % 5;
    Noise noise(bytes.take<std::uint8_t>());
    for (std::size_t i = 0; i < 4u * cycle.frames + 1; ++i) {
        const float sample = noise.next();
        const bool isAnything = noise.bits() % 97 == 0;
        cycle.memory.push_back(isAnything ? std::bit_cast<float>(noise.bits()) : sample);
    }
    cycle.events = takeEvents(bytes, now, cycle.frames, shape / 5 % 16);
    return cycle;
}

void render(QOV_Kelvane_PluginDSPKernel& kernel, const char* form, std::vector<float>& memory,
            const Cycle& cycle, std::int64_t now) {
    ChainLoops::select(form);
    const std::uint32_t n = cycle.frames;
    float* base = memory.data();
    // In and out: apart, the same, crossed, one input for both, overlapping.
    const std::uint32_t offsets[5][4] = {{0, n, 2 * n, 3 * n},
                                         {0, n, 0, n},
                                         {0, n, n, 0},
                                         {0, 0, 2 * n, 3 * n},
                                         {0, n, 1, 2 * n + 1}};
    const auto& at = offsets[cycle.aliasing];
    platform::StereoBufferList in(base + at[0], base + at[1], n),
        out(base + at[2], base + at[3], n);
    kernel.setBuffers(in.list(), out.list());
    kernel.processWithEvents({.mSampleTime = static_cast<double>(now)}, n,
                             cycle.events.empty() ? nullptr : cycle.events.data());
}

bool sameBits(const float* a, const float* b, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        if (std::memcmp(a + i, b + i, sizeof(float)) != 0 &&
            !(std::isnan(a[i]) && std::isnan(b[i])))
            return false;
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    platform::console::setSink({});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const char* const fastest = ChainLoops::select("v4")   ? "v4"
                                       : ChainLoops::select("v3") ? "v3"
                                                                  : "baseline";
    Bytes bytes(data, size);
    constexpr double rates[] = {44100, 96000, 192000, 384000, 8000};
    const auto choice = bytes.take<std::uint8_t>();
    const char* form = choice >= 128 ? "baseline" : fastest;
    QOV_Kelvane_PluginDSPKernel fast, plain;
    for (auto* kernel : {&fast, &plain}) {
        kernel->init(2, rates[choice % 5]);
        kernel->reset();
    }
    std::int64_t now = 0;
    for (int cycles = 0; cycles < 24 && !bytes.empty(); ++cycles) {
        Cycle cycle = takeCycle(bytes, now);
        std::vector<float> copy = cycle.memory;
        render(fast, form, cycle.memory, cycle, now);
        render(plain, "scalar", copy, cycle, now);
        require(sameBits(cycle.memory.data(), copy.data(), copy.size()),
                "the forms differ in the output");
        require(fast.circular.pos == plain.circular.pos, "the forms differ in the ring's place");
        require(fast.latency.pos == plain.latency.pos &&
                    fast.latency.lSize == plain.latency.lSize &&
                    fast.latency.size == plain.latency.size,
                "the forms differ in the delay line's place");
        for (int c = 0; c < 2; ++c)
            require(sameBits(fast.circular.data[c], plain.circular.data[c], 2048),
                    "the forms differ in the ring");
        require(sameBits(fast.latency.data, plain.latency.data,
                         static_cast<std::size_t>(plain.latency.size)),
                "the forms differ in the delay line");
        now += cycle.frames;
    }
    return 0;
}
