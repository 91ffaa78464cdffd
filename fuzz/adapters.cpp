// Any calls of a host at a built plug-in, through its format's C interface: what comes out is, to
// the bit, what the bare instance gives for valid calls in buffers apart from each other and in
// blocks of the longest cycle, and so are latency, values and their texts. A state is taken up in
// the next run, a damaged one refused with nothing changed, or repaired. The instance itself is one
// of the formats: it takes channels anywhere in memory or null, and any events and values.
//
// Input: the format and the sample rate (a byte each), then calls, a byte each for its kind and
// what that needs. A block takes its length (two bytes), how its buffers lie and a seed for the
// signal (for the instance then a byte for each channel's place), a number of events and for each
// its frame (two bytes), kind and value.

#include <algorithm>
#include <array>
#include <cstdint>
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
constexpr std::uint32_t longestCycle = 1024;
constexpr double rates[] = {44100, 8000, 384000};
// A host automates a parameter or lets its user set it, at a time.
constexpr std::uint64_t automated[] = {kPanorama,    kPhaseShift, kSwapChannels,
                                       kRecoverMono, kTestMono,   kBypass};
constexpr std::uint64_t settings[] = {kStereoWidth, kInvertChannel};

/// The plug-in, and the instance that it is held against.
class Pair {
 public:
    Pair(const Format& format, const Format& instance, double rate)
        : formats_{&format, &instance}, rate_(rate), plugins_{format.create(), instance.create()} {
        for (const auto& one : plugins_) activate(*one);
    }
    ~Pair() {
        for (const auto& one : plugins_) one->deactivate();
    }

    void call(Bytes& bytes) {
        const auto kind = bytes.take<std::uint8_t>() % 12;
        if (kind > 4) return process(bytes);
        if (kind == 0) restart(bytes.take<std::uint8_t>());
        if (kind == 2) setValue(bytes);
        if (kind == 3) restoreDamaged(bytes);
        for (const auto& one : plugins_) {
            if (kind == 1) one->reset();
            if (kind == 4) one->idle();
        }
        // What a host has set takes effect with the next block at the latest.
        Bytes nothing(nullptr, 0);
        process(nothing);
    }

 private:
    void activate(Plugin& plugin) const {
        require(plugin.activate(rate_, longest), "the plug-in does not become active");
    }

    /// Another activation, of the same plug-ins, or of new ones with the state of the old ones.
    void restart(std::uint8_t choice) {
        const bool changesRate = choice & 1, isRestoredFirst = choice & 2;
        const bool isNew = choice & 4 || (changesRate && !formats_[0]->can.changesRate);
        if (changesRate) rate_ = rates[choice / 8 % std::size(rates)];
        for (std::size_t i : {0, 1}) {
            auto& plugin = plugins_[i];
            const auto state = plugin->saveState();
            plugin->deactivate();
            if (isNew) plugin = formats_[i]->create();
            if (isNew && isRestoredFirst) plugin->restoreState(state);
            activate(*plugin);
            if (isNew && !isRestoredFirst) plugin->restoreState(state);
            if (isNew || changesRate) plugin->reset();
            require(plugin->saveState() == state, "the state is not restored");
            require(plugin->takeEdits().empty(), "restoring is an edit");
        }
    }

    void setValue(Bytes& bytes) {
        const auto choice = bytes.take<std::uint8_t>(), data = bytes.take<std::uint8_t>();
        const auto address = isInstance() ? choice % 12 : settings[choice % 2];
        const auto value = isInstance() ? anyValue(data) : static_cast<float>(data) / 255;
        plugins_[0]->setValue(address, value);
        if (address < 8 && !std::isnan(value))
            plugins_[1]->setValue(address, std::clamp(value, 0.0F, 1.0F));
        if (!formats_[0]->can.texts) return;
        const auto text = plugins_[1]->valueText(choice % 8, value);
        require(plugins_[0]->valueText(choice % 8, value) == text, "a text is not the instance's");
        require(plugins_[0]->parseValue(data % 8, text) == plugins_[1]->parseValue(data % 8, text),
                "a text is read differently");
    }

