#include "hosts/vst3/HostLoop.h"

#include <cstdint>
#include <utility>

#include "hosts/window/EmbeddedEditor.h"

namespace qov::hosts::vst3 {

constexpr v3_event_handler_cpp HostLoop::eventTable{unknownEntries,
                                                    {entry<&HostLoop::onDescriptor>}};
constexpr v3_timer_handler_cpp HostLoop::timerTable{unknownEntries, {entry<&HostLoop::onTimer>}};

void* HostLoop::find(const std::uint8_t* id) noexcept {
    if (v3_tuid_match(id, v3_funknown_iid) || v3_tuid_match(id, v3_event_handler_iid))
        return &events_;
    return v3_tuid_match(id, v3_timer_handler_iid) ? &timer_ : nullptr;
}

HostLoop* HostLoop::start(const Held<v3_run_loop>& loop, int descriptor,
                          std::function<void()> tick) {
    if (!loop) return nullptr;
    auto* started = new HostLoop(loop, std::move(tick));
    if (loop(&v3_run_loop::register_timer, as<v3_timer_handler>(started->timer_),
             std::uint64_t{EmbeddedEditor::tick.count()}) != V3_OK) {
        started->unref();
        return nullptr;
    }
    // Without the descriptor the timer alone is enough.
    if (descriptor >= 0)
        loop(&v3_run_loop::register_event_handler, as<v3_event_handler>(started->events_),
             descriptor);
    return started;
}

void HostLoop::stop() {
    tick_ = {};
    const auto loop = std::exchange(loop_, {});
    loop(&v3_run_loop::unregister_event_handler, as<v3_event_handler>(events_));
    loop(&v3_run_loop::unregister_timer, as<v3_timer_handler>(timer_));
    unref();
}

void HostLoop::onTimer() {
    const auto tick = tick_;  // a call may stop it
    if (tick) tick();
}

}  // namespace qov::hosts::vst3
