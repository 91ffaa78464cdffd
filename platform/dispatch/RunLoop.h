#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace platform {

/// The one loop on which timers, the main queue and the main operation queue run.
///
/// - A plug-in instance owns one and calls pump() on its host's timer: pump() never blocks.
/// - A program calls run(), which sleeps until the next deadline or descriptor event.
/// - A foreign loop waits on fileDescriptor() until nextDeadline(), then calls pump().
/// - A test creates one with createForTest() and moves its clock with advance().
///
/// Which loop is the main one. There is no single main queue for a process that holds several
/// plug-in instances: "main" is the loop that is current on the calling thread, and a thread that
/// has none uses main(), the process's own. A host makes an instance's loop current around every
/// call into the instance, a loop makes itself current while it runs blocks, and code that keeps a
/// block to call it on another thread (a parameter observer, a fetch) keeps the loop that was
/// current when it received the block and makes it current around the call. Work therefore always
/// returns to its own instance and ends with it: end() drops all of it.
///
/// Memory. Nothing is merged or dropped while the loop lives: the queue holds what was submitted
/// since the last turn, so its size is bounded by the rate of submission times the longest pause
/// between two turns. A turn takes the whole queue at once and gives its memory back.
///
/// Threads. Every operation may be called on any thread; blocks run only on the thread that turns
/// the loop, one at a time, outside any lock. A turn that is begun while one is under way (from
/// a block, or on a second thread) is a no-op. Not for real-time threads: submission locks.
class RunLoop : public std::enable_shared_from_this<RunLoop> {
 public:
    using Block = std::function<void()>;
    /// Seconds from any origin; must not go backwards.
    using Clock = std::function<double()>;

    /// A loop on the given clock, by default the machine's monotonic one.
    static std::shared_ptr<RunLoop> create(Clock clock = {});
    /// A loop whose clock starts at 0 and is moved by advance() only.
    static std::shared_ptr<RunLoop> createForTest();
    /// The process's own loop; it is never destroyed.
    static RunLoop& main();
    /// The calling thread's innermost MakeCurrent; main() without one.
    static RunLoop& current();

    /// Makes a loop the calling thread's current one for a scope. Scopes nest.
    class MakeCurrent {
     public:
        explicit MakeCurrent(std::shared_ptr<RunLoop> loop);
        ~MakeCurrent();
        MakeCurrent(const MakeCurrent&) = delete;
        MakeCurrent& operator=(const MakeCurrent&) = delete;

     private:
        std::shared_ptr<RunLoop> loop_;
        RunLoop* before_;
    };

    ~RunLoop();
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;

    // Work

    /// Queues a block behind what is queued already. After end() the block is destroyed at once.
    void submit(Block block);

    using TimerID = std::uint64_t;
    /// Runs the block `interval` seconds from now and, if it repeats, on every multiple of it.
    /// Ticks that were missed run once, late; the next one is back on the grid. Times are kept in
    /// whole nanoseconds; an interval below 0.0001 s, or NaN, counts as 0.0001 s.
    TimerID schedule(double interval, bool repeats, Block block);
    void cancel(TimerID timer);
    static constexpr double kShortestInterval = 0.0001;

    /// Runs the block in each turn in which the descriptor is readable, closed by the other side or
    /// broken. One block a descriptor: a second call replaces it. False where the descriptor cannot
    /// be waited for (closed, a plain file). Remove it before closing it.
    bool addFileDescriptor(int descriptor, Block block);
    void removeFileDescriptor(int descriptor);

    using ObserverID = std::uint64_t;
    /// Runs the block at the end of every turn, before the loop waits or pump() returns: the place
    /// to lay out and draw what the turn has changed.
    ObserverID addBeforeWaiting(Block block);
    void removeBeforeWaiting(ObserverID observer);

    // Turning

    /// One turn: the blocks of readable descriptors, due timers by deadline, then the queue with
    /// what its blocks queue in turn (to a depth of kHops, so that blocks which queue themselves
    /// endlessly cannot block the thread), then the observers. True if any block but theirs ran.
    bool pump();
    static constexpr int kHops = 4;

    /// Waits until something is due, at most `longestWait` seconds, then takes one turn.
    bool runOnce(double longestWait);
    /// Turns until stop() or end().
    void run();
    /// Ends run() after the turn under way, or before its first.
    void stop();

    /// Releases every timer, block, descriptor and observer permanently. What is submitted later
    /// is dropped. A block that is running finishes. Destruction does the same.
    void end();
    bool hasEnded() const;

    // Waiting elsewhere

    /// Seconds on the loop's clock.
    double now() const;
    /// When the next turn is due on that clock: now() if work is queued, nothing while idle.
    std::optional<double> nextDeadline() const;
    /// Readable while work is queued or a descriptor of addFileDescriptor() has an event; timers do
    /// not show here. Belongs to the loop. -1 where the process has no descriptor left.
    /// Loops that are only pumped open none.
    int fileDescriptor();

    /// Moves a test's clock forward, stopping at every deadline on the way to take a turn there,
    /// and takes one at the end. From a block it only moves the clock, as a slow block would. Only
    /// on a loop from createForTest().
    void advance(double seconds);

 private:
    struct State;
    explicit RunLoop(Clock clock);
    void wait(double longest);

    std::unique_ptr<State> state_;
};

}  // namespace platform
