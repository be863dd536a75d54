// The job queue of a message dispatcher.
#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <mutex>
#include <string>

#include "Manager/MsgDispatcher.h"
#include "Wakeup.h"

// A deque of jobs under one mutex; the dispatcher's thread sleeps on a wake-up when it is empty.
// Thread-safe; the operations named Locked and RunQueuedJobs() are for the dispatcher's thread,
// which holds the queue mutex through Mutex() while it looks at the queue.
//
// The dispatcher's thread takes everything queued at once and runs it outside the lock, so a
// burst of jobs costs one lock and at most one wake-up. Push() reports whether that thread is
// asleep; only then does it need waking.
class MsgDispatcher::MsgQueue {
public:
    using Job = std::function<void()>;

    explicit MsgQueue(const std::string& name);

    // True when the dispatcher's thread sleeps in WaitLocked() and has not been told yet: the
    // caller wakes it.
    bool Push(Job&& job);
    void Pop();
    Job Front();
    size_t Size();
    // Also false while jobs taken by RunQueuedJobs() are still to run.
    bool IsEmpty();
    // Drops every job not started yet, including those RunQueuedJobs() has taken.
    void Clear();

    std::mutex& Mutex() { return m_mutex; }
    // Caller holds Mutex().
    bool IsEmptyLocked() const { return m_jobs.empty(); }
    // Caller holds Mutex() through lock. Sleeps without it until deadline, a Push() that reports
    // the sleep (whose caller posts wakeup), or any other post.
    void WaitLocked(std::unique_lock<std::mutex>& lock, ipc_sync::Wakeup& wakeup,
                    std::chrono::steady_clock::time_point deadline);
    // Caller holds Mutex() through lock. Takes every queued job, then runs them in order with
    // the lock released, one at a time, while running stays true; returns with the lock held
    // again. Jobs left when running turns false are dropped.
    void RunQueuedJobs(std::unique_lock<std::mutex>& lock, const std::atomic<bool>& running);

private:
    // Runs the job in m_currentJob and logs what escapes it.
    void _runCurrentJob();

    const std::string m_name;
    std::mutex m_mutex;  // protects m_jobs and m_bConsumerWaiting
    std::deque<Job> m_jobs;
    bool m_bConsumerWaiting = false;  // the dispatcher's thread sleeps and nobody woke it yet
    // The jobs taken from m_jobs and not run yet; only the dispatcher's thread touches them.
    std::deque<Job> m_batch;
    // How many of m_batch are left; read by IsEmpty() on other threads.
    std::atomic<size_t> m_batchLeft{0};
    // Set by Clear() so that the batch being run is dropped too.
    std::atomic<bool> m_bDropBatch{false};
    Job m_currentJob;  // the job being run; only the dispatcher's thread touches it
};
