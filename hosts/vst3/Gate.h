#pragma once

#include <atomic>
#include <thread>

namespace qov::hosts::vst3 {

/// Lets one in at a time: the audio thread for a block, another for a change that no block may see
/// half done. Some hosts switch a plug-in off and on while they process. For std::lock_guard, and
/// std::unique_lock with std::try_to_lock.
class Gate {
 public:
    /// For the audio thread; returns at once.
    bool try_lock() { return !taken_.exchange(true, std::memory_order_acquire); }
    /// Waits, at most for a block.
    void lock() {
        while (!try_lock()) std::this_thread::yield();
    }
    void unlock() { taken_.store(false, std::memory_order_release); }

 private:
    std::atomic<bool> taken_{false};
};

}  // namespace qov::hosts::vst3
