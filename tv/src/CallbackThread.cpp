// The framework's callback thread: a time-ordered queue of work with per-owner cancellation.
#include "CallbackThread.h"

#include <pthread.h>

#include <exception>

#include "TvLog.h"

namespace ipc_tv {

CallbackThread::~CallbackThread() {
    stop();
}

void CallbackThread::start() {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_thread.joinable()) {
        return;
    }
    m_stopping = false;
    m_open.insert(kService);
    m_thread = std::thread([this] { _loop(); });
}

void CallbackThread::stop() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        m_queue.clear();
        m_open.clear();
        ++m_cancelGeneration;
    }
    m_wakeup.post();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void CallbackThread::open(Owner owner) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_stopping) {
        m_open.insert(owner);
    }
}

void CallbackThread::close(Owner owner) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_open.erase(owner);
    for (auto it = m_queue.begin(); it != m_queue.end();) {
        it = it->second.owner == owner ? m_queue.erase(it) : std::next(it);
    }
    // The batch being run may hold items of owner: the thread looks here before each one.
    m_closedSinceTake.insert(owner);
    ++m_cancelGeneration;
    if (std::this_thread::get_id() == m_thread.get_id()) {
        return;
    }
    // Counted before m_running is read, and the thread sets m_running before it reads the
    // generation: so either the thread sees this close and drops the item, or this call sees
    // the item running and waits; and the thread sees the waiter when the item ends.
    ++m_closersWaiting;
    m_idle.wait(lock, [&] { return m_running != owner; });
    --m_closersWaiting;
}

bool CallbackThread::post(Owner owner, std::chrono::milliseconds delay,
                          std::function<void()> work) {
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopping || m_open.count(owner) == 0) {
            return false;
        }
        const Key key{Clock::now() + delay, m_nextSequence++};
        m_queue.emplace(key, Item{owner, std::move(work)});
        if (m_sleepingUntil && key.first < *m_sleepingUntil) {
            m_sleepingUntil.reset();
            wake = true;
        }
    }
    if (wake) {
        m_wakeup.post();
    }
    return true;
}

bool CallbackThread::runAs(Owner owner, const std::function<void()>& work) {
    Owner previous = kNobody;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_open.count(owner) == 0) {
            return false;
        }
        // Set under the lock that close() holds while it looks at it.
        previous = m_running.exchange(owner);
    }
    _runAs(owner, previous, work);
    return true;
}

bool CallbackThread::isCallbackThread() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return std::this_thread::get_id() == m_thread.get_id();
}

void CallbackThread::_runAs(Owner owner, Owner previous, const std::function<void()>& work) {
    m_running = owner;
    try {
        work();
    } catch (const std::exception& error) {
        dlog_print(DLOG_ERROR, kLogTag, "callback thread: work failed: %s", error.what());
    } catch (...) {
        dlog_print(DLOG_ERROR, kLogTag, "callback thread: work failed");
    }
    m_running = previous;
    _wakeClosers();
}

void CallbackThread::_wakeClosers() {
    if (m_closersWaiting == 0) {
        return;
    }
    // Taken so that a closer between its check and its wait cannot miss the notification.
    { std::lock_guard<std::mutex> lock(m_mutex); }
    m_idle.notify_all();
}

void CallbackThread::_takeDueLocked(std::vector<Item>& batch) {
    const auto end = m_queue.upper_bound(Key{Clock::now(), UINT64_MAX});
    for (auto it = m_queue.begin(); it != end; it = m_queue.erase(it)) {
        batch.push_back(std::move(it->second));
    }
    m_closedSinceTake.clear();
}

bool CallbackThread::_stillWanted(Owner owner) {
    std::lock_guard<std::mutex> lock(m_mutex);
    return !m_stopping && m_closedSinceTake.count(owner) == 0;
}

void CallbackThread::_runBatch(std::vector<Item>& batch, uint64_t takenAt) {
    for (Item& item : batch) {
        m_running = item.owner;
        if (m_cancelGeneration != takenAt && !_stillWanted(item.owner)) {
            m_running = kNobody;
            _wakeClosers();
            continue;
        }
        _runAs(item.owner, kNobody, item.work);
    }
    // The works (and what they hold) go without the lock held.
    batch.clear();
}

void CallbackThread::_loop() {
    pthread_setname_np(pthread_self(), "dynf-callbacks");
    std::vector<Item> batch;
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
        if (m_queue.empty()) {
            m_sleepingUntil = Clock::time_point::max();
            lock.unlock();
            m_wakeup.wait();
            lock.lock();
            m_sleepingUntil.reset();
            continue;
        }
        // A copy: the item may be dropped while the thread waits.
        const Clock::time_point due = m_queue.begin()->first.first;
        if (due > Clock::now()) {
            m_sleepingUntil = due;
            lock.unlock();
            m_wakeup.waitUntil(due);
            lock.lock();
            m_sleepingUntil.reset();
            continue;
        }
        _takeDueLocked(batch);
        const uint64_t takenAt = m_cancelGeneration;
        lock.unlock();
        _runBatch(batch, takenAt);
        lock.lock();
    }
}

}  // namespace ipc_tv
