// The thread that enforces answer deadlines and notices peers that hang up while waiting.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace ipsvr {

// Runs a sweep on its own thread whenever the previous sweep asked to be run again, or when
// woken. Thread-safe: start() and stop() from one owner thread, wake() from any thread.
class Watchdog {
public:
    using Clock = std::chrono::steady_clock;
    // Does the work and returns when to run again; nothing means "only when woken".
    using Sweep = std::function<std::optional<Clock::time_point>(Clock::time_point now)>;

    explicit Watchdog(Sweep sweep);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    void start();
    void stop();
    void wake();

private:
    void _run();

    const Sweep m_sweep;
    std::mutex m_mutex;  // protects m_stopping and m_woken
    std::condition_variable m_changed;
    bool m_stopping = false;
    bool m_woken = false;
    std::thread m_thread;
};

}  // namespace ipsvr
