// Any list of cycles, events and parameter changes: the kernel in each of its forms gives the bits
// of the plain frame-by-frame code.
//
// Input: a byte for form and sample rate, then cycles. A cycle is its length (two bytes, to 2500
// frames), a byte for how buffers alias and how many events it has, a seed byte for the signal, and
// the events: time, kind, address and value.

#include <bit>
#include <cmath>
#include <vector>

#include "fuzz/Bytes.h"
#include "fuzz/anything.h"
#include "fuzz/quiet.h"
#include "fuzz/require.h"
#include "tests/dsp/FormPair.h"

namespace {

using namespace qov;
using namespace qov::test;

// Most values are in the range that hosts keep to; some are any bits at all.
float parameterValue(Bytes& bytes, std::uint64_t address) {
    const auto choice = bytes.take<std::uint8_t>();
    if (choice < 200) return anyValue(choice);
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
        platform::AURenderEvent event;
        if (kind % 4 == 3) {
            const auto status = bytes.take<std::uint8_t>(), number = bytes.take<std::uint8_t>();
            event = midiEvent(time, status, number, bytes.take<std::uint8_t>(),
                              static_cast<std::uint16_t>(kind / 4 % 5));
        } else {
            const auto address = bytes.take<std::uint8_t>() % 12u;
            event = parameterEvent(time, address, parameterValue(bytes, address));
            event.head.eventType = static_cast<platform::AURenderEventType>(kind % 4);
        }
        event.head.eventSampleTime = std::min<std::int64_t>(time, now + frames);
        events.push_back(event);
    }
    return events;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr double rates[] = {44100, 96000, 192000, 384000, 8000};
    Bytes bytes(data, size);
    const auto choice = bytes.take<std::uint8_t>();
    const auto* const form = forms[choice / 5 % 3];
    if (!ChainLoops::select(form)) return -1;
    FormPair pair(form, rates[choice % 5]);
    for (int cycles = 0; cycles < 24 && !bytes.empty(); ++cycles) {
        const auto frames = bytes.take<std::uint16_t>() % 2501u;
        const auto shape = bytes.take<std::uint8_t>();
        const auto seed = bytes.take<std::uint8_t>();
        Noise noise(seed);
        Samples memory(4 * frames);
        for (float& frame : memory) {
            frame = noise.next();
            if (seed % 4 == 0) frame *= 0x1p-130F;  // subnormal
            if (noise.bits() % 97 == 0) frame = std::bit_cast<float>(noise.bits());
        }
        auto events = takeEvents(bytes, pair.now(), frames, shape / 6 % 16);
        const auto buffers = static_cast<Buffers>(shape % static_cast<int>(Buffers::count));
        const auto found = pair.render(memory, buffers, linked(events));
        require(found.empty(), found.c_str());
    }
    return 0;
}
