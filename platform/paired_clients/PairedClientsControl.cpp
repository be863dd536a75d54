// The route from the admin API to the service's list of paired clients.
#include "PairedClientsControl.h"

#include <condition_variable>
#include <memory>

namespace ipc_platform {

namespace {

// One call waiting for the main loop; shared by the waiting thread and the idle source, so
// either may be the last to let go.
struct PendingCall {
    std::mutex mutex;  // protects done and result
    std::condition_variable finished;
    bool done = false;
    PairedClientsControl::Result result;
};

}  // namespace

PairedClientsControl& PairedClientsControl::instance() {
    // Never destroyed: the service may unset its handlers from static destructors at exit.
    static auto* control = new PairedClientsControl;
    return *control;
}

void PairedClientsControl::setHandlers(paired_clients_revoke_cb revoke,
                                       paired_clients_reset_cb reset, void* userData) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_revoke = revoke;
    m_reset = reset;
    m_userData = userData;
}

void PairedClientsControl::unsetHandlers(void* userData) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (m_userData != userData) {
        return;  // a newer owner's handlers stay
    }
    m_revoke = nullptr;
    m_reset = nullptr;
    m_userData = nullptr;
}

PairedClientsControl::Result PairedClientsControl::revoke(const std::string& macAddress,
                                                          std::chrono::milliseconds timeout) {
    return _onMainLoop(
        [this, macAddress] {
            Result result;
            if (m_revoke != nullptr) {
                result.outcome = Outcome::Done;
                result.count = m_revoke(macAddress.c_str(), m_userData);
            }
            return result;
        },
        timeout);
}

PairedClientsControl::Result PairedClientsControl::reset(std::chrono::milliseconds timeout) {
    return _onMainLoop(
        [this] {
            Result result;
            if (m_reset != nullptr) {
                result.outcome = Outcome::Done;
                m_reset(m_userData);
            }
            return result;
        },
        timeout);
}

PairedClientsControl::Result PairedClientsControl::_onMainLoop(const std::function<Result()>& call,
                                                               std::chrono::milliseconds timeout) {
    auto pending = std::make_shared<PendingCall>();
    // The handlers are looked up when the call runs: a service that stopped meanwhile is not
    // called.
    const MainLoopTimers::Id id = m_timers.add(0, [this, pending, call] {
        Result result;
        {
            std::lock_guard<std::recursive_mutex> lock(m_mutex);
            result = call();
        }
        {
            std::lock_guard<std::mutex> lock(pending->mutex);
            pending->result = result;
            pending->done = true;
        }
        pending->finished.notify_all();
    });
    std::unique_lock<std::mutex> lock(pending->mutex);
    if (!pending->finished.wait_for(lock, timeout, [&] { return pending->done; })) {
        lock.unlock();
        if (m_timers.cancel(id)) {
            Result result;
            result.outcome = Outcome::TimedOut;
            return result;
        }
        // Too late to take it back: it runs now, so its outcome is what the client must hear.
        lock.lock();
        pending->finished.wait(lock, [&] { return pending->done; });
    }
    return pending->result;
}

}  // namespace ipc_platform
