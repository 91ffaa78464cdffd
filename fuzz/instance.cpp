// Any calls of a host at an instance: blocks of any length through memory that overlaps in any way,
// events of any kind, activation, resets, settings. What comes out is what an instance gives that
// got the same in blocks apart from each other, and parameters stay in range.
//
// Input: calls, a byte each for its kind and what that needs. A block takes its length (two bytes),
// the places of its four channels (a byte each), a seed for the signal and its events: frame (two
// bytes), address, a byte for the value or its kind.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "editor/AudioUnitViewController.h"
#include "fuzz/Bytes.h"
#include "fuzz/anything.h"
#include "fuzz/quiet.h"
#include "fuzz/require.h"
#include "hosts/instance/Instance.h"
#include "tests/hosts/instance/playBlock.h"

namespace {

using namespace qov;
using hosts::Instance;
using platform::AURenderEvent;

constexpr std::uint32_t longest = 1500;

std::vector<AURenderEvent> takeEvents(Bytes& bytes) {
    std::vector<AURenderEvent> events(bytes.take<std::uint8_t>() % 24);
    for (auto& event : events) {
        const auto frame = bytes.take<std::uint16_t>() % (longest + 10);
        const auto address = bytes.take<std::uint8_t>();
        const auto value = bytes.take<std::uint8_t>();
        event = address >= 128
                    ? test::midiEvent(frame, static_cast<std::uint8_t>(0xb0 + address % 32),
                                      static_cast<std::uint8_t>(7 + address % 5), value)
                    : test::parameterEvent(frame, address % 12, anyValue(value));
        if (address == 255) event.MIDI.length = value % 4;
    }
    return events;
}

/// Both get the same block, one with its channels anywhere, the other with all of them apart.
void processBlock(Bytes& bytes, Instance& one, Instance& other) {
    const auto frames = bytes.take<std::uint16_t>() % (longest + 1);
    std::vector<float> memory(3 * longest);
    Noise noise(bytes.take<std::uint8_t>());
    for (float& sample : memory) sample = noise.next();
    const auto place = [&]() -> float* {
        const auto choice = bytes.take<std::uint8_t>();
        if (choice == 255) return nullptr;
        return memory.data() + std::min<std::size_t>(choice * std::size_t{12}, 2 * longest);
    };
    const float* const input[2] = {place(), place()};
    float* output[2] = {place(), place()};
    // Two outputs in one place have no right answer.
    if (output[0] && output[1] && output[0] < output[1] + frames && output[1] < output[0] + frames)
        output[1] = nullptr;
    const auto events = takeEvents(bytes);

    std::vector<float> apart[4];
    for (auto& channel : apart) channel.resize(frames + 1, 7);
    for (std::size_t channel = 0; channel < 2; ++channel)
        if (input[channel]) std::copy_n(input[channel], frames, apart[channel].data());
    test::playBlock(other,
                    {input[0] ? apart[0].data() : nullptr, input[1] ? apart[1].data() : nullptr},
                    {apart[2].data(), apart[3].data()}, frames, events);
    test::playBlock(one, input, {output[0], output[1]}, frames, events);
    for (std::size_t channel = 0; channel < 2; ++channel)
        require(!output[channel] || std::memcmp(output[channel], apart[2 + channel].data(),
                                                frames * sizeof(float)) == 0,
                "the output depends on where the buffers lie");
}

void call(Bytes& bytes, Instance& one, Instance& other) {
    const auto both = [&](auto work) {
        work(one);
        work(other);
    };
    switch (bytes.take<std::uint8_t>() % 8) {
        case 0: {
            constexpr double rates[] = {44100, 8000, 384000, 0, NAN};
            const double rate = rates[bytes.take<std::uint8_t>() % std::size(rates)];
            both([&](Instance& instance) {
                instance.deactivate();
                instance.activate(rate, longest, nullptr);
            });
            break;
        }
        case 1: {
            const auto address = bytes.take<std::uint8_t>() % 12;
            const float value = anyValue(bytes.take<std::uint8_t>());
            both([&](Instance& instance) { instance.setValue(address, value); });
            break;
        }
        case 2:
            both([](Instance& instance) { instance.reset(); });
            break;
        case 3:
            one.pump();
            one.edits().take([](const auto&) {});
            break;
        default:
            processBlock(bytes, one, other);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto create = [] {
        auto instance = Instance::create(nullptr, {}, std::make_shared<AudioUnitViewController>());
        instance->activate(44100, longest, nullptr);
        return instance;
    };
    const auto one = create();
    const auto other = create();
    Bytes bytes(data, size);
    for (int calls = 0; calls < 20 && !bytes.empty(); ++calls) {
        call(bytes, *one, *other);
        require(one->latency() == other->latency(), "the latencies differ");
        for (std::uint64_t address = 0; address < 8; ++address) {
            const float value = one->value(address);
            require(value >= 0 && value <= 1, "a value is out of range");
            require(value == other->value(address), "the values differ");
        }
    }
    return 0;
}
