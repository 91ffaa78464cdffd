#pragma once

#include <atomic>
#include <thread>

namespace qov::hosts::vst3 {

/// A lock that never blocks the audio thread: that takes it for a block, or not at all, and another
/// thread for a change that no block may see half done. Some hosts deactivate a plug-in while they
/// process. For std::lock_guard, and std::unique_lock with std::try_to_lock.
class Gate {
 public:
    /// For the audio thread; returns at once.
    bool try_lock() { return !taken_.exchange(true, std::memory_order_acquire); }
    /// Blocks, at most for the length of a block.
    void lock() {
        while (!try_lock()) std::this_thread::yield();
    }
    void unlock() { taken_.store(false, std::memory_order_release); }

 private:
    std::atomic<bool> taken_{false};
};

}  // namespace qov::hosts::vst3
