#pragma once

#include <clap/events.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "hosts/instance/EditExchange.h"
#include "hosts/instance/Instance.h"

namespace qov::hosts::clap {

/// Writes a host's output events. The thread of process() or flush(); allocates nothing.
class EventOutbox {
 public:
    explicit EventOutbox(EditExchange& edits) : edits_(edits) {}

    /// The editor's changes, all at frame 0: begin of a gesture, value, end. What the host does
    /// not take is kept for the next call.
    void sendEdits(const clap_output_events_t* events);
    /// A parameter that a MIDI controller has moved, for the host to show but not to record.
    static void sendController(std::uint32_t frame, const Instance::Setting& moved,
                               const clap_output_events_t* events);
    /// The host has not taken everything yet. Any thread.
    bool hasLeft() const { return hasLeft_.load(std::memory_order_relaxed); }

 private:
    using Edit = EditExchange::Edit;

    EditExchange& edits_;
    std::array<Edit, 3 * EditExchange::parameters> pending_{};
    std::size_t count_ = 0;
    std::size_t sent_ = 0;
    std::atomic<bool> hasLeft_{false};
};

}  // namespace qov::hosts::clap
