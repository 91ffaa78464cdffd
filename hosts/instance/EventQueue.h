#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/audiotoolbox/AURenderEvent.h"

namespace qov::hosts {

/// The events of a block that have not been rendered yet, sorted by time, those of one time in the
/// order in which they were pushed. Bounded; allocates only when it is made. One thread.
class EventQueue {
 public:
    bool isFull() const { return end_ == events_.size(); }
    bool isEmpty() const { return begin_ == end_; }
    /// Inserts an event; the queue must not be full. Constant time where events come sorted.
    void push(const platform::AURenderEvent& event);
    /// Removes the events before `time` and links them; null if there are none. The list is valid
    /// until the next push.
    const platform::AURenderEvent* take(std::int64_t time) {
        return isEmpty() ? nullptr : takeSome(time);
    }

 private:
    const platform::AURenderEvent* takeSome(std::int64_t time);

    static constexpr std::size_t capacity = 512;

    std::vector<platform::AURenderEvent> events_{capacity};
    std::size_t begin_ = 0, end_ = 0;  // of the events that are in the queue
};

}  // namespace qov::hosts
