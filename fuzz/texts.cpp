// Any bytes, as a preset, an automation file and a MIDI file. What is read is in order and in
// range, and a preset is read again the same from what is written for it; what is not read is
// refused with one line.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "audiounit/parameters.h"
#include "fuzz/require.h"
#include "hosts/cli/Automation.h"
#include "hosts/cli/Command.h"
#include "hosts/cli/MidiFile.h"
#include "hosts/instance/Preset.h"

namespace {

using platform::AURenderEvent;
using qov::hosts::Preset;

bool isRight(const AURenderEvent& event) {
    if (event.head.eventType != platform::AURenderEventParameter)
        return event.MIDI.data[0] >= 0x80 && event.MIDI.data[1] < 0x80 && event.MIDI.data[2] < 0x80;
    const auto& [address, value] =
        std::pair(event.parameter.parameterAddress, event.parameter.value);
    return qov::parameterAt(address) && value >= 0 && value <= 1;
}

void requireOneLine(std::string_view error) {
    require(!error.empty() && error.find('\n') == error.npos, "the error is not one line");
}

void tryEvents(auto read) {
    try {
        const std::vector<AURenderEvent> events = read();
        const auto time = [](const AURenderEvent& event) { return event.head.eventSampleTime; };
        require(std::ranges::is_sorted(events, {}, time), "events are out of order");
        require(events.empty() || time(events[0]) >= 0, "an event is before the start");
        require(std::ranges::all_of(events, isRight), "an event is out of range");
    } catch (const qov::cli::Failure& failure) {
        requireOneLine(failure.what());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    tryEvents([&] { return qov::cli::parseAutomation(text, "moves", 48000); });
    tryEvents([&] {
        return qov::cli::midiAutomation(qov::cli::parseMidiFile({data, size}, "song"), 1'048'576);
    });
    std::string error;
    const auto preset = Preset::parse(text, 48000, &error);
    if (!preset) return requireOneLine(error), 0;
    require(
        std::ranges::all_of(preset->values, [](float value) { return value >= 0 && value <= 1; }),
        "a preset's value is out of range");
    const auto again = Preset::parse(preset->text(), 48000, &error);
    require(again && again->values == preset->values && again->summary == preset->summary,
            "a preset is read differently from what was written");
    return 0;
}
