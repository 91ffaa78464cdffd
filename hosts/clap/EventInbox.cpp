#include "hosts/clap/EventInbox.h"

#include <algorithm>
#include <optional>

#include "hosts/instance/EditExchange.h"
#include "hosts/instance/EventList.h"

namespace qov::hosts::clap {

namespace {

template <class Event>
const Event* as(const clap_event_header_t& header) {
    return header.size >= sizeof(Event) ? reinterpret_cast<const Event*>(&header) : nullptr;
}

std::optional<HostEvent> read(const clap_event_header_t& header) {
    if (header.space_id != CLAP_CORE_EVENT_SPACE_ID) return std::nullopt;
    if (header.type == CLAP_EVENT_PARAM_VALUE) {
        const auto* event = as<clap_event_param_value_t>(header);
        // Hosts reach the tree's parameters; the volume behind them is MIDI's alone.
        if (!event || event->param_id >= EditExchange::parameters) return std::nullopt;
        const auto value = static_cast<float>(std::clamp(event->value, 0.0, 1.0));
        return HostEvent::parameter(header.time, event->param_id, value);
    }
    if (header.type == CLAP_EVENT_MIDI) {
        const auto* event = as<clap_event_midi_t>(header);
        if (!event) return std::nullopt;
        return HostEvent::message(header.time, {event->data[0], event->data[1], event->data[2]});
    }
    return std::nullopt;
}

}  // namespace

void EventInbox::open(const clap_input_events_t* events, std::uint32_t frames) {
    list_ = events;
    size_ = events ? events->size(events) : 0;
    read_ = 0;
    frames_ = frames;
    count_ = given_ = 0;
}

EventInbox::Portion EventInbox::next(std::uint32_t begin) {
    std::copy(events_.begin() + static_cast<std::ptrdiff_t>(given_),
              events_.begin() + static_cast<std::ptrdiff_t>(count_), events_.begin());
    count_ -= given_;
    fill();

    const bool isLast = read_ == size_;
    auto end = frames_;
    given_ = count_;
    if (!isLast) {
        // More of the last frame's events may follow: they stay for the next portion, unless
        // there is nothing else.
        end = std::clamp(events_[count_ - 1].frame, begin, frames_);
        while (given_ > 0 && events_[given_ - 1].frame >= end) --given_;
        if (given_ == 0) {
            given_ = count_;
            end = begin;
        }
    }
    for (auto& event : std::span(events_).first(given_))
        event.frame = event.frame < begin ? 0 : event.frame - begin;
    return {end, std::span(events_).first(given_), isLast};
}

void EventInbox::fill() {
    for (; read_ < size_ && count_ < capacity; ++read_) {
        const auto* header = list_->get(list_, read_);
        const auto event = header ? read(*header) : std::nullopt;
        if (event && (isWholeMidi(*event) || settingOf(*event))) events_[count_++] = *event;
    }
}

}  // namespace qov::hosts::clap
