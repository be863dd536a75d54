// The dispatcher's job queue and the running of one job.
#include "Manager/MsgQueue.h"

#include <exception>
#include <utility>

#include "Log.h"

MsgDispatcher::MsgQueue::MsgQueue(const std::string& name) : m_name(name) {}

void MsgDispatcher::MsgQueue::Push(const Job& job) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_jobs.push_back(job);
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
    return m_jobs.empty();
}

void MsgDispatcher::MsgQueue::Clear() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_jobs.clear();
}

void MsgDispatcher::MsgQueue::RunFirstJob(std::unique_lock<std::mutex>& lock) {
    m_currentJob = std::move(m_jobs.front());
    m_jobs.pop_front();
    lock.unlock();
    try {
        m_currentJob();
    } catch (const std::exception& e) {
        LOGE("exception from job : %s", e.what());
    } catch (...) {
        LOGE("[%s] unknown exception from job", m_name.c_str());
    }
    // The job's captures go away before the lock is taken again.
    m_currentJob = nullptr;
    lock.lock();
}
