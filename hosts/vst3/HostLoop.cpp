#include "hosts/vst3/HostLoop.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <utility>

namespace qov::hosts::vst3 {

namespace {

constexpr std::chrono::milliseconds kInterval(20);

}  // namespace

/// What the run loop calls. It may hold on to it for longer than it is registered.
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

class HostLoop::OwnThread {
 public:
    explicit OwnThread(const std::function<void()>& tick)
        : thread_([tick, state = state_] {
              std::unique_lock lock(state->mutex);
              while (!state->hasEnded) {
                  lock.unlock();
                  tick();
                  lock.lock();
                  state->ends.wait_for(lock, kInterval, [&] { return state->hasEnded; });
              }
          }) {}
    ~OwnThread() {
        {
            const std::lock_guard lock(state_->mutex);
            state_->hasEnded = true;
        }
        state_->ends.notify_all();
        if (thread_.get_id() == std::this_thread::get_id())
            thread_.detach();  // ended by the host from a call of ours
        else
            thread_.join();
    }
    OwnThread(const OwnThread&) = delete;
    OwnThread& operator=(const OwnThread&) = delete;

 private:
    struct State {
        std::mutex mutex;
        std::condition_variable ends;
        bool hasEnded = false;
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
    std::thread thread_;
};

HostLoop::HostLoop(std::function<void()> tick) : tick_(std::move(tick)) {}

HostLoop::~HostLoop() {
    stop();
}

void HostLoop::start(Held<v3_run_loop> loop, int descriptor) {
    stop();
    if (loop) {
        auto* handler = new Handler(tick_);
        if (loop(&v3_run_loop::register_timer, handler->timer(),
                 std::uint64_t{kInterval.count()}) == V3_OK) {
            // Without it the timer alone has to do.
            if (descriptor >= 0)
                loop(&v3_run_loop::register_event_handler, handler->events(), descriptor);
            handler_ = handler;
            loop_ = std::move(loop);
            return;
        }
        handler->unref();
    }
    thread_ = std::make_unique<OwnThread>(tick_);
}

void HostLoop::stop() {
    thread_.reset();
    if (!handler_) return;
    auto* handler = std::exchange(handler_, nullptr);
    const auto loop = std::exchange(loop_, {});
    handler->end();
    loop(&v3_run_loop::unregister_event_handler, handler->events());
    loop(&v3_run_loop::unregister_timer, handler->timer());
    handler->unref();
}

}  // namespace qov::hosts::vst3
