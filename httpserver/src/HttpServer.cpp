// The HTTP front: a libmicrohttpd daemon that turns each POST body into one delivered request.
#include "HttpServer.h"

#include <microhttpd.h>
#include <netinet/in.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace ipsvr {

namespace {

// Stop gives pending requests this long to get their 503 out before connections are cut.
constexpr std::chrono::seconds kStopGrace(1);
// Each connection's buffer for the request line, header and read data, which libmicrohttpd
// clears after every request: half its default of 32 KiB, which still takes a request line and
// header of about 16 KiB (431 beyond).
constexpr size_t kConnectionMemory = 16 * 1024;

// What the server keeps of one request while libmicrohttpd handles its connection.
struct RequestContext {
    std::string body;
    unsigned int clientId = 0;  // set once the request is delivered
    bool tooLarge = false;
};

// The answer to requests caught by a stop; their connections close with it.
Reply stopping() {
    Reply reply = Reply::withStatus(MHD_HTTP_SERVICE_UNAVAILABLE);
    reply.last = true;
    return reply;
}

MHD_Result queue(MHD_Connection* connection, const Reply& reply) {
    if (reply.drop) {
        return MHD_NO;
    }
    MHD_Response* response = MHD_create_response_from_buffer(
        reply.body.size(), const_cast<char*>(reply.body.data()), MHD_RESPMEM_MUST_COPY);
    if (response == nullptr) {
        return MHD_NO;
    }
    if (reply.json) {
        MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, "application/json");
    }
    if (reply.last) {
        MHD_add_response_header(response, MHD_HTTP_HEADER_CONNECTION, "close");
    }
    if (reply.status == MHD_HTTP_METHOD_NOT_ALLOWED) {
        MHD_add_response_header(response, MHD_HTTP_HEADER_ALLOW, MHD_HTTP_METHOD_POST);
    }
    MHD_Result result = MHD_queue_response(connection, reply.status, response);
    MHD_destroy_response(response);
    return result;
}

bool declaresTooLargeBody(MHD_Connection* connection) {
    const char* length =
        MHD_lookup_connection_value(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_CONTENT_LENGTH);
    return length != nullptr && std::strtoull(length, nullptr, 10) > HttpServer::kMaxBodySize;
}

// The listening socket, made here rather than by libmicrohttpd so that a failure keeps its
// reason. Where the system has IPv6, one socket serves both families and IPv4 peers appear as
// IPv4-mapped addresses; otherwise IPv4 alone. -1 with errno set on failure.
int listenOn(unsigned short port) {
    sockaddr_storage address = {};
    socklen_t length = sizeof(sockaddr_in6);
    int fd = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd >= 0) {
        auto& v6 = reinterpret_cast<sockaddr_in6&>(address);
        v6.sin6_family = AF_INET6;
        v6.sin6_port = htons(port);
        v6.sin6_addr = in6addr_any;
        const int off = 0;
        setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
    } else {
        fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        auto& v4 = reinterpret_cast<sockaddr_in&>(address);
        v4.sin_family = AF_INET;
        v4.sin_port = htons(port);
        v4.sin_addr.s_addr = htonl(INADDR_ANY);
        length = sizeof(sockaddr_in);
    }
    const int on = 1;
    if (fd < 0 || setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        bind(fd, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(fd, SOMAXCONN) != 0) {
        const int error = errno;
        if (fd >= 0) {
            close(fd);
        }
        errno = error;
        return -1;
    }
    return fd;
}

unsigned short boundPort(int fd) {
    sockaddr_storage address = {};
    socklen_t length = sizeof address;
    if (getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        return 0;
    }
    return ntohs(address.ss_family == AF_INET6
                     ? reinterpret_cast<const sockaddr_in6&>(address).sin6_port
                     : reinterpret_cast<const sockaddr_in&>(address).sin_port);
}

}  // namespace

struct HttpServer::Handlers {
    static MHD_Result access(void* self, MHD_Connection* connection, const char* /*url*/,
                             const char* method, const char* /*version*/, const char* data,
                             size_t* size, void** context) {
        auto* server = static_cast<HttpServer*>(self);
        auto* request = static_cast<RequestContext*>(*context);
        if (request == nullptr) {
            // Headers are in; the body, if any, follows in later calls.
            if (std::strcmp(method, MHD_HTTP_METHOD_POST) != 0) {
                server->m_guard.arrived(connection);
                return queue(connection, Reply::withStatus(MHD_HTTP_METHOD_NOT_ALLOWED));
            }
            *context = new RequestContext;
            if (declaresTooLargeBody(connection)) {
                server->m_guard.arrived(connection);
                return queue(connection, Reply::withStatus(MHD_HTTP_CONTENT_TOO_LARGE));
            }
            return MHD_YES;
        }
        if (request->clientId != 0) {
            // The suspended connection was resumed by an answer, a deadline or a hang-up.
            return queue(connection, server->m_pending.takeReply(request->clientId));
        }
        if (*size != 0) {
            if (request->body.size() + *size > kMaxBodySize) {
                request->tooLarge = true;  // chunked bodies have no length to check up front
                std::string().swap(request->body);
            } else if (!request->tooLarge) {
                request->body.append(data, *size);
            }
            *size = 0;
            return MHD_YES;
        }
        // The whole request is in: from here it waits for its answer, which is not slowness.
        server->m_guard.arrived(connection);
        if (request->tooLarge) {
            return queue(connection, Reply::withStatus(MHD_HTTP_CONTENT_TOO_LARGE));
        }
        // The application gets a C string; a body with a NUL in it would arrive cut short.
        if (request->body.find('\0') != std::string::npos) {
            return queue(connection, Reply::withStatus(MHD_HTTP_BAD_REQUEST));
        }
        std::optional<Reply> reply = server->_deliver(connection, request->body, request->clientId);
        if (reply) {
            return queue(connection, *reply);
        }
        std::string().swap(request->body);  // not needed while waiting
        return MHD_YES;
    }

