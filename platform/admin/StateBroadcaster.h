// Tells the admin server's event streams that the state changed.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace ipc_platform {

// A change counter that streams wait on. Thread-safe.
class StateBroadcaster {
public:
    enum class Wake { Changed, KeepAlive, Closed };

    // Counts a change and wakes every waiting stream.
    void publish();
    // Blocks until the counter differs from seen (then updates seen: Changed), keepAlive has
    // passed (KeepAlive) or the broadcaster is closed (Closed).
    Wake wait(uint64_t& seen, std::chrono::milliseconds keepAlive);
    uint64_t version() const;
    // Blocks for up to duration; true when the broadcaster is or gets closed.
    bool waitForClose(std::chrono::milliseconds duration);

    // Wakes every waiting stream for good; open() makes it usable again.
    void close();
    void open();

private:
    mutable std::mutex m_mutex;  // protects m_version and m_closed
    std::condition_variable m_changed;
    uint64_t m_version = 0;
    bool m_closed = false;
};

}  // namespace ipc_platform
