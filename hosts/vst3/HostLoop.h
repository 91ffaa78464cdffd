#pragma once

#include <travesty/view.h>

#include <functional>
#include <memory>

#include "hosts/vst3/Interface.h"

namespace qov::hosts::vst3 {

/// Ticks on the host's run loop: fifty times a second, and when a descriptor is readable. Where the
/// host has none, a thread of its own draws, and must not call the host. Main thread.
class HostLoop {
 public:
    HostLoop(std::function<void()> tick, std::function<void()> draw);
    ~HostLoop();
    HostLoop(const HostLoop&) = delete;
    HostLoop& operator=(const HostLoop&) = delete;

    /// On `loop`, or on a thread if that is empty. Replaces what was there.
    void start(Held<v3_run_loop> loop, int descriptor);
    /// Neither is called after this, nor is a call under way, unless it is the caller. Not with the
    /// editorMutex held.
    void stop();
    bool isRunning() const { return ticks() || thread_; }
    /// On the host's run loop.
    bool ticks() const { return handler_ != nullptr; }

 private:
    class Handler;
    class OwnThread;

    std::function<void()> tick_, draw_;
    Held<v3_run_loop> loop_;
    Handler* handler_ = nullptr;
    std::unique_ptr<OwnThread> thread_;
};

}  // namespace qov::hosts::vst3
