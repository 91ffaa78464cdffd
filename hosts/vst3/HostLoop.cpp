#include "hosts/vst3/HostLoop.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <utility>

#include "hosts/instance/guarded.h"

namespace qov::hosts::vst3 {

namespace {

constexpr std::chrono::milliseconds interval(20);

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
    explicit OwnThread(std::function<void()> draw)
        : draw_(std::move(draw)), thread_([this] { run(); }) {}
    ~OwnThread() {
        {
            const std::lock_guard lock(mutex_);
            hasEnded_ = true;
        }
        ends_.notify_all();
        thread_.join();
    }
    OwnThread(const OwnThread&) = delete;
    OwnThread& operator=(const OwnThread&) = delete;

 private:
    void run() {
        std::unique_lock lock(mutex_);
        while (!hasEnded_) {
            lock.unlock();
            guarded(draw_);
            lock.lock();
            ends_.wait_for(lock, interval, [&] { return hasEnded_; });
        }
    }

    std::function<void()> draw_;
    std::mutex mutex_;
    std::condition_variable ends_;
    bool hasEnded_ = false;
    std::thread thread_;  // last: it uses the others
};

HostLoop::HostLoop(std::function<void()> tick, std::function<void()> draw)
    : tick_(std::move(tick)), draw_(std::move(draw)) {}

HostLoop::~HostLoop() {
    stop();
}

void HostLoop::start(Held<v3_run_loop> loop, int descriptor) {
    stop();
    if (loop) {
        auto* handler = new Handler(tick_);
        if (loop(&v3_run_loop::register_timer, handler->timer(), std::uint64_t{interval.count()}) ==
            V3_OK) {
            // Without it the timer alone has to do.
            if (descriptor >= 0)
                loop(&v3_run_loop::register_event_handler, handler->events(), descriptor);
            handler_ = handler;
            loop_ = std::move(loop);
            return;
        }
        handler->unref();
    }
    thread_ = std::make_unique<OwnThread>(draw_);
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
