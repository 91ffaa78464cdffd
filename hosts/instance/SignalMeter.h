#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

#include "hosts/measure/StereoSums.h"

namespace qov::hosts {

/// Sums and peaks of the sound that passes an instance, for one watcher. While nobody watches, a
/// block costs the look at one flag. Nothing here allocates or blocks.
class SignalMeter {
 public:
    /// Of the blocks since the last reading.
    struct Reading {
        measure::StereoSums output;
        float inputPeak = 0, outputPeak = 0;  ///< of both channels
    };

    // Watcher: one thread

    /// Starts anew, or ends.
    void watch(bool isWatched);
    /// Null if no block has ended since the last call.
    std::optional<Reading> take();

    // Audio thread

    bool isWatched() const { return watch_.load(std::memory_order_relaxed) != 0; }
    void addInput(const float* left, const float* right, std::uint32_t frames);
    void addOutput(const float* left, const float* right, std::uint32_t frames);
    /// At the end of a block.
    void handOver();

 private:
    std::atomic<std::uint32_t> watch_{0};  // the number of the watch; 0 for none
    std::uint32_t lastWatch_ = 0;          // the watcher's

    // The audio thread's until `isFull_`, then the watcher's until it is taken.
    Reading slot_;
    std::uint32_t slotWatch_ = 0;
    std::atomic<bool> isFull_{false};

    Reading sum_;  // the audio thread's
    std::uint32_t sumWatch_ = 0;
};

}  // namespace qov::hosts
