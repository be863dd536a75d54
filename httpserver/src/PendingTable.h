// Requests between delivery and answer, by client id, with their peer and deadline.
#pragma once

#include <sys/socket.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "Reply.h"

struct MHD_Connection;

namespace ipsvr {

// The table of pending requests. Thread-safe.
//
// A request is live, and its id answerable, from add() until it is resolved: answered, expired,
// abandoned by its peer or closed by close(). Its entry stays until the connection is done with
// it (remove()), so an id is never handed out twice while its connection may still use it.
// Connections are suspended and resumed only under the table's lock: a suspended connection is
// resumed exactly once, and none is left suspended after close().
class PendingTable {
public:
    using Clock = std::chrono::steady_clock;

    // sweepBy runs (without the lock) when a new request needs a sweep by the given time: its
    // deadline, or the first hang-up check. Live requests are swept on a fixed tick, so this
    // only matters when the table was idle or the deadline is short.
    explicit PendingTable(std::function<void(Clock::time_point)> sweepBy);
    PendingTable(const PendingTable&) = delete;
    PendingTable& operator=(const PendingTable&) = delete;

    // Registers a request that is about to be delivered, with a fresh id (never 0); 0 once the
    // table is closed.
    unsigned int add(MHD_Connection* connection, int socket, const sockaddr_storage& peer,
                     Clock::duration timeout);
    // Settles a live request; false when the id is not live. A suspended connection is resumed.
    bool resolve(unsigned int id, Reply reply);
    // Server thread, after delivery: the reply if the request was already resolved, otherwise
    // the connection is suspended until resolve().
    std::optional<Reply> suspendUnlessResolved(unsigned int id);
    // Server thread, when the resumed connection asks again: the reply it resumed with.
    Reply takeReply(unsigned int id);
    // Server thread: the connection has finished with id.
    void remove(unsigned int id);
    // The peer address of a live request.
    std::optional<sockaddr_storage> peerOf(unsigned int id) const;
    // Expires overdue requests (504) and drops those whose peer hung up, with one poll() over
    // every waiting socket. Returns when to look again: the next tick or the earliest deadline
    // while a request is live, nothing when none is.
    std::optional<Clock::time_point> sweep(Clock::time_point now);
    // Refuses new requests, resolves every live one with reply and waits, at most timeout, until
    // their connections are done with them.
    void close(const Reply& reply, Clock::duration timeout);

private:
    enum class State { Delivering, Waiting, Resolved };
    struct Entry {
        MHD_Connection* connection;
        int socket;
        sockaddr_storage peer;
        Clock::time_point deadline;
        State state;
        Reply reply;
    };

    unsigned int _nextId();
    static void _settle(Entry& entry, Reply reply);

    const std::function<void(Clock::time_point)> m_sweepBy;
    // Protects m_entries, m_closed, and the suspend/resume state of the connections
    // in m_entries.
    mutable std::mutex m_mutex;
    std::condition_variable m_drained;  // signalled when the last entry goes
    std::unordered_map<unsigned int, Entry> m_entries;
    bool m_closed = false;
};

}  // namespace ipsvr
