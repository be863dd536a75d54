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
    }
    m_wake.notify_all();
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
    if (std::this_thread::get_id() != m_thread.get_id()) {
        m_idle.wait(lock, [&] { return m_running != owner; });
    }
}

bool CallbackThread::post(Owner owner, std::chrono::milliseconds delay,
                          std::function<void()> work) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopping || m_open.count(owner) == 0) {
            return false;
        }
        const Key key{Clock::now() + delay, m_nextSequence++};
        m_queue.emplace(key, Item{owner, std::move(work)});
    }
    m_wake.notify_one();
    return true;
}

bool CallbackThread::runAs(Owner owner, const std::function<void()>& work) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_open.count(owner) == 0) {
        return false;
    }
    const Owner outer = m_running;
    _runLocked(lock, owner, work);
    m_running = outer;
    return true;
}

bool CallbackThread::isCallbackThread() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return std::this_thread::get_id() == m_thread.get_id();
}

void CallbackThread::_runLocked(std::unique_lock<std::mutex>& lock, Owner owner,
                                const std::function<void()>& work) {
    m_running = owner;
    lock.unlock();
    try {
        work();
    } catch (const std::exception& error) {
        dlog_print(DLOG_ERROR, kLogTag, "callback thread: work failed: %s", error.what());
    } catch (...) {
        dlog_print(DLOG_ERROR, kLogTag, "callback thread: work failed");
    }
    lock.lock();
    m_running = kNobody;
    m_idle.notify_all();
}

void CallbackThread::_loop() {
    pthread_setname_np(pthread_self(), "dynf-callbacks");
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
        if (m_queue.empty()) {
            m_wake.wait(lock);
            continue;
        }
        const auto first = m_queue.begin();
        // A copy: the item may be dropped while the thread waits.
        const Clock::time_point due = first->first.first;
        if (due > Clock::now()) {
            m_wake.wait_until(lock, due);
            continue;
        }
        Item item = std::move(first->second);
        m_queue.erase(first);
        _runLocked(lock, item.owner, item.work);
    }
}

}  // namespace ipc_tv
