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
        m_woken = false;
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

void Watchdog::wake() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_woken = true;
    }
    m_changed.notify_all();
}

void Watchdog::_run() {
    pthread_setname_np(pthread_self(), "ipsvr-watchdog");
    for (;;) {
        std::optional<Clock::time_point> next = m_sweep(Clock::now());
        std::unique_lock<std::mutex> lock(m_mutex);
        auto woken = [this] { return m_stopping || m_woken; };
        if (next) {
            m_changed.wait_until(lock, *next, woken);
        } else {
            m_changed.wait(lock, woken);
        }
        if (m_stopping) {
            return;
        }
        m_woken = false;
    }
}

}  // namespace ipsvr
