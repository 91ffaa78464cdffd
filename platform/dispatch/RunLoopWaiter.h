#pragma once

#include <cstddef>
#include <memory>
#include <span>

namespace platform {

/// How a run loop sleeps: until a descriptor is readable or another thread signals. A back end is a
/// source file that subclasses it and defines make(). The loop serialises all calls but those of
/// ready() and wait(), which run on the thread that turns the loop.
class RunLoopWaiter {
 public:
    /// Null if the process has no descriptor left or the system has none to wait for.
    static std::unique_ptr<RunLoopWaiter> make();

    RunLoopWaiter() = default;
    RunLoopWaiter(const RunLoopWaiter&) = delete;
    RunLoopWaiter& operator=(const RunLoopWaiter&) = delete;
    virtual ~RunLoopWaiter() = default;

    /// Ends wait(), now or when it is next called, until clearSignal(). Repeated calls are no-ops.
    virtual void signal() = 0;
    virtual void clearSignal() = 0;

    /// False if the descriptor cannot be waited for. A no-op for one that was added before.
    virtual bool add(int descriptor) = 0;
    /// Before the descriptor is closed.
    virtual void remove(int descriptor) = 0;

    /// Stores the descriptors that are readable, closed by the other side or broken, as many as
    /// fit, and returns their number. Does not wait.
    virtual std::size_t ready(std::span<int> descriptors) = 0;
    /// Blocks until the signal or a descriptor, at most `longest` nanoseconds.
    virtual void wait(std::int64_t longest) = 0;

    /// Readable while wait() would return at once; for foreign loops. Belongs to the waiter.
    virtual int fileDescriptor() const = 0;
};

}  // namespace platform
