// The route from the admin API to the service's list of paired clients.
#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>

#include "MainLoopTimers.h"
#include "paired_clients.h"

namespace ipc_platform {

// Holds the handlers the service registered and runs them on the main loop for the admin API's
// connection threads, which wait for the outcome. One per process (instance()), never destroyed,
// so registration does not depend on the platform being initialised.
//
// Threads: setHandlers/unsetHandlers from any thread (the service does it on the main loop);
// revoke/reset from connection threads, blocking up to the timeout. The handler lock is held
// while a handler runs, so unsetHandlers() from another thread waits for a running handler; it
// is recursive so that a handler may unset itself.
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

    static constexpr std::chrono::seconds kTimeout{5};

    static PairedClientsControl& instance();

    void setHandlers(paired_clients_revoke_cb revoke, paired_clients_reset_cb reset,
                     void* userData);
    void unsetHandlers(void* userData);

    Result revoke(const std::string& macAddress, std::chrono::milliseconds timeout = kTimeout);
    Result reset(std::chrono::milliseconds timeout = kTimeout);

private:
    PairedClientsControl() = default;

    // Runs call on the main loop with the handlers installed at that time and waits for it.
    Result _onMainLoop(const std::function<Result()>& call, std::chrono::milliseconds timeout);

    std::recursive_mutex m_mutex;  // protects the handlers; held while one runs
    paired_clients_revoke_cb m_revoke = nullptr;
    paired_clients_reset_cb m_reset = nullptr;
    void* m_userData = nullptr;
    MainLoopTimers m_timers;
};

}  // namespace ipc_platform
