// The route from the admin API to the service's list of paired clients, and the list it shows.
#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "MainLoopTimers.h"
#include "paired_clients.h"

namespace ipc_platform {

// Holds the handlers the service registered and runs them on the main loop for the admin API's
// connection threads, which wait for the outcome; keeps the list of clients the service last
// handed over, tokens already cut short. One per process (instance()), never destroyed, so
// registration does not depend on the platform being initialised.
//
// Threads: setHandlers/unsetHandlers from any thread (the service does it on the main loop);
// revoke/reset from connection threads, blocking up to the timeout. The handler lock is held
// while a handler runs, so unsetHandlers() from another thread waits for a running handler; it
// is recursive so that a handler may unset itself. setList and clients from any thread, under a
// lock of their own that is never held while anything is called, so the service may hand its
// list over under its own lock, inside a handler or not.
class PairedClientsControl {
public:
    enum class Outcome {
        Done,       // the handler ran; count holds what revoke returned
        NoService,  // no handlers are installed (the service is not running)
        TimedOut,   // the main loop did not get to it in time; nothing was done
    };
    struct Result {
        Outcome outcome = Outcome::NoService;
        int count = 0;
    };
    // A client as the page shows it.
    struct Client {
        std::string macAddress;
        int accessClass = 0;
        std::string token;  // the first six characters and "…"; empty when the client has none
    };

    static constexpr std::chrono::seconds kTimeout{5};

    static PairedClientsControl& instance();

    void setHandlers(paired_clients_revoke_cb revoke, paired_clients_reset_cb reset,
                     void* userData);
    void unsetHandlers(void* userData);

    Result revoke(const std::string& macAddress, std::chrono::milliseconds timeout = kTimeout);
    Result reset(std::chrono::milliseconds timeout = kTimeout);

    // The client as shown: its token cut at a character boundary, so the text stays UTF-8.
    static Client shown(const paired_clients_client_s& client);
    // Replaces the list when owner installed the handlers (false otherwise) and tells the
    // listener.
    bool setList(std::vector<Client> clients, void* owner);
    std::vector<Client> clients() const;
    // Called after every change of the list, outside any lock of this class.
    void setListener(std::function<void()> listener);

private:
    PairedClientsControl() = default;

    // Runs call on the main loop with the handlers installed at that time and waits for it.
    Result _onMainLoop(const std::function<Result()>& call, std::chrono::milliseconds timeout);

    std::recursive_mutex m_mutex;  // protects the handlers; held while one runs
    paired_clients_revoke_cb m_revoke = nullptr;
    paired_clients_reset_cb m_reset = nullptr;
    void* m_userData = nullptr;
    MainLoopTimers m_timers;

    // Protects the members below; taken after m_mutex when both are.
    mutable std::mutex m_listMutex;
    void* m_listOwner = nullptr;  // m_userData, kept here so that setList needs no handler lock
    std::vector<Client> m_clients;
    std::function<void()> m_listener;
};

}  // namespace ipc_platform
