// The HTTP front: a libmicrohttpd daemon that turns each POST body into one delivered request.
#pragma once

#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "ConnectionGuard.h"
#include "PendingTable.h"
#include "Reply.h"
#include "Watchdog.h"

struct MHD_Daemon;
struct MHD_Connection;

namespace ipsvr {

// One listening server. start() and stop(): one owner thread, never the callback thread.
// respond(), peerOf() and setResponseTimeout(): thread-safe. Deliver: callback thread (the
// libmicrohttpd thread), one request at a time.
class HttpServer {
public:
    // Hands one request body to the application on the server thread; false when nobody
    // listens (the request is then answered 503).
    using Deliver = std::function<bool(unsigned int clientId, const char* body)>;

    static constexpr size_t kMaxBodySize = 64 * 1024;
    static constexpr unsigned int kMaxConnections = 1024;
    static constexpr unsigned int kConnectionsPerAddress = 32;
    static constexpr std::chrono::seconds kArrivalDeadline{10};

    // The connection limits of a server in this process: a quarter of the file descriptors, at
    // most kMaxConnections.
    static ConnectionGuard::Limits defaultLimits();

    HttpServer(Deliver deliver, std::chrono::milliseconds responseTimeout,
               ConnectionGuard::Limits limits = defaultLimits());
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    // Listens on port (0: any free one), IPv6 with IPv4 mapped in, or IPv4 alone where the
    // system has no IPv6. 0, or the errno of the failure (EADDRINUSE: another program has it).
    int start(unsigned short port);
    // Stops listening, answers the pending requests 503 and closes every connection.
    void stop();
    unsigned short port() const { return m_port; }
    // Serves a connected socket as if it had been accepted from peer; the server owns it from
    // here on, also on failure. For feeding the server bytes without a network (fuzzing).
    bool addConnection(int socket, const sockaddr* peer, socklen_t peerLength);

    // Answers a pending request; false when its id is not waiting any more.
    bool respond(unsigned int clientId, Reply reply);
    std::optional<sockaddr_storage> peerOf(unsigned int clientId) const;
    void setResponseTimeout(std::chrono::milliseconds timeout);

private:
    struct Handlers;  // the libmicrohttpd callbacks, defined with the daemon code

    // Registers a complete request and hands it over. The reply when it is settled at once;
    // nothing when the connection now waits for respond().
    std::optional<Reply> _deliver(MHD_Connection* connection, const std::string& body,
                                  unsigned int& clientId);

    const Deliver m_deliver;
    std::atomic<std::chrono::milliseconds::rep> m_responseTimeoutMs;
    PendingTable m_pending;
    Watchdog m_watchdog;
    ConnectionGuard m_guard;
    MHD_Daemon* m_daemon = nullptr;
    unsigned short m_port = 0;
};

}  // namespace ipsvr
