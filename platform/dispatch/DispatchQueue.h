#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace platform {

class RunLoop;

/// The main queue: blocks run on the main thread, one after the other, in submission order and
/// after what runs there now.
class DispatchQueue {
 public:
    /// The queue of the calling thread's current run loop (see RunLoop). The object stays bound to
    /// that loop and may be taken to other threads; it does not keep the loop alive.
    static DispatchQueue main();

    /// Queues the block and returns. Any thread but a real-time one.
    void async(std::function<void()> block) const;

 private:
    explicit DispatchQueue(std::weak_ptr<RunLoop> loop) : loop_(std::move(loop)) {}

    std::weak_ptr<RunLoop> loop_;
};

}  // namespace platform
