#pragma once

#include <functional>

#include "platform/dispatch/DispatchQueue.h"

namespace platform {

/// The main operation queue. It shares the main dispatch queue's order, as on the platform.
class OperationQueue {
 public:
    /// As DispatchQueue::main().
    static OperationQueue main() { return {}; }

    /// Queues the block and returns. Any thread but a real-time one.
    void addOperation(std::function<void()> block) const { queue_.async(std::move(block)); }

 private:
    DispatchQueue queue_ = DispatchQueue::main();
};

}  // namespace platform
