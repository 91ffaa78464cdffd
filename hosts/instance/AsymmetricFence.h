#pragma once

#include <atomic>

namespace qov::hosts {

/// A full fence on each of two threads, where one passes often and the other seldom: if the system
/// can fence all threads of a process (Linux: membarrier), the seldom one pays for both.
class AsymmetricFence {
 public:
    AsymmetricFence();

    /// On the thread that passes often; free where heavy() pays.
    void light() const {
        if (isShared_)
            std::atomic_signal_fence(std::memory_order_seq_cst);
        else
            std::atomic_thread_fence(std::memory_order_seq_cst);
    }
    /// On the other thread; some microseconds, and not to be called on the audio thread.
    void heavy() const;

 private:
    bool isShared_;
};

}  // namespace qov::hosts
