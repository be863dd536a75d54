// A wake-up call from one thread to another that sleeps until it comes.
#pragma once

#include <errno.h>
#include <semaphore.h>
#include <time.h>

#include <chrono>

namespace ipc_sync {

// One thread sleeps in wait() or waitUntil(); others post() to wake it. Meant for a queue whose
// consumer sleeps when it finds the queue empty: the queue keeps its own mutex for the jobs and
// a flag saying the consumer sleeps, and the producer that clears the flag posts. Unlike a
// condition variable, waking takes no mutex: a thread woken from std::condition_variable gets its
// mutex back marked as contended, so that its next unlock makes a futex call even when nobody
// waits, one more system call on every hand-off of a request. A post that finds the consumer
// awake (it timed out meanwhile) makes its next wait return at once; the consumer looks at its
// queue again, as after any wake-up.
// Thread-safe.
class Wakeup {
public:
    Wakeup() { sem_init(&m_semaphore, 0, 0); }
    ~Wakeup() { sem_destroy(&m_semaphore); }
    Wakeup(const Wakeup&) = delete;
    Wakeup& operator=(const Wakeup&) = delete;

    void post() { sem_post(&m_semaphore); }

    void wait() {
        while (sem_wait(&m_semaphore) != 0 && errno == EINTR) {
        }
    }

    // Returns when posted or at deadline.
    void waitUntil(std::chrono::steady_clock::time_point deadline) {
        // steady_clock is CLOCK_MONOTONIC.
        const auto since = deadline.time_since_epoch();
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
        timespec at{};
        at.tv_sec = static_cast<time_t>(seconds.count());
        at.tv_nsec = static_cast<long>(
            std::chrono::duration_cast<std::chrono::nanoseconds>(since - seconds).count());
        while (sem_clockwait(&m_semaphore, CLOCK_MONOTONIC, &at) != 0 && errno == EINTR) {
        }
    }

private:
    sem_t m_semaphore;
};

}  // namespace ipc_sync
