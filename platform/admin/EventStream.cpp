// One client's stream of server-sent events at GET /api/events.
#include "EventStream.h"

#include <algorithm>
#include <cstring>

namespace ipc_platform {

EventStream::EventStream(StateBroadcaster& broadcaster, std::function<std::string()> stateText,
                         std::chrono::milliseconds keepAlive)
    : m_broadcaster(broadcaster),
      m_stateText(std::move(stateText)),
      m_keepAlive(keepAlive),
      m_seen(broadcaster.version()) {
    // Taken after the version, so a change made meanwhile is sent again rather than lost.
    m_pending = "retry: " + std::to_string(kRetryMs) + "\n" + stateEvent(m_stateText());
    m_lastState = std::chrono::steady_clock::now();
}

std::string EventStream::stateEvent(const std::string& stateJson) {
    // The JSON text is one line, so one data line carries it.
    return "event: state\ndata: " + stateJson + "\n\n";
}

bool EventStream::_refill() {
    switch (m_broadcaster.wait(m_seen, m_keepAlive)) {
        case StateBroadcaster::Wake::Changed:
            if (!_spaceOut()) {
                return false;
            }
            m_pending = stateEvent(m_stateText());
            m_lastState = std::chrono::steady_clock::now();
            break;
        case StateBroadcaster::Wake::KeepAlive:
            m_pending = ": keep-alive\n\n";
            break;
        case StateBroadcaster::Wake::Closed:
            return false;
    }
    m_sent = 0;
    return true;
}

bool EventStream::_spaceOut() {
    const auto due = m_lastState + kMinSpacing;
    const auto now = std::chrono::steady_clock::now();
    if (now >= due) {
        return true;
    }
    if (m_broadcaster.waitForClose(std::chrono::ceil<std::chrono::milliseconds>(due - now))) {
        return false;
    }
    // Taken before the text, as in the constructor.
    m_seen = m_broadcaster.version();
    return true;
}

ssize_t EventStream::read(char* buffer, size_t max) {
    if (m_sent == m_pending.size() && !_refill()) {
        return -1;
    }
    const size_t count = std::min(max, m_pending.size() - m_sent);
    std::memcpy(buffer, m_pending.data() + m_sent, count);
    m_sent += count;
    return static_cast<ssize_t>(count);
}

}  // namespace ipc_platform
