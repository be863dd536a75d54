// The route from the admin API to the service's list of paired clients, and the list it shows.
#include "PairedClientsControl.h"

#include <condition_variable>
#include <memory>
#include <utility>

#include <glib.h>

#include "Utf8Text.h"

namespace ipc_platform {

namespace {

constexpr size_t kShownTokenLength = 6;

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
    std::lock_guard<std::mutex> listLock(m_listMutex);
    if (m_listOwner != userData) {
        m_clients.clear();  // a new owner hands its own list over
    }
    m_listOwner = userData;
}

void PairedClientsControl::unsetHandlers(void* userData) {
    std::function<void()> listener;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        if (m_userData != userData) {
            return;  // a newer owner's handlers stay
        }
        m_revoke = nullptr;
        m_reset = nullptr;
        m_userData = nullptr;
        std::lock_guard<std::mutex> listLock(m_listMutex);
        m_listOwner = nullptr;
        m_clients.clear();
        listener = m_listener;
    }
    if (listener) {
        listener();
    }
}

PairedClientsControl::Client PairedClientsControl::shown(const paired_clients_client_s& client) {
    Client shown;
    // A legacy auth list may hold any bytes; the page gets JSON strings.
    shown.macAddress = validUtf8(client.mac_address);
    shown.accessClass = client.access_class;
    const std::string token = validUtf8(client.access_token);
    if (!token.empty()) {
        const char* end = token.c_str();
        for (size_t i = 0; i < kShownTokenLength && *end != '\0'; ++i) {
            end = g_utf8_next_char(end);
        }
        shown.token = std::string(token.c_str(), end) + "\u2026";
    }
    return shown;
}

bool PairedClientsControl::setList(std::vector<Client> clients, void* owner) {
    std::function<void()> listener;
    {
        std::lock_guard<std::mutex> lock(m_listMutex);
        if (owner == nullptr || owner != m_listOwner) {
            return false;
        }
        m_clients = std::move(clients);
        listener = m_listener;
    }
    if (listener) {
        listener();
    }
    return true;
}

std::vector<PairedClientsControl::Client> PairedClientsControl::clients() const {
    std::lock_guard<std::mutex> lock(m_listMutex);
    return m_clients;
}

void PairedClientsControl::setListener(std::function<void()> listener) {
    std::lock_guard<std::mutex> lock(m_listMutex);
    m_listener = std::move(listener);
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
