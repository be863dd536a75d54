// The lock of the log ring: the paths where a thread has to sleep until the lock is free.
#include "RingLock.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace ipc_platform {

static_assert(sizeof(std::atomic<int>) == sizeof(int) && std::atomic<int>::is_always_lock_free,
              "the kernel sleeps on the atomic's own int");

void RingLock::_lockContended() {
    // Once a thread waits, the lock counts as having waiters until it is taken when free: the
    // thread that releases it then wakes one, which marks it so again.
    while (m_state.exchange(kHeldWithWaiters, std::memory_order_acquire) != kFree) {
        syscall(SYS_futex, reinterpret_cast<int*>(&m_state), FUTEX_WAIT_PRIVATE, kHeldWithWaiters,
                nullptr, nullptr, 0);
    }
}

void RingLock::_wakeOne() {
    syscall(SYS_futex, reinterpret_cast<int*>(&m_state), FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr,
            0);
}

}  // namespace ipc_platform
