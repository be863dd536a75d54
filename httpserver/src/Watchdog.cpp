// The thread that enforces answer deadlines and notices peers that hang up while waiting.
#include "Watchdog.h"

#include <pthread.h>

namespace ipsvr {

Watchdog::Watchdog(Sweep sweep) : m_sweep(std::move(sweep)) {}

Watchdog::~Watchdog() {
    stop();
}

void Watchdog::start() {
    if (m_thread.joinable()) {
        return;
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = false;
        m_due = Clock::now();
    }
    m_thread = std::thread([this] { _run(); });
}

void Watchdog::stop() {
    if (!m_thread.joinable()) {
        return;
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void Watchdog::sweepBy(Clock::time_point due) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_due && *m_due <= due) {
            return;
        }
        m_due = due;
    }
    m_changed.notify_all();
}

void Watchdog::_run() {
    pthread_setname_np(pthread_self(), "ipsvr-watchdog");
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        if (m_stopping) {
            return;
        }
        if (!m_due) {
            m_changed.wait(lock);
            continue;
        }
        const Clock::time_point now = Clock::now();
        if (now < *m_due) {
            m_changed.wait_until(lock, *m_due);
            continue;
        }
        // Whatever was asked for until now is in the table before this sweep looks at it.
        m_due.reset();
        lock.unlock();
        const std::optional<Clock::time_point> next = m_sweep(now);
        lock.lock();
        if (next && (!m_due || *next < *m_due)) {
            m_due = next;
        }
    }
}

}  // namespace ipsvr
