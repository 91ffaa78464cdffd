#include "platform/dispatch/RunLoopWaiter.h"

namespace platform {

// A page must not wait: its host pumps the loop from the browser's own timers.
std::unique_ptr<RunLoopWaiter> RunLoopWaiter::make() {
    return nullptr;
}

}  // namespace platform
