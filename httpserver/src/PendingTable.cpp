// Requests between delivery and answer, by client id, with their peer and deadline.
#include "PendingTable.h"

#include <microhttpd.h>
#include <poll.h>

#include <algorithm>
#include <atomic>
#include <vector>

namespace ipsvr {

namespace {

// libmicrohttpd does not watch suspended sockets; while any request is live they are polled for
// a hang-up this often, all at once, rather than once per request.
constexpr std::chrono::milliseconds kHangUpPollInterval(100);
constexpr unsigned int kGatewayTimeout = 504;

// Shared by every table in the process, so that an answer meant for a request from before a
// restart cannot reach a request after it.
std::atomic<unsigned int> g_lastId{0};

}  // namespace

PendingTable::PendingTable(std::function<void(Clock::time_point)> sweepBy)
    : m_sweepBy(std::move(sweepBy)) {}

unsigned int PendingTable::add(MHD_Connection* connection, int socket, const sockaddr_storage& peer,
                               Clock::duration timeout) {
    unsigned int id = 0;
    const Clock::time_point now = Clock::now();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_closed) {
            return 0;
        }
        id = _nextId();
        m_entries.emplace(
            id, Entry{connection, socket, peer, now + timeout, State::Delivering, Reply{}});
    }
    m_sweepBy(std::min(now + timeout, now + kHangUpPollInterval));
    return id;
}

unsigned int PendingTable::_nextId() {
    // The table holds at most a few hundred ids, so this finds a free one quickly.
    unsigned int id;
    do {
        id = ++g_lastId;
    } while (id == 0 || m_entries.count(id) != 0);
    return id;
}

void PendingTable::_settle(Entry& entry, Reply reply) {
    bool suspended = entry.state == State::Waiting;
    entry.reply = std::move(reply);
    entry.state = State::Resolved;
    if (suspended) {
        MHD_resume_connection(entry.connection);
    }
}

bool PendingTable::resolve(unsigned int id, Reply reply) {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_entries.find(id);
    if (it == m_entries.end() || it->second.state == State::Resolved) {
        return false;
    }
    _settle(it->second, std::move(reply));
    return true;
}

std::optional<Reply> PendingTable::suspendUnlessResolved(unsigned int id) {
    // The request has been live since add(), so the tick that will poll its socket is planned.
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_entries.find(id);
    if (it == m_entries.end()) {
        return Reply::dropped();
    }
    Entry& entry = it->second;
    if (entry.state == State::Resolved) {
        return entry.reply;
    }
    MHD_suspend_connection(entry.connection);
    entry.state = State::Waiting;
    return std::nullopt;
}

Reply PendingTable::takeReply(unsigned int id) {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_entries.find(id);
    if (it == m_entries.end() || it->second.state != State::Resolved) {
        return Reply::dropped();
    }
    return std::move(it->second.reply);
}

void PendingTable::remove(unsigned int id) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_entries.erase(id);
    if (m_entries.empty()) {
        m_drained.notify_all();
    }
}

std::optional<sockaddr_storage> PendingTable::peerOf(unsigned int id) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_entries.find(id);
    if (it == m_entries.end() || it->second.state == State::Resolved) {
        return std::nullopt;
    }
    return it->second.peer;
}

std::optional<PendingTable::Clock::time_point> PendingTable::sweep(Clock::time_point now) {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<pollfd> sockets;
    std::vector<Entry*> waiting;
    std::optional<Clock::time_point> next;
    for (auto& [id, entry] : m_entries) {
        if (entry.state == State::Resolved) {
            continue;
        }
        if (entry.deadline <= now) {
            _settle(entry, Reply::withStatus(kGatewayTimeout));
            continue;
        }
        next = next ? std::min(*next, entry.deadline) : entry.deadline;
        if (entry.state == State::Waiting) {
            sockets.push_back({entry.socket, POLLRDHUP, 0});
            waiting.push_back(&entry);
        }
    }
    if (!next) {
        return std::nullopt;
    }
    // A suspended connection cannot be closed while the lock is held, so its socket stays valid
    // for this non-blocking look.
    if (!sockets.empty() && poll(sockets.data(), sockets.size(), 0) > 0) {
        for (size_t i = 0; i < sockets.size(); ++i) {
            if ((sockets[i].revents & (POLLRDHUP | POLLHUP | POLLERR | POLLNVAL)) != 0) {
                _settle(*waiting[i], Reply::dropped());
            }
        }
    }
    return std::min(*next, now + kHangUpPollInterval);
}

void PendingTable::close(const Reply& reply, Clock::duration timeout) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_closed = true;
    for (auto& [id, entry] : m_entries) {
        if (entry.state != State::Resolved) {
            _settle(entry, reply);
        }
    }
    m_drained.wait_for(lock, timeout, [this] { return m_entries.empty(); });
}

}  // namespace ipsvr
