// The framework's callback thread: one thread that runs queued work in time order.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

namespace ipc_tv {

// Runs work one item at a time, by due time and then in the order it was posted (FIFO for
// equal times). Every item belongs to an owner: the service itself, or one protocol handle.
// Closing an owner drops its pending items and waits for its running one, so that no callback
// of a closed handle starts afterwards. Thread-safe; start() and stop() from the owner thread.
class CallbackThread {
public:
    using Owner = uint64_t;
    using Clock = std::chrono::steady_clock;
    static constexpr Owner kService = 0;  // always open while the thread runs

    CallbackThread() = default;
    ~CallbackThread();
    CallbackThread(const CallbackThread&) = delete;
    CallbackThread& operator=(const CallbackThread&) = delete;

    void start();
    // Drops everything pending and joins the thread. Not from the callback thread.
    void stop();

    void open(Owner owner);
    // Drops the owner's pending items; then, unless called on the callback thread itself (from
    // a callback), waits until none of its items runs.
    void close(Owner owner);

    // Queues work to run after delay. False (and the work is dropped) when the owner is not
    // open or the thread does not run.
    bool post(Owner owner, std::chrono::milliseconds delay, std::function<void()> work);
    // Callback thread only: runs work now as an item of owner; false when the owner is closed.
    bool runAs(Owner owner, const std::function<void()>& work);
    bool isCallbackThread() const;

private:
    using Key = std::pair<Clock::time_point, uint64_t>;  // due time, then posting order
    struct Item {
        Owner owner;
        std::function<void()> work;
    };
    static constexpr Owner kNobody = UINT64_MAX;

    void _loop();
    // Runs work as owner's with m_running set; takes lock unlocked around the work.
    void _runLocked(std::unique_lock<std::mutex>& lock, Owner owner,
                    const std::function<void()>& work);

    // Protects m_queue, m_open, m_running, m_nextSequence and m_stopping.
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;  // new work or stop, for the thread
    std::condition_variable m_idle;  // an item finished, for close()
    std::map<Key, Item> m_queue;
    std::set<Owner> m_open;
    Owner m_running = kNobody;
    uint64_t m_nextSequence = 0;
    bool m_stopping = true;
    std::thread m_thread;
};

}  // namespace ipc_tv
