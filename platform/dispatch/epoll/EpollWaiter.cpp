// The run loop's waiting on Linux: one epoll of an eventfd and all descriptors.

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>

#include "platform/dispatch/RunLoopWaiter.h"

namespace platform {
namespace {

class EpollWaiter final : public RunLoopWaiter {
 public:
    EpollWaiter() = default;
    ~EpollWaiter() override {
        if (events_ >= 0) close(events_);
        if (poller_ >= 0) close(poller_);
    }

    bool open() {
        events_ = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
        poller_ = epoll_create1(EPOLL_CLOEXEC);
        return events_ >= 0 && poller_ >= 0 && add(events_);
    }

    void signal() override {
        if (signalled_) return;
        const std::uint64_t one = 1;
        signalled_ = write(events_, &one, sizeof one) == sizeof one;
    }
    void clearSignal() override {
        if (!signalled_) return;
        std::uint64_t count = 0;
        signalled_ = read(events_, &count, sizeof count) != sizeof count;
    }

    bool add(int descriptor) override {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = descriptor;
        return epoll_ctl(poller_, EPOLL_CTL_ADD, descriptor, &event) == 0 || errno == EEXIST;
    }
    void remove(int descriptor) override { epoll_ctl(poller_, EPOLL_CTL_DEL, descriptor, nullptr); }

    std::size_t ready(std::span<int> descriptors) override {
        std::array<epoll_event, 16> events;
        const auto most = static_cast<int>(std::min(events.size(), descriptors.size()));
        const int count = epoll_wait(poller_, events.data(), most, 0);
        std::size_t stored = 0;
        for (int i = 0; i < count; ++i)
            if (events[i].data.fd != events_) descriptors[stored++] = events[i].data.fd;
        return stored;
    }
    void wait(std::int64_t longest) override {
        const timespec timeout{longest / 1'000'000'000, longest % 1'000'000'000};
        pollfd waited{poller_, POLLIN, 0};
        ppoll(&waited, 1, &timeout, nullptr);
    }

    int fileDescriptor() const override { return poller_; }

 private:
    int poller_ = -1;  // epoll
    int events_ = -1;  // eventfd, readable while signalled
    bool signalled_ = false;
};

}  // namespace

std::unique_ptr<RunLoopWaiter> RunLoopWaiter::make() {
    auto waiter = std::make_unique<EpollWaiter>();
    if (!waiter->open()) return nullptr;
    return waiter;
}

}  // namespace platform
