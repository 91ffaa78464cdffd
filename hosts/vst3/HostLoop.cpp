#include "hosts/vst3/HostLoop.h"

#include <cstdint>
#include <utility>

#include "hosts/window/EmbeddedEditor.h"

namespace qov::hosts::vst3 {

/// What the run loop calls. The host may hold a reference for longer than it is registered.
class HostLoop::Handler final : public Unknown {
 public:
    explicit Handler(std::function<void()> tick) : tick_(std::move(tick)) {}

    v3_event_handler** events() { return reinterpret_cast<v3_event_handler**>(&events_); }
    v3_timer_handler** timer() { return reinterpret_cast<v3_timer_handler**>(&timer_); }
    void end() { tick_ = {}; }

 private:
    void* find(const std::uint8_t* id) noexcept override {
        if (v3_tuid_match(id, v3_funknown_iid) || v3_tuid_match(id, v3_event_handler_iid))
            return &events_;
        return v3_tuid_match(id, v3_timer_handler_iid) ? &timer_ : nullptr;
    }
    void onDescriptor(int) { onTimer(); }
    void onTimer() {
        const auto tick = tick_;  // which may end it
        if (tick) tick();
    }

    static constexpr v3_event_handler_cpp eventTable{unknownEntries,
                                                     {entry<&Handler::onDescriptor>}};
    static constexpr v3_timer_handler_cpp timerTable{unknownEntries, {entry<&Handler::onTimer>}};

    std::function<void()> tick_;
    Face events_{&eventTable, this, this};
    Face timer_{&timerTable, this, this};
};

HostLoop::HostLoop(std::function<void()> tick) : tick_(std::move(tick)) {}

HostLoop::~HostLoop() {
    stop();
}

bool HostLoop::start(Held<v3_run_loop> loop, int descriptor) {
    stop();
    if (!loop) return false;
    auto* handler = new Handler(tick_);
    if (loop(&v3_run_loop::register_timer, handler->timer(),
             std::uint64_t{EmbeddedEditor::tick.count()}) != V3_OK) {
        handler->unref();
        return false;
    }
    // Without it the timer alone has to do.
    if (descriptor >= 0) loop(&v3_run_loop::register_event_handler, handler->events(), descriptor);
    handler_ = handler;
    loop_ = std::move(loop);
    return true;
}

void HostLoop::stop() {
    if (!handler_) return;
    auto* handler = std::exchange(handler_, nullptr);
    const auto loop = std::exchange(loop_, {});
    handler->end();
    loop(&v3_run_loop::unregister_event_handler, handler->events());
    loop(&v3_run_loop::unregister_timer, handler->timer());
    handler->unref();
}

}  // namespace qov::hosts::vst3
