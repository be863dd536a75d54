// Keeps slow or idle connections from taking the UPnP description server.
#pragma once

#include <libsoup/soup.h>

#include <map>
#include <string>

#include "ConnectionLimits.h"

namespace ipc_platform {

// Watches the requests of one SoupServer, as the HTTP servers' connection guard does for
// libmicrohttpd: a request must arrive whole within the arrival deadline of its start (for a
// keep-alive connection, the end of the previous answer); a peer address may have only so many
// requests arriving at once, the newest beyond that being cut; past the total, the request that
// has waited longest is cut. Cutting shuts the connection's socket down; libsoup then drops it.
// Requests that have arrived whole are not watched.
//
// Main-loop only (libsoup's signals come there).
class SoupConnectionGuard {
public:
    SoupConnectionGuard(SoupServer* server, ipsvr::ConnectionLimits limits);
    ~SoupConnectionGuard();
    SoupConnectionGuard(const SoupConnectionGuard&) = delete;
    SoupConnectionGuard& operator=(const SoupConnectionGuard&) = delete;

private:
    struct Waiting {
        GSocket* socket;  // a reference held while waiting
        std::string address;
        gint64 deadline;  // monotonic, microseconds
    };

    static void onStarted(SoupServer*, SoupServerMessage* message, gpointer self);
    static void onArrivedOrGone(SoupServer*, SoupServerMessage* message, gpointer self);
    static gboolean onTick(gpointer self);
    // Shuts the request's connection down and forgets it.
    void _cut(std::map<SoupServerMessage*, Waiting>::iterator it);
    void _forget(SoupServerMessage* message);

    SoupServer* const m_server;
    const ipsvr::ConnectionLimits m_limits;
    std::map<SoupServerMessage*, Waiting> m_waiting;
    guint m_timer = 0;
};

}  // namespace ipc_platform
