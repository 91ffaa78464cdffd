#include "hosts/instance/EventList.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "audiounit/parameters.h"

namespace qov::hosts {
std::optional<Setting> settingOf(const HostEvent& event) {
    if (event.kind == HostEvent::Kind::midi) {
        if (event.midiLength != 3 || (event.midi[0] & 0xf0) != 0xb0) return std::nullopt;
        const auto address = parameterOfController(event.midi[1]);
        if (!address) return std::nullopt;
        return Setting{*address, static_cast<float>(event.midi[2] & 0x7f) / 127.0f};
    }
    if (!parameterAt(event.address) || std::isnan(event.value)) return std::nullopt;
    return Setting{event.address, std::clamp(event.value, 0.0f, 1.0f)};
}

bool isWholeMidi(const HostEvent& event) {
    if (event.kind != HostEvent::Kind::midi || event.midiLength < 1 || event.midiLength > 3)
        return false;
    // A control change that was cut short has no value.
    return (event.midi[0] & 0xf0) != 0xb0 || event.midiLength == 3;
}

std::uint32_t EventList::collectSome(std::span<const HostEvent> events, std::uint32_t frames,
                                     std::uint32_t begin, std::uint32_t end,
                                     std::int64_t startTime) {
    while (!gather(events, frames, begin, end, startTime)) {
        if (end - begin == 1) {
            gatherFrame(events, frames, begin, startTime);
            break;
        }
        end = begin + (end - begin) / 2;
    }
    link();
    return end;
}

bool EventList::gather(std::span<const HostEvent> events, std::uint32_t frames, std::uint32_t begin,
                       std::uint32_t end, std::int64_t startTime) {
    clear();
    for (const auto& event : events) {
        const auto frame = std::min(event.frame, frames - 1);
        if (frame < begin || frame >= end) continue;
        const bool isMidi = isWholeMidi(event);
        const auto setting = isMidi ? std::nullopt : settingOf(event);
        if (!isMidi && !setting) continue;
        if (count_ == capacity) return false;
        if (isMidi)
            addMidi(frame - begin, startTime, event);
        else
            add(frame - begin, startTime, *setting);
    }
    return true;
}

/// What a host's events of one frame come to: each parameter's last value, and the reset that a
/// bypass brings even where it is taken back in the same frame.
void EventList::gatherFrame(std::span<const HostEvent> events, std::uint32_t frames,
                            std::uint32_t frame, std::int64_t startTime) {
    std::array<std::optional<float>, addressLimit> last;
    bool resets = false;
    for (const auto& event : events) {
        if (std::min(event.frame, frames - 1) != frame) continue;
        const auto setting = settingOf(event);
        if (!setting) continue;
        last[setting->address] = setting->value;
        resets |= setting->address == kBypass && setting->value > 0.5f;
    }
    clear();
    if (resets) add(0, startTime, {kBypass, 1.0f});
    for (std::uint64_t address = 0; address < addressLimit; ++address)
        if (last[address]) add(0, startTime, {address, *last[address]});
}

void EventList::add(std::uint32_t frameInCycle, std::int64_t startTime, Setting setting) {
    auto& event = events_[count_].parameter;
    event = {};
    event.eventSampleTime = startTime + frameInCycle;
    event.eventType = platform::AURenderEventParameter;
    event.parameterAddress = setting.address;
    event.value = setting.value;
    append(frameInCycle);
    addresses_ |= 1u << setting.address;
}

void EventList::addMidi(std::uint32_t frameInCycle, std::int64_t startTime,
                        const HostEvent& event) {
    auto& message = events_[count_].MIDI;
    message = {};
    message.eventSampleTime = startTime + frameInCycle;
    message.eventType = platform::AURenderEventMIDI;
    message.length = event.midiLength;
    message.data[0] = event.midi[0];
    for (std::size_t i = 1; i < event.midi.size(); ++i) message.data[i] = event.midi[i] & 0x7f;
    append(frameInCycle);
    if (const auto setting = settingOf(event)) addresses_ |= 1u << setting->address;
}

void EventList::append(std::uint32_t frameInCycle) {
    keys_[count_] = std::uint64_t{frameInCycle} << 32 | count_;
    ++count_;
}

void EventList::link() {
    std::sort(keys_.begin(), keys_.begin() + static_cast<std::ptrdiff_t>(count_));
    for (std::size_t rank = 0; rank < count_; ++rank)
        events_[order(rank)].head.next = rank + 1 < count_ ? &events_[order(rank + 1)] : nullptr;
}

}  // namespace qov::hosts
