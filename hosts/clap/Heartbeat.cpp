#include "hosts/clap/Heartbeat.h"

#include <chrono>
#include <utility>

#include "hosts/clap/ClapHost.h"
#include "platform/dispatch/RunLoop.h"

namespace qov::hosts::clap {
namespace {

// The editor draws every 50 ms; a drag is to follow the mouse.
constexpr std::chrono::milliseconds period{20};

}  // namespace

Heartbeat::Heartbeat(const ClapHost& host, std::shared_ptr<platform::RunLoop> loop)
    : host_(host), loop_(std::move(loop)) {
    if (host_.descriptors) {
        const int descriptor = loop_->fileDescriptor();
        if (descriptor >= 0 && host_.descriptors->register_fd(host_.host, descriptor, abi::fdRead))
            descriptor_ = descriptor;
    }
    clap_id timer;
    if (host_.timers && host_.timers->register_timer(
                            host_.host, static_cast<std::uint32_t>(period.count()), &timer))
        timer_ = timer;
    else
        thread_ = std::thread([this] { askUntilEnd(); });
}

Heartbeat::~Heartbeat() {
    if (descriptor_ >= 0) host_.descriptors->unregister_fd(host_.host, descriptor_);
    if (timer_) host_.timers->unregister_timer(host_.host, *timer_);
    if (!thread_.joinable()) return;
    {
        const std::lock_guard lock(mutex_);
        isOver_ = true;
    }
    ended_.notify_one();
    thread_.join();
}

void Heartbeat::askUntilEnd() {
    std::unique_lock lock(mutex_);
    while (!ended_.wait_for(lock, period, [this] { return isOver_; }))
        host_.host->request_callback(host_.host);
}

}  // namespace qov::hosts::clap
