// The job queue of a message dispatcher.
#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <string>

#include "Manager/MsgDispatcher.h"

// A deque of jobs under one mutex, which the dispatcher's condition variable also waits on.
// Thread-safe; RunFirstJob() and the operations named Locked are for the dispatcher's thread,
// which holds the queue mutex through Mutex() while it looks at the queue.
class MsgDispatcher::MsgQueue {
public:
    using Job = std::function<void()>;

    explicit MsgQueue(const std::string& name);

    void Push(const Job& job);
    void Pop();
    Job Front();
    size_t Size();
    bool IsEmpty();
    void Clear();

    std::mutex& Mutex() { return m_mutex; }
    // Caller holds Mutex().
    bool IsEmptyLocked() const { return m_jobs.empty(); }
    // Caller holds Mutex() through lock and the queue is not empty. Moves the front job into the
    // current-job slot, runs it with the lock released and returns with the lock held again.
    void RunFirstJob(std::unique_lock<std::mutex>& lock);

private:
    const std::string m_name;
    std::mutex m_mutex;  // protects m_jobs
    std::deque<Job> m_jobs;
    Job m_currentJob;  // the job being run; only the dispatcher's thread touches it
};
