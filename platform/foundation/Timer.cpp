#include "platform/foundation/Timer.h"

#include <utility>

#include "platform/dispatch/RunLoop.h"

namespace platform {

std::shared_ptr<Timer> Timer::scheduledTimer(double interval, bool repeats, Block block) {
    auto& loop = RunLoop::current();
    std::shared_ptr<Timer> timer(new Timer(repeats));
    timer->loop_ = loop.weak_from_this();
    timer->id_ = loop.schedule(interval, repeats, [timer, block = std::move(block)] {
        if (!timer->isValid()) return;
        if (block) block(*timer);
        if (!timer->repeats_) timer->invalidate();
    });
    return timer;
}

void Timer::invalidate() {
    if (!std::exchange(valid_, false)) return;
    if (const auto loop = loop_.lock()) loop->cancel(id_);
}

bool Timer::isValid() const {
    if (!valid_) return false;
    const auto loop = loop_.lock();
    return loop && !loop->hasEnded();
}

}  // namespace platform
