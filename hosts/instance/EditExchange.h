#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace qov::hosts {

/// Changes made in the editor, on their way into the host's automation. Bounded: of each
/// parameter, what has not been fetched yet is kept as its latest value and the state of its
/// gesture.
class EditExchange {
 public:
    static constexpr std::size_t parameters = 8;

    /// What the host is told: its parameter is taken hold of, changes, is let go of.
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

    /// Whether something waits for take(). Any thread.
    bool isWaiting() const {
        return std::ranges::any_of(words_, [](const auto& word) {
            return word.load(std::memory_order_relaxed) & (changed | touched | released);
        });
    }

    /// The host's side: one thread at a time, the audio thread too; waits for nothing. Calls
    /// report(edit) for what came since the last call. Values come inside a gesture; one without
    /// a touch is a gesture of its own.
    template <class Report>
    void take(Report&& report) {
        for (std::uint64_t address = 0; address < parameters; ++address) {
            auto& word = words_[address];
            auto& isOpen = open_[address];
            const auto now = word.load(std::memory_order_relaxed);
            if (!(now & (changed | touched | released)) && isOpen == ((now & touching) != 0))
                continue;

            const auto word0 =
                word.fetch_and(~(changed | touched | released), std::memory_order_acq_rel);
            const auto value = std::bit_cast<float>(static_cast<std::uint32_t>(word0));
            if (!isOpen && word0 & (changed | touched | touching)) {
                report(Edit{Edit::Kind::begin, address, value});
                isOpen = true;
            }
            if (word0 & changed) report(Edit{Edit::Kind::value, address, value});
            if (isOpen && !(word0 & touching)) {
                report(Edit{Edit::Kind::end, address, value});
                isOpen = false;
            }
        }
    }

 private:
    // A word: the value's bits below, flags above.
    enum : std::uint64_t {
        changed = std::uint64_t{1} << 32,   // since the last fetch
        touched = std::uint64_t{1} << 33,   // since the last fetch
        touching = std::uint64_t{1} << 34,  // at present
        released = std::uint64_t{1} << 35,  // since the last fetch
    };

    std::array<std::atomic<std::uint64_t>, parameters> words_{};
    std::array<bool, parameters> open_{};  // what the host was told
};

}  // namespace qov::hosts
