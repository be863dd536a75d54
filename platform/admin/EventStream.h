// One client's stream of server-sent events at GET /api/events.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <sys/types.h>

#include "StateBroadcaster.h"

namespace ipc_platform {

// Sends "retry", then the full state as an event named "state" at once and after every change,
// at most one every kMinSpacing (changes meanwhile are in the next one), and a comment line when
// nothing changed for keepAlive. Callback thread only: libmicrohttpd
// reads it on the connection's own thread, where blocking is allowed. The broadcaster must
// outlive the stream.
class EventStream {
public:
    static constexpr unsigned int kRetryMs = 2000;  // how soon a browser reconnects
    // Rebuilding the state reads files and every section; under a burst of requests an open
    // page would otherwise rebuild it once per request.
    static constexpr std::chrono::milliseconds kMinSpacing{100};

    EventStream(StateBroadcaster& broadcaster, std::function<std::string()> stateText,
                std::chrono::milliseconds keepAlive);

    // Copies up to max bytes of the stream into buffer, waiting for a change when nothing is
    // left to send. -1 once the broadcaster is closed.
    ssize_t read(char* buffer, size_t max);

    // The text of one state event.
    static std::string stateEvent(const std::string& stateJson);

private:
    bool _refill();
    // Waits out the rest of kMinSpacing since the last state event; false once closed.
    bool _spaceOut();

    StateBroadcaster& m_broadcaster;
    const std::function<std::string()> m_stateText;
    const std::chrono::milliseconds m_keepAlive;
    uint64_t m_seen;
    std::string m_pending;
    size_t m_sent = 0;
    std::chrono::steady_clock::time_point m_lastState;
};

}  // namespace ipc_platform
