#pragma once

#include <travesty/view.h>

#include <functional>

#include "hosts/vst3/Interface.h"

namespace qov::hosts::vst3 {

/// Calls a function on the host's run loop: every EmbeddedEditor::tick and when a descriptor is
/// readable. Main thread.
class HostLoop {
 public:
    explicit HostLoop(std::function<void()> tick);
    ~HostLoop();
    HostLoop(const HostLoop&) = delete;
    HostLoop& operator=(const HostLoop&) = delete;

    /// Replaces what was registered. False, and not running, if the loop is empty or refuses.
    bool start(Held<v3_run_loop> loop, int descriptor);
    /// The function is not called after this.
    void stop();
    bool isRunning() const { return handler_ != nullptr; }

 private:
    class Handler;

    std::function<void()> tick_;
    Held<v3_run_loop> loop_;
    Handler* handler_ = nullptr;
};

}  // namespace qov::hosts::vst3
