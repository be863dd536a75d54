// Keeps slow or idle connections from taking all of a libmicrohttpd server's connections.
#pragma once

#include <microhttpd.h>

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "ConnectionLimits.h"
#include "Watchdog.h"

namespace ipsvr {

// Watches the connections of one libmicrohttpd daemon. A request must arrive whole (header and
// body) within the arrival deadline of the connection's start or of the previous answer,
// however slowly its bytes trickle in; an overdue connection is shut down. When more than the
// total limit are open, a connection of the peer address holding the most is shut down, the one
// that has waited longest for a complete request, so a new client still gets in and cannot be
// pushed out by peers that come back faster than it gets its request read. At the total, a peer
// that holds the most already is refused at accept: it would only push out one of its own, and
// refusing there costs the server no connection (nor, with a thread per connection, a thread).
// A connection whose request is complete (answered, waiting for its answer or streaming) is
// never cut.
//
// libmicrohttpd closes a connection once its socket is shut down; the guard only shuts sockets
// down, under its lock, and forgets them in the closed notification, which comes before the
// socket is closed.
//
// Thread-safe: the notifications and arrived()/answered() come from the daemon's threads,
// start() and stop() from the server's owner thread.
class ConnectionGuard {
public:
    using Clock = std::chrono::steady_clock;
    using Limits = ConnectionLimits;

    // libmicrohttpd's own limit to go with the guard's: a little more than the total, so that
    // the daemon takes the connection that makes room for itself.
    static unsigned int daemonLimit(const Limits& limits) { return limits.total + 16; }

    explicit ConnectionGuard(Limits limits);
    ~ConnectionGuard();
    ConnectionGuard(const ConnectionGuard&) = delete;
    ConnectionGuard& operator=(const ConnectionGuard&) = delete;

    const Limits& limits() const { return m_limits; }
    // Runs the deadline thread while the daemon runs.
    void start();
    void stop();

    // For MHD_start_daemon's accept policy, with the guard as closure.
    static MHD_Result admit(void* guard, const sockaddr* address, socklen_t length);
    // For MHD_OPTION_NOTIFY_CONNECTION, with the guard as closure.
    static void notify(void* guard, MHD_Connection* connection, void** socketContext,
                       MHD_ConnectionNotificationCode code);
    // The connection's request has come in whole.
    void arrived(MHD_Connection* connection);
    // The connection's answer is out: its next request has the arrival deadline from now.
    void answered(MHD_Connection* connection);

private:
    // A peer address and how many of its connections are open and not cut.
    using PeerCount = std::pair<const std::string, unsigned int>;

    struct Entry {
        int socket;
        Clock::time_point deadline;  // for the request to arrive; unused while complete
        PeerCount* fromPeer;         // in m_perPeer; null once cut
        bool complete = false;
        bool cut = false;  // shut down, waiting for the daemon to close it
    };

    bool _admits(const std::string& peer);
    void _opened(MHD_Connection* connection, int socket, const std::string& peer);
    void _closed(MHD_Connection* connection);
    void _setComplete(MHD_Connection* connection, bool complete);
    // With the lock held: shuts the connection's socket down.
    void _cut(Entry& entry);
    // With the lock held: the entry no longer counts as open.
    void _release(Entry& entry);
    // Cuts the overdue connections; the next deadline, if any.
    std::optional<Clock::time_point> _sweep(Clock::time_point now);

    const Limits m_limits;
    // Protects m_entries (and, through the notifications, the life of their sockets), m_perPeer,
    // m_open and m_idle.
    std::mutex m_mutex;
    std::unordered_map<MHD_Connection*, Entry> m_entries;
    // Elements stay where they are when the table grows, so entries point at theirs.
    std::unordered_map<std::string, unsigned int> m_perPeer;
    unsigned int m_open = 0;  // entries not cut
    bool m_idle = true;       // the sweeper has no deadline to wait for: a new one must wake it
    Watchdog m_sweeper;
};

}  // namespace ipsvr
