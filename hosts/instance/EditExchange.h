#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "audiounit/parameters.h"

namespace qov::hosts {

/// Changes made in the editor, on their way into the host's automation. Bounded: of each
/// parameter, what has not been fetched yet is kept as its latest value and the state of its
/// gesture.
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

    /// Whether edits are pending. Any thread.
    bool isPending() const { return changed_.load(std::memory_order_relaxed) != 0; }

    /// The host's side: one thread at a time, the audio thread too; never blocks. Calls
    /// report(edit) for what came since the last call. Values come inside a gesture; one without
    /// a touch is a gesture of its own.
    template <class Report>
    void take(Report&& report) {
        if (!isPending()) return;
        for (auto news = changed_.exchange(0, std::memory_order_acquire); news; news &= news - 1)
            takeOne(static_cast<std::uint64_t>(std::countr_zero(news)), report);
    }

 private:
    // A word: the value's bits below, flags above.
    enum : std::uint64_t {
        changed = std::uint64_t{1} << 32,   // since the last fetch
        touched = std::uint64_t{1} << 33,   // since the last fetch
        touching = std::uint64_t{1} << 34,  // at present
    };

    template <class Report>
    void takeOne(std::uint64_t address, Report& report) {
        const auto word =
            words_[address].fetch_and(~(changed | touched), std::memory_order_acq_rel);
        const auto value = std::bit_cast<float>(static_cast<std::uint32_t>(word));
        auto& isOpen = open_[address];
        if (!isOpen && word & (changed | touched | touching)) {
            report(Edit{Edit::Kind::begin, address, value});
            isOpen = true;
        }
        if (word & changed) report(Edit{Edit::Kind::value, address, value});
        if (isOpen && !(word & touching)) {
            report(Edit{Edit::Kind::end, address, value});
            isOpen = false;
        }
    }
    /// After the word: who takes the news finds it.
    void markChanged(std::uint64_t address) {
        changed_.fetch_or(1u << address, std::memory_order_release);
    }

    std::array<std::atomic<std::uint64_t>, parameters> words_{};
    std::atomic<std::uint32_t> changed_{0};  // bit a: the word of address a was written
    std::array<bool, parameters> open_{};    // gestures that the host knows of
};

}  // namespace qov::hosts
