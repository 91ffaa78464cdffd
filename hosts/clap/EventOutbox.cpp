#include "hosts/clap/EventOutbox.h"

#include <algorithm>

#include "hosts/instance/EventList.h"

namespace qov::hosts::clap {
namespace {

bool pushValue(const clap_output_events_t* events, std::uint32_t frame, std::uint32_t flags,
               std::uint64_t address, float value) {
    const clap_event_param_value_t event{
        .header = {sizeof event, frame, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_PARAM_VALUE, flags},
        .param_id = static_cast<clap_id>(address),
        .cookie = nullptr,
        .note_id = -1,
        .port_index = -1,
        .channel = -1,
        .key = -1,
        .value = value};
    return events->try_push(events, &event.header);
}

bool pushEdit(const clap_output_events_t* events, const EditExchange::Edit& edit) {
    using Kind = EditExchange::Edit::Kind;
    if (edit.kind == Kind::value)
        return pushValue(events, 0, CLAP_EVENT_IS_LIVE, edit.address, edit.value);
    const auto type = static_cast<std::uint16_t>(
        edit.kind == Kind::begin ? CLAP_EVENT_PARAM_GESTURE_BEGIN : CLAP_EVENT_PARAM_GESTURE_END);
    const clap_event_param_gesture_t event{
        .header = {sizeof event, 0, CLAP_CORE_EVENT_SPACE_ID, type, CLAP_EVENT_IS_LIVE},
        .param_id = static_cast<clap_id>(edit.address)};
    return events->try_push(events, &event.header);
}

}  // namespace

void EventOutbox::sendEdits(const clap_output_events_t* events) {
    if (!events) return;
    if (sent_ == count_) {
        count_ = sent_ = 0;
        edits_.take([this](const Edit& edit) { waiting_[count_++] = edit; });
    }
    while (sent_ < count_ && pushEdit(events, waiting_[sent_])) ++sent_;
    hasLeft_.store(sent_ < count_, std::memory_order_relaxed);
}

void EventOutbox::sendControllers(std::span<const HostEvent> heard, std::uint32_t begin,
                                  std::uint32_t frames, const clap_output_events_t* events) {
    if (!events) return;
    const std::uint32_t last = frames > 0 ? frames - 1 : 0;
    std::uint32_t latest = 0;  // a host's list may be unsorted, or leave the block; ours does not
    for (const auto& event : heard) {
        latest = std::max(latest, event.frame);
        if (event.kind != HostEvent::Kind::midi) continue;
        const auto setting = settingOf(event);
        if (setting && setting->address < EditExchange::parameters)
            pushValue(events, std::min(begin + latest, last), CLAP_EVENT_DONT_RECORD,
                      setting->address, setting->value);
    }
}

}  // namespace qov::hosts::clap
