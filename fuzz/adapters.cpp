// Any calls of a host at a built plug-in, through its format's C interface: what comes out is, to
// the bit, what the bare instance gives for the same calls in buffers apart from each other, and so
// are latency and values. Damaged states are refused or repaired. The instance itself is one of the
// formats: it takes channels anywhere in memory or null, and any events and values.
//
// Input: the format and the sample rate (a byte each), then calls, a byte each for its kind and
// what that needs. A block takes its length (two bytes), how its buffers lie and a seed for the
// signal (for the instance then a byte for each channel's place), a number of events and for each
// its frame (two bytes), kind and value.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "dsp/ParameterAddress.h"
#include "fuzz/Bytes.h"
#include "fuzz/anything.h"
#include "fuzz/require.h"
#include "platform/foundation/Console.h"
#include "tests/hosts/conformance/Plugin.h"
#include "tests/support/renderEvents.h"

namespace {

using namespace qov;
using platform::AURenderEvent;
using test::Format;
using test::Plugin;

constexpr std::uint32_t longest = 1500;
constexpr double rates[] = {44100, 8000, 384000};
// A host automates a parameter or lets its user set it, at a time.
constexpr std::uint64_t automated[] = {kPanorama,    kPhaseShift, kSwapChannels,
                                       kRecoverMono, kTestMono,   kBypass};
constexpr std::uint64_t settings[] = {kStereoWidth, kInvertChannel};

/// The plug-in, and the instance that it is held against.
class Pair {
 public:
    Pair(const Format& format, const Format& instance, double rate)
        : isInstance_(&format == &instance),
          rate_(rate),
          plugins_{format.create(), instance.create()} {
        activate();
    }
    ~Pair() {
        for (const auto& one : plugins_) one->deactivate();
    }

    void call(Bytes& bytes) {
        const auto kind = bytes.take<std::uint8_t>() % 12;
        if (kind > 4) return process(bytes);
        if (kind == 2) {
            const auto choice = bytes.take<std::uint8_t>(), data = bytes.take<std::uint8_t>();
            const auto address = isInstance_ ? choice % 12 : settings[choice % 2];
            const auto value = isInstance_ ? anyValue(data) : static_cast<float>(data) / 255;
            for (const auto& one : plugins_) one->setValue(address, value);
        } else if (kind == 3) {
            restoreDamaged(bytes);
        } else {
            for (const auto& one : plugins_) {
                if (kind == 0) one->deactivate();
                if (kind == 1) one->reset();
                if (kind == 4) one->idle(), one->takeEdits();
            }
            if (kind == 0) activate();
        }
        // What a host has set takes effect with the next block at the latest.
        Bytes nothing(nullptr, 0);
        process(nothing);
    }

 private:
    /// Always at one rate: a format that can't change it has to make a new plug-in then.
    void activate() {
        for (const auto& one : plugins_)
            require(one->activate(rate_, longest), "the plug-in does not become active");
    }

    /// A saved state with a few bytes of it changed, or cut short; then the one that was saved.
    void restoreDamaged(Bytes& bytes) {
        const std::string saved[] = {plugins_[0]->saveState(), plugins_[1]->saveState()};
        auto damaged = saved[0];
        for (int left = bytes.take<std::uint8_t>() % 8; left > 0; --left)
            damaged[bytes.take<std::uint16_t>() % damaged.size()] =
                static_cast<char>(bytes.take<std::uint8_t>());
        damaged.resize(damaged.size() -
                       std::min<std::size_t>(bytes.take<std::uint8_t>(), damaged.size()));
        plugins_[0]->restoreState(damaged);
        checkRange();
        for (int i : {0, 1})
            require(plugins_[i]->restoreState(saved[i]), "a plug-in refuses its own state");
    }

    static std::uint8_t byte(int value) { return static_cast<std::uint8_t>(value); }

