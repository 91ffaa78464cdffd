#pragma once

#include <travesty/view.h>

#include <functional>

#include "hosts/vst3/Interface.h"

namespace qov::hosts::vst3 {

/// Calls a function on the host's run loop: every EmbeddedEditor::tick and when a descriptor is
/// readable. The host may refer to it for longer than it is registered. Main thread.
class HostLoop final : public Unknown {
 public:
    /// Registered, with one reference. Null if the loop is empty or refuses.
    static HostLoop* start(const Held<v3_run_loop>& loop, int descriptor,
                           std::function<void()> tick);
    /// Unregisters and releases it; the function is not called after this.
    void stop();

 private:
    HostLoop(const Held<v3_run_loop>& loop, std::function<void()> tick)
        : loop_(loop), tick_(std::move(tick)) {}

    void* find(const std::uint8_t* id) noexcept override;
    void onTimer();
    void onDescriptor(int) { onTimer(); }

    static const v3_event_handler_cpp eventTable;
    static const v3_timer_handler_cpp timerTable;

    Face events_{&eventTable, this, this};
    Face timer_{&timerTable, this, this};
    Held<v3_run_loop> loop_;
    std::function<void()> tick_;
};

}  // namespace qov::hosts::vst3
