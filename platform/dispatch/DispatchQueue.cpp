#include "platform/dispatch/DispatchQueue.h"

#include <utility>

#include "platform/dispatch/RunLoop.h"

namespace platform {

DispatchQueue DispatchQueue::main() {
    return DispatchQueue(RunLoop::current().weak_from_this());
}

void DispatchQueue::async(std::function<void()> block) const {
    if (const auto loop = loop_.lock()) loop->submit(std::move(block));
}

}  // namespace platform
