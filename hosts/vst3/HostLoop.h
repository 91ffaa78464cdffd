#pragma once

#include <travesty/view.h>

#include <functional>
#include <memory>

#include "hosts/vst3/Interface.h"

namespace qov::hosts::vst3 {

/// Ticks on the host's run loop: fifty times a second, and when a descriptor is readable. Where the
/// host has none, on a thread of its own. Main thread.
class HostLoop {
 public:
    explicit HostLoop(std::function<void()> tick);
    ~HostLoop();
    HostLoop(const HostLoop&) = delete;
    HostLoop& operator=(const HostLoop&) = delete;

    /// On `loop`, or on a thread if that is empty. Replaces what was there.
    void start(Held<v3_run_loop> loop, int descriptor);
    /// No tick comes after this, nor is one under way, unless it is the caller. Not with the
    /// editorMutex held.
    void stop();
    bool isRunning() const { return handler_ || thread_; }

 private:
    class Handler;
    class OwnThread;

    std::function<void()> tick_;
    Held<v3_run_loop> loop_;
    Handler* handler_ = nullptr;
    std::unique_ptr<OwnThread> thread_;
};

}  // namespace qov::hosts::vst3