    /// A saved state with a few bytes of it changed, or cut short, or any text in its place; then
    /// the one that was saved.
    void restoreDamaged(Bytes& bytes) {
        constexpr int any = 248;
        auto& plugin = *plugins_[0];
        const std::string saved[] = {plugin.saveState(), plugins_[1]->saveState()};
        const auto before = values(plugin);
        const auto damage = bytes.take<std::uint8_t>();
        auto damaged = damage == any ? bytes.rest() : saved[0];
        for (int left = damage % 8; left > 0; --left)
            damaged[bytes.take<std::uint16_t>() % damaged.size()] =
                static_cast<char>(bytes.take<std::uint8_t>());
        damaged.resize(damaged.size() -
                       std::min<std::size_t>(bytes.take<std::uint8_t>(), damaged.size()));
        auto later = saved[0];
        later.at(later.find("state 1") + 6) = '9';
        require(!plugin.restoreState(later), "a state of a later version is taken");
        const bool isTaken = plugin.restoreState(damaged);
        const auto after = values(plugin);
        const auto again = plugin.saveState();
        require(isTaken || (after == before && again == saved[0]),
                "a refused state has changed something");
        for (int i : {0, 1})
            require(plugins_[i]->restoreState(saved[i]), "a plug-in refuses its own state");
        require(
            plugin.restoreState(again) && values(plugin) == after && plugin.saveState() == again,
            "what was saved comes back changed");
        plugin.restoreState(saved[0]);
    }

    static std::uint8_t byte(int value) { return static_cast<std::uint8_t>(value); }

    std::vector<AURenderEvent> takeEvents(Bytes& bytes, std::uint32_t frames) const {
        std::vector<AURenderEvent> events;
        // Formats that keep a queue a parameter have no order between two of them on a frame.
        std::map<std::uint32_t, std::uint64_t> owners;
        for (int left = bytes.take<std::uint8_t>() % 16; left > 0; --left) {
            const auto frame = bytes.take<std::uint16_t>() % (longest + 10);
            const auto kind = bytes.take<std::uint8_t>(), data = bytes.take<std::uint8_t>();
            if (isInstance()) {
                const auto address = kind % 12 == 11 ? ~std::uint64_t{0} : kind % 12u;
                events.push_back(kind < 128 ? test::parameterEvent(frame, address, anyValue(data))
                                            : test::midiEvent(frame, byte(0xB0 + kind % 32),
                                                              byte(7 + kind % 5), data,
                                                              data % 8 == 7 ? kind % 4 : 3));
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

    /// Those that an instance does not drop, as it takes them.
    static std::vector<AURenderEvent> valid(std::vector<AURenderEvent> events,
                                            std::uint32_t frames) {
        std::erase_if(events, [](const AURenderEvent& event) {
            const auto length = event.MIDI.length;
            const auto address = event.parameter.parameterAddress;
            if (test::isMidi(event))
                return length == 0 || (length < 3 && event.MIDI.data[0] < 0xC0);
            return (address > kBypass && address != kVolume) || std::isnan(event.parameter.value);
        });
        for (auto& event : events) {
            auto& time = event.head.eventSampleTime;
            time = std::min(time, std::max<std::int64_t>(frames, 1) - 1);
            if (test::isMidi(event))
                event.MIDI.data[2] &= 0x7F;
            else
                event.parameter.value = std::clamp(event.parameter.value, 0.0F, 1.0F);
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
            if (!isInstance()) return memory.data() + quarter * longest;
            const auto choice = bytes.take<std::uint8_t>();
            return choice > 239 ? nullptr : memory.data() + choice * std::size_t{12};
        };
        float* const input[] = {place(0), place(1)};
        float* const output[] = {place(left), place(right)};
        const auto events = takeEvents(bytes, frames);

        Stereo apart{std::vector<float>(frames), std::vector<float>(frames)};
        if (input[0]) apart.left.assign(input[0], input[0] + frames);
        if (input[1]) apart.right.assign(input[1], input[1] + frames);
        apart = processAll(*plugins_[1], apart, longestCycle, valid(events, frames));
        auto expected = memory;
        const auto put = [&](const std::vector<float>& channel, const float* where) {
            if (where) std::ranges::copy(channel, expected.begin() + (where - memory.data()));
        };
        put(apart.left, output[0]);
        put(apart.right, output[1]);  // stays where they overlap
        plugins_[0]->process({input[0], input[1]}, {output[0], output[1]}, frames, events);
        require(std::memcmp(memory.data(), expected.data(), memory.size() * sizeof(float)) == 0,
                "the sound is not that of the instance");
        plugins_[0]->idle();
        require(plugins_[0]->latency() == plugins_[1]->latency(), "the latency is another");
        require(values(*plugins_[0]) == values(*plugins_[1]), "a value is not the instance's");
    }

    static std::vector<float> values(Plugin& plugin) {
        const auto all = plugin.values();
        require(std::ranges::all_of(all, [](float value) { return value >= 0 && value <= 1; }),
                "a value is out of range");
        return all;
    }
    bool isInstance() const { return formats_[0] == formats_[1]; }

    std::array<const Format*, 2> formats_;
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
