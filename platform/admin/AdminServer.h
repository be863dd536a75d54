// The admin server on 127.0.0.1: the TV screen page, the admin API and its event stream.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "AdminJson.h"
#include "ConnectionLimits.h"
#include "StateBroadcaster.h"

struct MHD_Daemon;
struct MHD_Connection;

namespace ipsvr {
class ConnectionGuard;
}

namespace ipc_platform {

// Serves, on IPv4 loopback only:
// - GET /api/state: one JSON object with a member per state section, in registration order;
// - GET /api/events: server-sent events, the full state at once and after every change;
// - the routes added with addRoute (JSON in and out);
// - any other GET: a file of the web folder (GET / is index.html).
// Requests whose Host is not 127.0.0.1 or localhost, or whose Origin is another site, are
// refused with 403 (a web page elsewhere cannot answer pop-ups or change settings).
//
// Threads: start and stop from one owner thread. addStateSection, addRoute, publishState and
// state are thread-safe. State providers and route handlers run on connection threads
// (libmicrohttpd runs one thread per connection), several at once: they must be thread-safe and
// must not call into the main loop's code directly; work for the main loop is handed over with
// an idle source on the default main context.
class AdminServer {
public:
    using StateProvider = std::function<JsonNodePtr()>;
    using Handler = std::function<AdminReply(const AdminRequest&)>;

    static constexpr size_t kMaxBodySize = 64 * 1024;
    static constexpr unsigned int kMaxConnections = 64;
    static constexpr unsigned int kConnectionsPerAddress = 16;
    static constexpr std::chrono::seconds kArrivalDeadline{10};
    static constexpr unsigned int kIdleTimeoutSeconds = 60;
    static constexpr std::chrono::seconds kKeepAlive{15};

    static ipsvr::ConnectionLimits defaultLimits() {
        return {ipsvr::ConnectionLimits::descriptorShare(4, kMaxConnections),
                kConnectionsPerAddress, kArrivalDeadline};
    }

    // webDir: the folder of the page's files. Connections past the limits are cut, those that
    // have waited longest for a whole request first.
    explicit AdminServer(std::string webDir, ipsvr::ConnectionLimits limits = defaultLimits());
    ~AdminServer();  // out of line: the guard is only declared here
    AdminServer(const AdminServer&) = delete;
    AdminServer& operator=(const AdminServer&) = delete;

    // Listens on 127.0.0.1:port (0: any free port). False with error naming the port when it
    // cannot be bound.
    bool start(unsigned short port, std::string& error);
    // Ends the event streams and closes every connection.
    void stop();
    // The bound port; 0 when not listening.
    unsigned short port() const { return m_port; }

    // Adds a member of the state, or replaces the provider of an existing one. The provider's
    // null result shows as null.
    void addStateSection(const std::string& name, StateProvider provider);
    // Adds a route under /api/. pattern is an exact path, or ends in "/*" to match one more
    // segment, handed over as AdminRequest::param. A later route for the same method and
    // pattern replaces the earlier one.
    void addRoute(const std::string& method, const std::string& pattern, Handler handler);
    // Sends the state to every event stream. Call after any change of a section.
    void publishState();
    // A function that does what publishState() does and stays safe to call after the server is
    // gone, for parts that may report a change while the server is being taken down.
    std::function<void()> publisher() const;
    JsonNodePtr state() const;

private:
    struct Route {
        std::string method;
        std::string pattern;
        Handler handler;
    };
    struct Handlers;  // the libmicrohttpd callbacks

    // What to do with a complete request to /api/ other than the event stream.
    AdminReply _route(AdminRequest request, std::string& allowed) const;

    const std::string m_webDir;
    // Shared with publisher() functions, which may outlive the server.
    const std::shared_ptr<StateBroadcaster> m_broadcaster = std::make_shared<StateBroadcaster>();
    const std::unique_ptr<ipsvr::ConnectionGuard> m_guard;
    MHD_Daemon* m_daemon = nullptr;
    unsigned short m_port = 0;

    // Protects m_sections and m_routes.
    mutable std::mutex m_registryMutex;
    std::vector<std::pair<std::string, StateProvider>> m_sections;
    std::vector<Route> m_routes;
};

}  // namespace ipc_platform
