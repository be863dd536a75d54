// The thread that enforces answer deadlines and notices peers that hang up while waiting.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace ipsvr {

// Runs a sweep on its own thread at the time the previous sweep asked for, or earlier when
// someone needs one sooner. Thread-safe: start() and stop() from one owner thread, sweepBy()
// from any thread.
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
    // Makes sure a sweep starts no later than due. The thread is woken only when due is earlier
    // than the sweep already planned, so callers may ask on every request at the cost of a lock.
    void sweepBy(Clock::time_point due);

private:
    void _run();

    const Sweep m_sweep;
    std::mutex m_mutex;  // protects m_stopping and m_due
    std::condition_variable m_changed;
    bool m_stopping = false;
    // When the next sweep starts; nothing while none is needed. Cleared as a sweep starts, so a
    // request made during the sweep is kept for the next one.
    std::optional<Clock::time_point> m_due;
    std::thread m_thread;
};

}  // namespace ipsvr
