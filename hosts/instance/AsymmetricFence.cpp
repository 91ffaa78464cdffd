#include "hosts/instance/AsymmetricFence.h"

#if defined(__linux__)
#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace qov::hosts {

namespace {

#if defined(__linux__)
bool fenceProcess(int command) {
    return syscall(SYS_membarrier, command, 0, 0) == 0;
}
#else
enum { MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, MEMBARRIER_CMD_PRIVATE_EXPEDITED };
bool fenceProcess(int) {
    return false;
}
#endif

}  // namespace

AsymmetricFence::AsymmetricFence() {
    static const bool canBeShared = fenceProcess(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED);
    isShared_ = canBeShared;
}

void AsymmetricFence::heavy() const {
    std::atomic_thread_fence(std::memory_order_seq_cst);
    if (isShared_) fenceProcess(MEMBARRIER_CMD_PRIVATE_EXPEDITED);
}

}  // namespace qov::hosts
