// The lock of the log ring: a mutex that costs one atomic instruction when nobody else holds it.
#pragma once

#include <atomic>

namespace ipc_platform {

// A mutex for critical sections of a few dozen instructions, taken for every line logged: taking
// and releasing it while nobody else holds it is one atomic instruction each (std::mutex costs
// some fifty more per line); a thread that finds it held sleeps in the kernel until it is
// released. Usable with std::lock_guard, std::unique_lock and std::condition_variable_any.
//
// Thread-safe.
class RingLock {
public:
    void lock() {
        int expected = kFree;
        if (!m_state.compare_exchange_strong(expected, kHeld, std::memory_order_acquire,
                                             std::memory_order_relaxed)) {
            _lockContended();
        }
    }
    bool try_lock() {
        int expected = kFree;
        return m_state.compare_exchange_strong(expected, kHeld, std::memory_order_acquire,
                                               std::memory_order_relaxed);
    }
    void unlock() {
        if (m_state.exchange(kFree, std::memory_order_release) == kHeldWithWaiters) {
            _wakeOne();
        }
    }

private:
    enum : int { kFree = 0, kHeld = 1, kHeldWithWaiters = 2 };

    void _lockContended();
    void _wakeOne();

    std::atomic<int> m_state{kFree};  // also the word the waiters sleep on
};

}  // namespace ipc_platform
