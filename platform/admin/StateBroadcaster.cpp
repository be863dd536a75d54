// Tells the admin server's event streams that the state changed.
#include "StateBroadcaster.h"

namespace ipc_platform {

void StateBroadcaster::publish() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_version;
    }
    m_changed.notify_all();
}

StateBroadcaster::Wake StateBroadcaster::wait(uint64_t& seen, std::chrono::milliseconds keepAlive) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const bool woken =
        m_changed.wait_for(lock, keepAlive, [&] { return m_closed || m_version != seen; });
    if (m_closed) {
        return Wake::Closed;
    }
    if (!woken) {
        return Wake::KeepAlive;
    }
    seen = m_version;
    return Wake::Changed;
}

uint64_t StateBroadcaster::version() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_version;
}

bool StateBroadcaster::waitForClose(std::chrono::milliseconds duration) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, duration, [this] { return m_closed; });
}

void StateBroadcaster::close() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
    }
    m_changed.notify_all();
}

void StateBroadcaster::open() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_closed = false;
}

}  // namespace ipc_platform
