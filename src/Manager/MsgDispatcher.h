// A named worker thread that runs queued jobs one at a time, first in, first out.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "Wakeup.h"

// Jobs run on the dispatcher's own thread (named after the dispatcher, cut to the 15 characters
// the OS allows) in the order they were queued, never two at once, and without any lock held.
// The thread takes all jobs queued so far in one go and is woken only when it sleeps.
// An exception that escapes a job is logged and the thread goes on with the next job.
// Thread-safe: any thread may queue jobs or call Quit(). Quit() stops the thread after the job in
// progress; jobs still queued are dropped and every later EnqueueData() throws. The destructor
// calls Quit() itself before joining, so a dispatcher deleted without Quit() does not hang; it
// must not be deleted from one of its own jobs.
class MsgDispatcher {
public:
    class MsgQueue;

    // idleTick: the longest the thread sleeps before it looks at the running flag again.
    explicit MsgDispatcher(const std::string& name,
                           std::chrono::milliseconds idleTick = std::chrono::seconds(1));
    ~MsgDispatcher();

    MsgDispatcher(const MsgDispatcher&) = delete;
    MsgDispatcher& operator=(const MsgDispatcher&) = delete;

    // Queues a copy of job, waking the thread if it sleeps. Throws std::runtime_error after
    // Quit().
    void EnqueueData(std::function<void()>& job);
    // The same, taking job over instead of copying it and what it holds.
    void EnqueueData(std::function<void()>&& job);
    void Quit();
    bool isEmptyQueue();
    void clearData();

private:
    void runDispatchingThread();

    const std::string m_name;
    const std::chrono::milliseconds m_idleTick;
    // Written under the queue mutex so that the thread cannot miss the wake-up of Quit(); atomic
    // because EnqueueData() reads it without that mutex.
    std::atomic<bool> m_bRunning;
    ipc_sync::Wakeup m_wakeup;  // the thread sleeps on it when the queue is empty
    std::unique_ptr<MsgQueue> m_queue;
    std::thread m_thread;  // last: starts once everything above exists
};
