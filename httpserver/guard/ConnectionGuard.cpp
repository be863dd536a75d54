// Keeps slow or idle connections from taking all of a libmicrohttpd server's connections.
#include "ConnectionGuard.h"

#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>

namespace ipsvr {

namespace {

// Descriptors kept for everything else the process opens: files, the main loop, libraries.
constexpr rlim_t kReserve = 64;
constexpr unsigned int kAtLeast = 8;

// The address bytes of a peer, without its port: the key its connections are counted under.
std::string peerAddress(const sockaddr* address) {
    if (address == nullptr) {
        return std::string();
    }
    if (address->sa_family == AF_INET) {
        const auto* ipv4 = reinterpret_cast<const sockaddr_in*>(address);
        return std::string(reinterpret_cast<const char*>(&ipv4->sin_addr), sizeof ipv4->sin_addr);
    }
    if (address->sa_family == AF_INET6) {
        const auto* ipv6 = reinterpret_cast<const sockaddr_in6*>(address);
        return std::string(reinterpret_cast<const char*>(&ipv6->sin6_addr), sizeof ipv6->sin6_addr);
    }
    return std::string();
}

}  // namespace

unsigned int ConnectionLimits::descriptorShare(unsigned int share, unsigned int cap) {
    rlimit limit = {};
    rlim_t available = 1024;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
        available = limit.rlim_cur;
    }
    // Each connection may cost a descriptor on both ends when the peer is this machine.
    const rlim_t each = available > kReserve ? (available - kReserve) / share : 0;
    return static_cast<unsigned int>(std::clamp<rlim_t>(each, kAtLeast, cap));
}

ConnectionGuard::ConnectionGuard(Limits limits)
    : m_limits(limits), m_sweeper([this](Clock::time_point now) { return _sweep(now); }) {}

ConnectionGuard::~ConnectionGuard() {
    stop();
}

void ConnectionGuard::start() {
    m_sweeper.start();
}

void ConnectionGuard::stop() {
    m_sweeper.stop();
}

void ConnectionGuard::notify(void* guard, MHD_Connection* connection, void** /*socketContext*/,
                             MHD_ConnectionNotificationCode code) {
    auto* self = static_cast<ConnectionGuard*>(guard);
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
        const MHD_ConnectionInfo* fd =
            MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        const MHD_ConnectionInfo* peer =
            MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
        self->_opened(connection, fd != nullptr ? fd->connect_fd : -1,
                      peer != nullptr ? peerAddress(peer->client_addr) : std::string());
    } else if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        self->_closed(connection);
    }
}

MHD_Result ConnectionGuard::admit(void* guard, const sockaddr* address, socklen_t /*length*/) {
    return static_cast<ConnectionGuard*>(guard)->_admits(peerAddress(address)) ? MHD_YES : MHD_NO;
}

void ConnectionGuard::arrived(MHD_Connection* connection) {
    _setComplete(connection, true);
}

void ConnectionGuard::answered(MHD_Connection* connection) {
    _setComplete(connection, false);
}

void ConnectionGuard::_opened(MHD_Connection* connection, int socket, const std::string& peer) {
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        wake = m_idle;
        auto& fromPeer = *m_perPeer.try_emplace(peer, 0).first;
        ++fromPeer.second;
        m_entries[connection] = Entry{socket, Clock::now() + m_limits.arrival, &fromPeer};
        ++m_open;
        if (m_open > m_limits.total) {
            // Room for the newcomer: of the peers holding the most connections, the connection
            // that has waited longest for its request. Peers flooding with many connections lose
            // theirs first, however fast they come back, and a client with fewer is not pushed
            // out before its request is read. The newcomer itself goes when nothing else waits
            // for a request, or when it is the waiting one of the busiest peer.
            Entry* victim = nullptr;
            for (auto& [key, entry] : m_entries) {
                if (entry.cut || entry.complete) {
                    continue;
                }
                const unsigned int count = entry.fromPeer->second;
                if (victim == nullptr || count > victim->fromPeer->second ||
                    (count == victim->fromPeer->second && entry.deadline < victim->deadline)) {
                    victim = &entry;
                }
            }
            if (victim != nullptr) {
                _cut(*victim);
            }
        }
    }
    if (wake) {
        m_sweeper.sweepBy(Clock::now());
    }
}

bool ConnectionGuard::_admits(const std::string& peer) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_open < m_limits.total) {
        return true;
    }
    const auto it = m_perPeer.find(peer);
    if (it == m_perPeer.end()) {
        return true;
    }
    for (const auto& [other, count] : m_perPeer) {
        if (count > it->second) {
            return true;
        }
    }
    return false;
}

void ConnectionGuard::_closed(MHD_Connection* connection) {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_entries.find(connection);
    if (it == m_entries.end()) {
        return;
    }
    if (!it->second.cut) {
        _release(it->second);
    }
    m_entries.erase(it);
}

void ConnectionGuard::_setComplete(MHD_Connection* connection, bool complete) {
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        wake = m_idle && !complete;
        auto it = m_entries.find(connection);
        if (it == m_entries.end()) {
            return;
        }
        it->second.complete = complete;
        if (!complete) {
            it->second.deadline = Clock::now() + m_limits.arrival;
        }
    }
    if (wake) {
        m_sweeper.sweepBy(Clock::now());
    }
}

void ConnectionGuard::_cut(Entry& entry) {
    entry.cut = true;
    if (entry.socket >= 0) {
        shutdown(entry.socket, SHUT_RDWR);
    }
    _release(entry);
}

void ConnectionGuard::_release(Entry& entry) {
    --m_open;
    if (--entry.fromPeer->second == 0) {
        m_perPeer.erase(m_perPeer.find(entry.fromPeer->first));
    }
    entry.fromPeer = nullptr;
}

std::optional<ConnectionGuard::Clock::time_point> ConnectionGuard::_sweep(Clock::time_point now) {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::optional<Clock::time_point> next;
    for (auto& [connection, entry] : m_entries) {
        if (entry.cut || entry.complete) {
            continue;
        }
        if (entry.deadline <= now) {
            _cut(entry);
        } else if (!next || entry.deadline < *next) {
            next = entry.deadline;
        }
    }
    m_idle = !next;
    return next;
}

}  // namespace ipsvr
