// The dispatcher's thread: waits for jobs and runs them in order until Quit().
#include "Manager/MsgDispatcher.h"

#include <pthread.h>

#include <chrono>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "Log.h"
#include "Manager/MsgQueue.h"

namespace {

// Linux refuses thread names longer than 15 characters.
const size_t kMaxThreadNameLength = 15;

}  // namespace

MsgDispatcher::MsgDispatcher(const std::string& name, std::chrono::milliseconds idleTick)
    : m_name(name),
      m_idleTick(idleTick),
      m_bRunning(true),
      m_queue(std::make_unique<MsgQueue>(name)),
      m_thread(&MsgDispatcher::runDispatchingThread, this) {}

MsgDispatcher::~MsgDispatcher() {
    Quit();
    if (m_thread.joinable()) {
        LOGI("[%s] before join", m_name.c_str());
        m_thread.join();
        LOGI("[%s] after join", m_name.c_str());
    } else {
        LOGI("[%s] Not joinable", m_name.c_str());
    }
}

void MsgDispatcher::EnqueueData(std::function<void()>& job) {
    EnqueueData(std::function<void()>(job));
}

void MsgDispatcher::EnqueueData(std::function<void()>&& job) {
    if (!m_bRunning) {
        throw std::runtime_error("Thread already finished! Can not do enqueue!!");
    }
    // A thread that is busy finds the job when its batch is done, without a wake-up.
    if (m_queue->Push(std::move(job))) {
        m_wakeup.post();
    }
}

void MsgDispatcher::Quit() {
    {
        std::lock_guard<std::mutex> lock(m_queue->Mutex());
        m_bRunning = false;
    }
    m_wakeup.post();
}

bool MsgDispatcher::isEmptyQueue() {
    return m_queue->IsEmpty();
}

void MsgDispatcher::clearData() {
    m_queue->Clear();
}

void MsgDispatcher::runDispatchingThread() {
    std::string threadName = m_name.substr(0, kMaxThreadNameLength);
    int error = pthread_setname_np(pthread_self(), threadName.c_str());
    if (error != 0) {
        LOGE("[%s] could not name the thread: %s", m_name.c_str(), strerror(error));
    }
    std::unique_lock<std::mutex> lock(m_queue->Mutex());
    while (m_bRunning) {
        if (!m_queue->IsEmptyLocked()) {
            m_queue->RunQueuedJobs(lock, m_bRunning);
        } else {
            m_queue->WaitLocked(lock, m_wakeup, std::chrono::steady_clock::now() + m_idleTick);
        }
    }
    LOGI("[%s] Finished thread running", m_name.c_str());
}
