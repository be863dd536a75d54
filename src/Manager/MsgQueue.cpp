// The dispatcher's job queue and the running of its jobs.
#include "Manager/MsgQueue.h"

#include <exception>
#include <utility>

#include "Log.h"

MsgDispatcher::MsgQueue::MsgQueue(const std::string& name) : m_name(name) {}

bool MsgDispatcher::MsgQueue::Push(Job&& job) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_jobs.push_back(std::move(job));
    const bool wake = m_bConsumerWaiting;
    m_bConsumerWaiting = false;
    return wake;
}

void MsgDispatcher::MsgQueue::Pop() {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_jobs.empty()) {
        m_jobs.pop_front();
    }
}

MsgDispatcher::MsgQueue::Job MsgDispatcher::MsgQueue::Front() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_jobs.empty() ? Job() : m_jobs.front();
}

size_t MsgDispatcher::MsgQueue::Size() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_jobs.size();
}

bool MsgDispatcher::MsgQueue::IsEmpty() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_jobs.empty() && m_batchLeft == 0;
}

void MsgDispatcher::MsgQueue::Clear() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_jobs.clear();
    m_bDropBatch = true;
}

void MsgDispatcher::MsgQueue::WaitLocked(std::unique_lock<std::mutex>& lock,
                                         ipc_sync::Wakeup& wakeup,
                                         std::chrono::steady_clock::time_point deadline) {
    m_bConsumerWaiting = true;
    lock.unlock();
    wakeup.waitUntil(deadline);
    lock.lock();
    m_bConsumerWaiting = false;
}

void MsgDispatcher::MsgQueue::RunQueuedJobs(std::unique_lock<std::mutex>& lock,
                                            const std::atomic<bool>& running) {
    // The batch is empty here, so the swap leaves m_jobs empty with the batch's spare storage.
    m_batch.swap(m_jobs);
    m_batchLeft = m_batch.size();
    // A Clear() before this point has already emptied what was taken.
    m_bDropBatch = false;
    lock.unlock();
    while (!m_batch.empty() && running && !m_bDropBatch) {
        m_currentJob = std::move(m_batch.front());
        m_batch.pop_front();
        --m_batchLeft;
        _runCurrentJob();
    }
    // Jobs dropped by Quit() or Clear() go without the lock held, like finished ones.
    m_batch.clear();
    m_batchLeft = 0;
    lock.lock();
}

void MsgDispatcher::MsgQueue::_runCurrentJob() {
    try {
        m_currentJob();
    } catch (const std::exception& e) {
        LOGE("exception from job : %s", e.what());
    } catch (...) {
        LOGE("[%s] unknown exception from job", m_name.c_str());
    }
    // The job's captures go away before the next job starts.
    m_currentJob = nullptr;
}