    static void completed(void* self, MHD_Connection* connection, void** context,
                          MHD_RequestTerminationCode /*code*/) {
        auto* server = static_cast<HttpServer*>(self);
        server->m_guard.answered(connection);
        auto* request = static_cast<RequestContext*>(*context);
        if (request == nullptr) {
            return;
        }
        if (request->clientId != 0) {
            server->m_pending.remove(request->clientId);
        }
        delete request;
        *context = nullptr;
    }
};

ConnectionGuard::Limits HttpServer::defaultLimits() {
    return ConnectionGuard::Limits{ConnectionLimits::descriptorShare(4, kMaxConnections),
                                   kConnectionsPerAddress, kArrivalDeadline};
}

HttpServer::HttpServer(Deliver deliver, std::chrono::milliseconds responseTimeout,
                       ConnectionGuard::Limits limits)
    : m_deliver(std::move(deliver)),
      m_responseTimeoutMs(responseTimeout.count()),
      m_pending([this](PendingTable::Clock::time_point due) { m_watchdog.sweepBy(due); }),
      m_watchdog([this](Watchdog::Clock::time_point now) { return m_pending.sweep(now); }),
      m_guard(limits) {}

HttpServer::~HttpServer() {
    stop();
}

int HttpServer::start(unsigned short port) {
    if (m_daemon != nullptr) {
        return EALREADY;
    }
    const int listener = listenOn(port);
    if (listener < 0) {
        return errno;
    }
    // poll rather than epoll: a connection the guard shuts down stays readable until
    // libmicrohttpd closes it, where an edge-triggered wait could miss it and leave it open.
    const unsigned int flags =
        MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_POLL | MHD_ALLOW_SUSPEND_RESUME;
    const ConnectionGuard::Limits& limits = m_guard.limits();
    // libmicrohttpd's idle timeout restarts with every byte; the guard's arrival deadline does
    // not, and it also ends idle keep-alive connections.
    const auto idleSeconds = std::chrono::ceil<std::chrono::seconds>(limits.arrival).count() + 1;
    m_daemon = MHD_start_daemon(
        flags, 0, &ConnectionGuard::admit, &m_guard, &Handlers::access, this,
        MHD_OPTION_LISTEN_SOCKET, listener, MHD_OPTION_CONNECTION_MEMORY_LIMIT, kConnectionMemory,
        MHD_OPTION_CONNECTION_LIMIT, ConnectionGuard::daemonLimit(limits),
        MHD_OPTION_PER_IP_CONNECTION_LIMIT, limits.perAddress, MHD_OPTION_CONNECTION_TIMEOUT,
        static_cast<unsigned int>(idleSeconds), MHD_OPTION_NOTIFY_COMPLETED, &Handlers::completed,
        this, MHD_OPTION_NOTIFY_CONNECTION, &ConnectionGuard::notify, &m_guard, MHD_OPTION_END);
    if (m_daemon == nullptr) {
        close(listener);
        return EIO;
    }
    m_port = boundPort(listener);
    m_watchdog.start();
    m_guard.start();
    return 0;
}

void HttpServer::stop() {
    if (m_daemon == nullptr) {
        return;
    }
    // No new connections from here on; the listening socket may only be closed once the daemon
    // is gone.
    MHD_socket listener = MHD_quiesce_daemon(m_daemon);
    // libmicrohttpd must not be stopped with suspended connections: every one is resumed here.
    m_pending.close(stopping(), kStopGrace);
    m_watchdog.stop();
    MHD_stop_daemon(m_daemon);
    m_guard.stop();
    m_daemon = nullptr;
    m_port = 0;
    if (listener != MHD_INVALID_SOCKET) {
        ::close(listener);
    }
}

bool HttpServer::addConnection(int socket, const sockaddr* peer, socklen_t peerLength) {
    if (m_daemon == nullptr) {
        ::close(socket);
        return false;
    }
    // libmicrohttpd closes the socket itself when it refuses it.
    return MHD_add_connection(m_daemon, socket, peer, peerLength) == MHD_YES;
}

bool HttpServer::respond(unsigned int clientId, Reply reply) {
    return m_pending.resolve(clientId, std::move(reply));
}

std::optional<sockaddr_storage> HttpServer::peerOf(unsigned int clientId) const {
    return m_pending.peerOf(clientId);
}

void HttpServer::setResponseTimeout(std::chrono::milliseconds timeout) {
    m_responseTimeoutMs = timeout.count();
}

std::optional<Reply> HttpServer::_deliver(MHD_Connection* connection, const std::string& body,
                                          unsigned int& clientId) {
    sockaddr_storage peer = {};
    const MHD_ConnectionInfo* address =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
    if (address != nullptr && address->client_addr != nullptr) {
        size_t length = address->client_addr->sa_family == AF_INET6 ? sizeof(sockaddr_in6)
                                                                    : sizeof(sockaddr_in);
        std::memcpy(&peer, address->client_addr, length);
    }
    const MHD_ConnectionInfo* socket =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    std::chrono::milliseconds timeout(m_responseTimeoutMs.load());

    clientId =
        m_pending.add(connection, socket != nullptr ? socket->connect_fd : -1, peer, timeout);
    if (clientId == 0) {
        return stopping();
    }
    if (!m_deliver(clientId, body.c_str())) {
        m_pending.resolve(clientId, Reply::withStatus(MHD_HTTP_SERVICE_UNAVAILABLE));
    }
    return m_pending.suspendUnlessResolved(clientId);
}

}  // namespace ipsvr
