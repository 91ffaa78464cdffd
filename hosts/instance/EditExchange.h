#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "audiounit/parameters.h"

namespace qov::hosts {

/// Changes made in the editor, on their way into the host's automation. Bounded: of each
/// parameter's pending changes, the latest value and the state of the gesture are kept.
class EditExchange {
 public:
    static constexpr std::size_t parameters = parameterCount;

    /// One step of a gesture: its begin, a value, its end.
    struct Edit {
        enum class Kind { begin, value, end };
        Kind kind;
        std::uint64_t address;
        float value;  ///< the latest, also where a gesture begins or ends
    };

    // The editor's side: any thread but the audio thread. Addresses are below `parameters`.
    void touch(std::uint64_t address);
    void change(std::uint64_t address, float value);
    void release(std::uint64_t address);
    /// A gesture of each address whose bit is set in `which`; they are fetched together.
    void change(const std::array<float, parameters>& values, std::uint32_t which);

    /// Whether edits are pending. Any thread.
    bool isPending() const { return isTaking_ || changed_.load(std::memory_order_relaxed) != 0; }

    /// Whether edits of several parameters are pending, as after a preset. Any thread.
    bool isSeveral() const { return std::popcount(changed_.load(std::memory_order_relaxed)) > 1; }

    // The host's side: one thread at a time, the audio thread too; never blocks. Values come inside
    // a gesture; one without a touch is a gesture of its own.

    /// The next edit; null at the end of those that were pending at the first call since the last
    /// null.
    const Edit* front();
    /// Removes the edit at the front.
    void pop() { ++first_; }
    /// Calls report(edit) for each edit that is pending.
    template <class Report>
    void take(const Report& report) {
        while (const auto* next = front()) {
            const auto edit = *next;
            pop();
            report(edit);
        }
    }

 private:
    // A word: the value's bits below, flags above.
    enum : std::uint64_t {
        changed = std::uint64_t{1} << 32,   // since the last fetch
        touched = std::uint64_t{1} << 33,   // since the last fetch
        touching = std::uint64_t{1} << 34,  // at present
    };

    void fetch(std::uint64_t address);
    void write(std::uint64_t address, float value);
    /// After the words are written, so that a reader of a bit finds its word.
    void markChanged(std::uint32_t which) { changed_.fetch_or(which, std::memory_order_release); }

    std::array<std::atomic<std::uint64_t>, parameters> words_{};
    std::atomic<std::uint32_t> changed_{0};  // bit a: the word of address a was written

    // The host's side
    std::array<bool, parameters> open_{};  // gestures whose begin was fetched, and not their end
    std::atomic<bool> isTaking_{false};
    std::uint32_t toFetch_ = 0;  // bit a: address a is to be fetched
    std::array<Edit, 3> fetched_{};
    std::size_t first_ = 0, count_ = 0;  // of them
};

}  // namespace qov::hosts
