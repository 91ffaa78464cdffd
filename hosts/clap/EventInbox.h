#pragma once

#include <clap/events.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "hosts/instance/HostEvent.h"

namespace qov::hosts::clap {

/// The events of a host's block that mean something to the effect, in portions that fit into
/// storage of its own. The first portion is the whole block, unless there are more of them than
/// `capacity`. A list may be in any order; the portions of a longer one keep its events on their
/// frames if it is sorted. Allocates nothing once made.
class EventInbox {
 public:
    static constexpr std::size_t capacity = 1024;

    /// A stretch of the block with the events in it, which are valid until the next call.
    struct Portion {
        std::uint32_t end;  ///< the frame behind its last; its events count from its first
        std::span<const HostEvent> events;
        bool isLast;
    };

    /// A new block. `events` may be null and is read until the last portion.
    void open(const clap_input_events_t* events, std::uint32_t frames);
    bool isEmpty() const { return size_ == 0; }
    /// What comes from frame `begin`, the end of the portion before, on. A portion of no frames
    /// takes effect at its frame.
    Portion next(std::uint32_t begin);

 private:
    void fill();

    const clap_input_events_t* list_ = nullptr;
    std::uint32_t size_ = 0, read_ = 0;  // of the list
    std::uint32_t frames_ = 0;
    std::vector<HostEvent> events_ = std::vector<HostEvent>(capacity);
    std::size_t count_ = 0;
    std::size_t given_ = 0;  // of them, away with the last portion
};

}  // namespace qov::hosts::clap
