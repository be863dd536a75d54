// The framework's callback thread: one thread that runs queued work in time order.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "Wakeup.h"

namespace ipc_tv {

// Runs work one item at a time, by due time and then in the order it was posted (FIFO for
// equal times). Every item belongs to an owner: the service itself, or one protocol handle.
// Closing an owner drops its pending items and waits for its running one, so that no callback
// of a closed handle starts afterwards. Thread-safe; start() and stop() from the owner thread.
//
// The thread takes every item that is due in one go and runs them outside the lock; a post
// wakes it only when it sleeps past the new item's due time.
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
    // Moves the items due by now from m_queue to batch. Caller holds m_mutex.
    void _takeDueLocked(std::vector<Item>& batch);
    // Runs the batch in order, without m_mutex; an item whose owner was closed or stopped since
    // the batch was taken is dropped.
    void _runBatch(std::vector<Item>& batch, uint64_t takenAt);
    // False when owner was closed, or the thread stopped, after the batch was taken.
    bool _stillWanted(Owner owner);
    // Runs work with m_running set to owner, and back to previous afterwards.
    void _runAs(Owner owner, Owner previous, const std::function<void()>& work);
    // Wakes close() calls waiting for the running item, if any wait.
    void _wakeClosers();

    // Protects m_queue, m_open, m_closedSinceTake, m_nextSequence, m_stopping and
    // m_sleepingUntil; close() waits on m_idle under it.
    mutable std::mutex m_mutex;
    ipc_sync::Wakeup m_wakeup;       // new work or stop, for the thread while it sleeps
    std::condition_variable m_idle;  // an item finished, for close()
    std::map<Key, Item> m_queue;
    std::set<Owner> m_open;
    // Owners closed since the thread took its current batch.
    std::set<Owner> m_closedSinceTake;
    uint64_t m_nextSequence = 0;
    bool m_stopping = true;
    // While the thread sleeps: when it wakes up by itself (time_point::max() for never).
    // Cleared by the post that wakes it, so that one wake-up is sent.
    std::optional<Clock::time_point> m_sleepingUntil;
    // The owner whose item runs, or kNobody. Written by the thread without m_mutex; close()
    // reads it under m_mutex after counting itself in m_closersWaiting.
    std::atomic<Owner> m_running{kNobody};
    // Bumped by close() and stop(); the thread takes m_mutex during a batch only when it moved.
    std::atomic<uint64_t> m_cancelGeneration{0};
    std::atomic<int> m_closersWaiting{0};  // close() calls waiting on m_idle
    std::thread m_thread;
};

}  // namespace ipc_tv
