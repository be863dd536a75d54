// Keeps slow or idle connections from taking the UPnP description server.
#include "SoupConnectionGuard.h"

#include <sys/socket.h>

namespace ipc_platform {

SoupConnectionGuard::SoupConnectionGuard(SoupServer* server, ipsvr::ConnectionLimits limits)
    : m_server(SOUP_SERVER(g_object_ref(server))), m_limits(limits) {
    // GIO listens with a backlog of 10: while cut peers reconnect in a flood, the kernel would
    // drop other hosts' connection attempts, which then wait a second or more to try again.
    // Listening again only raises the backlog.
    GSList* listeners = soup_server_get_listeners(server);
    for (GSList* item = listeners; item != nullptr; item = item->next) {
        listen(g_socket_get_fd(G_SOCKET(item->data)), SOMAXCONN);
    }
    g_slist_free(listeners);
    g_signal_connect(server, "request-started", G_CALLBACK(onStarted), this);
    for (const char* signal : {"request-read", "request-finished", "request-aborted"}) {
        g_signal_connect(server, signal, G_CALLBACK(onArrivedOrGone), this);
    }
}

SoupConnectionGuard::~SoupConnectionGuard() {
    g_signal_handlers_disconnect_by_data(m_server, this);
    if (m_timer != 0) {
        g_source_remove(m_timer);
    }
    while (!m_waiting.empty()) {
        _forget(m_waiting.begin()->first);
    }
    g_object_unref(m_server);
}

void SoupConnectionGuard::onStarted(SoupServer*, SoupServerMessage* message, gpointer self) {
    auto* guard = static_cast<SoupConnectionGuard*>(self);
    GSocket* socket = soup_server_message_get_socket(message);
    const char* host = soup_server_message_get_remote_host(message);
    if (socket == nullptr) {
        return;
    }
    const std::string address = host != nullptr ? host : "";
    unsigned int fromAddress = 0;
    auto oldest = guard->m_waiting.end();
    for (auto it = guard->m_waiting.begin(); it != guard->m_waiting.end(); ++it) {
        fromAddress += it->second.address == address ? 1 : 0;
        if (oldest == guard->m_waiting.end() || it->second.deadline < oldest->second.deadline) {
            oldest = it;
        }
    }
    const gint64 deadline =
        g_get_monotonic_time() + static_cast<gint64>(guard->m_limits.arrival.count()) * 1000;
    auto added = guard->m_waiting
                     .emplace(SOUP_SERVER_MESSAGE(g_object_ref(message)),
                              Waiting{G_SOCKET(g_object_ref(socket)), address, deadline})
                     .first;
    if (fromAddress >= guard->m_limits.perAddress) {
        guard->_cut(added);
        return;
    }
    if (guard->m_waiting.size() > guard->m_limits.total && oldest != guard->m_waiting.end()) {
        guard->_cut(oldest);
    }
    if (guard->m_timer == 0) {
        guard->m_timer = g_timeout_add(250, onTick, guard);
    }
}

void SoupConnectionGuard::onArrivedOrGone(SoupServer*, SoupServerMessage* message, gpointer self) {
    static_cast<SoupConnectionGuard*>(self)->_forget(message);
}

gboolean SoupConnectionGuard::onTick(gpointer self) {
    auto* guard = static_cast<SoupConnectionGuard*>(self);
    const gint64 now = g_get_monotonic_time();
    for (auto it = guard->m_waiting.begin(); it != guard->m_waiting.end();) {
        auto next = std::next(it);
        if (it->second.deadline <= now) {
            guard->_cut(it);
        }
        it = next;
    }
    if (guard->m_waiting.empty()) {
        guard->m_timer = 0;
        return G_SOURCE_REMOVE;
    }
    return G_SOURCE_CONTINUE;
}

void SoupConnectionGuard::_cut(std::map<SoupServerMessage*, Waiting>::iterator it) {
    g_socket_shutdown(it->second.socket, TRUE, TRUE, nullptr);
    _forget(it->first);
}

void SoupConnectionGuard::_forget(SoupServerMessage* message) {
    auto it = m_waiting.find(message);
    if (it == m_waiting.end()) {
        return;
    }
    g_object_unref(it->second.socket);
    m_waiting.erase(it);
    g_object_unref(message);
}

}  // namespace ipc_platform
