// Keeps slow or idle connections from taking all of a libmicrohttpd server's connections.
#include "ConnectionGuard.h"

#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>

namespace ipsvr {

namespace {

// Descriptors kept for everything else the process opens: files, the main loop, libraries.
constexpr rlim_t kReserve = 64;
constexpr unsigned int kAtLeast = 8;

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
        const MHD_ConnectionInfo* info =
            MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        self->_opened(connection, info != nullptr ? info->connect_fd : -1);
    } else if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        self->_closed(connection);
    }
}

void ConnectionGuard::arrived(MHD_Connection* connection) {
    _setComplete(connection, true);
}

void ConnectionGuard::answered(MHD_Connection* connection) {
    _setComplete(connection, false);
}

void ConnectionGuard::_opened(MHD_Connection* connection, int socket) {
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        wake = m_idle;
        m_entries[connection] = Entry{socket, Clock::now() + m_limits.arrival};
        ++m_open;
        if (m_open > m_limits.total) {
            // Room for the newcomer: the connection that has waited longest for its request,
            // which is the newcomer itself only when every other one has a complete request.
            Entry* oldest = nullptr;
            for (auto& [key, entry] : m_entries) {
                if (!entry.cut && !entry.complete &&
                    (oldest == nullptr || entry.deadline < oldest->deadline)) {
                    oldest = &entry;
                }
            }
            if (oldest != nullptr) {
                _cut(*oldest);
                --m_open;
            }
        }
    }
    if (wake) {
        m_sweeper.sweepBy(Clock::now());
    }
}

void ConnectionGuard::_closed(MHD_Connection* connection) {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_entries.find(connection);
    if (it == m_entries.end()) {
        return;
    }
    if (!it->second.cut) {
        --m_open;
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
            --m_open;
        } else if (!next || entry.deadline < *next) {
            next = entry.deadline;
        }
    }
    m_idle = !next;
    return next;
}

}  // namespace ipsvr