    std::vector<AURenderEvent> takeEvents(Bytes& bytes, std::uint32_t frames) const {
        std::vector<AURenderEvent> events;
        // Formats that keep a queue a parameter have no order between two of them on a frame.
        std::map<std::uint32_t, std::uint64_t> owners;
        for (int left = bytes.take<std::uint8_t>() % 16; left > 0; --left) {
            const auto frame = bytes.take<std::uint16_t>() % (longest + 10);
            const auto kind = bytes.take<std::uint8_t>(), data = bytes.take<std::uint8_t>();
            if (isInstance_) {
                events.push_back(kind < 128 ? test::parameterEvent(frame, kind % 12, anyValue(data))
                                            : test::midiEvent(frame, byte(0xB0 + kind % 32),
                                                              byte(7 + kind % 5), data,
                                                              kind == 255 ? data % 4 : 3));
                continue;
            }
            const bool isMidi = kind >= 192;
            const bool isVolume = kind >= 224;
            const auto address = isVolume ? kVolume
                                 : isMidi ? kPanorama
                                          : automated[kind % std::size(automated)];
            const auto last = std::max(frames, 1U) - 1;
            if (owners.try_emplace(std::min(frame, last), address).first->second != address)
                continue;
            const bool isSwitch = address >= kSwapChannels && data < 200;
            const auto choice = byte(isSwitch ? data % 2 * 199 : data);
            events.push_back(isMidi ? test::midiEvent(frame, byte(0xB0 + kind % 16),
                                                      byte(isVolume ? 7 : 10), byte(data & 0x7F))
                                    : test::parameterEvent(frame, address, anyValue(choice)));
        }
        return events;
    }

    void process(Bytes& bytes) {
        const auto frames = bytes.take<std::uint16_t>() % (longest + 1);
        constexpr std::size_t layouts[][2] = {{2, 3}, {0, 1}, {1, 0}};
        const auto& [left, right] = layouts[bytes.take<std::uint8_t>() % std::size(layouts)];
        Noise noise(bytes.take<std::uint8_t>());
        std::vector<float> memory(4 * std::size_t{longest});
        for (auto& sample : memory) sample = noise.next();
        const auto place = [&](std::size_t quarter) -> float* {
            if (!isInstance_) return memory.data() + quarter * longest;
            const auto choice = bytes.take<std::uint8_t>();
            return choice == 255 ? nullptr : memory.data() + choice * std::size_t{12};
        };
        float* const input[] = {place(0), place(1)};
        float* output[] = {place(left), place(right)};
        // Two outputs in one place have no right answer.
        if (output[0] && output[1] && std::abs(output[0] - output[1]) < std::ptrdiff_t{frames})
            output[1] = nullptr;
        const auto events = takeEvents(bytes, frames);

        std::vector<float> apart(memory.size()), expected = memory;
        const auto channel = [&](std::size_t c) { return apart.data() + c * longest; };
        for (std::size_t c : {0, 1})
            if (input[c]) std::copy_n(input[c], frames, channel(c));
        plugins_[1]->process({input[0] ? channel(0) : nullptr, input[1] ? channel(1) : nullptr},
                             {channel(2), channel(3)}, frames, events);
        for (std::size_t c : {0, 1})
            if (output[c])
                std::copy_n(channel(2 + c), frames, expected.data() + (output[c] - memory.data()));
        plugins_[0]->process({input[0], input[1]}, {output[0], output[1]}, frames, events);
        require(std::memcmp(memory.data(), expected.data(), memory.size() * sizeof(float)) == 0,
                "the sound is not that of the instance");
        plugins_[0]->idle();
        require(plugins_[0]->latency() == plugins_[1]->latency(), "the latency is another");
        for (std::uint64_t address = 0; address < 8; ++address)
            require(plugins_[0]->value(address) == plugins_[1]->value(address),
                    "a value is not the instance's");
        checkRange();
    }

    void checkRange() const {
        for (std::uint64_t address = 0; address < 8; ++address) {
            const float value = plugins_[0]->value(address);
            require(value >= 0 && value <= 1, "a value is out of range");
        }
    }

    bool isInstance_;
    double rate_;
    std::array<std::unique_ptr<Plugin>, 2> plugins_;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    platform::console::setSink({});
    // The fuzzer counts what it reaches in every object that it has seen, so none may be unloaded.
    static std::vector<std::unique_ptr<Plugin>> loaded;
    for (const auto& [name, format] : Format::all()) loaded.push_back(format.create());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto& formats = Format::all();
    Bytes bytes(data, size);
    const auto choice = std::next(formats.begin(), bytes.take<std::uint8_t>() % formats.size());
    const auto rate = rates[bytes.take<std::uint8_t>() % std::size(rates)];
    Pair pair(choice->second, formats.at("Instance"), rate);
    for (int calls = 0; calls < 20 && !bytes.empty(); ++calls) pair.call(bytes);
    return 0;
}
