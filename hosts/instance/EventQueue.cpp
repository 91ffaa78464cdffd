#include "hosts/instance/EventQueue.h"

#include <algorithm>

namespace qov::hosts {

using platform::AURenderEvent;

void EventQueue::push(const AURenderEvent& event) {
    auto place = end_++;
    for (; place > begin_ && events_[place - 1].head.eventSampleTime > event.head.eventSampleTime;
         --place)
        events_[place] = events_[place - 1];
    events_[place] = event;
}

const AURenderEvent* EventQueue::takeSome(std::int64_t time) {
    const auto first = begin_;
    AURenderEvent* last = nullptr;
    for (; begin_ < end_ && events_[begin_].head.eventSampleTime < time; ++begin_) {
        if (last) last->head.next = &events_[begin_];
        last = &events_[begin_];
    }
    if (begin_ == end_) begin_ = end_ = 0;
    if (!last) return nullptr;
    last->head.next = nullptr;
    return &events_[first];
}

}  // namespace qov::hosts
