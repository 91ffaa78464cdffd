#include "hosts/clap/EventOutbox.h"

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
        edits_.take([this](const Edit& edit) { pending_[count_++] = edit; });
    }
    while (sent_ < count_ && pushEdit(events, pending_[sent_])) ++sent_;
    hasLeft_.store(sent_ < count_, std::memory_order_relaxed);
}

void EventOutbox::sendController(std::uint32_t frame, const Instance::Setting& moved,
                                 const clap_output_events_t* events) {
    if (events) pushValue(events, frame, CLAP_EVENT_DONT_RECORD, moved.address, moved.value);
}

}  // namespace qov::hosts::clap
