#pragma once

#include <atomic>
#include <thread>

namespace qov::hosts::vst3 {

/// Lets one in at a time: the audio thread for a block, another for a change that no block may see
/// half done. Some hosts switch a plug-in off and on while they process.
class Gate {
 public:
    /// Never waits: for the audio thread.
    bool tryEnter() { return !taken_.exchange(true, std::memory_order_acquire); }
    /// Waits, at most for a block.
    void enter() {
        while (!tryEnter()) std::this_thread::yield();
    }
    void leave() { taken_.store(false, std::memory_order_release); }

 private:
    std::atomic<bool> taken_{false};
};

}  // namespace qov::hosts::vst3
