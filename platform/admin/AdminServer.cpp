// The admin server on 127.0.0.1: libmicrohttpd with a thread per connection, the route table,
// the state sections, the event stream and the page's files.
#include "AdminServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <microhttpd.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <json-glib/json-glib.h>

#include "ConnectionGuard.h"
#include "EventStream.h"
#include "PlatformObjects.h"
#include "PlatformLog.h"
#include "WebFiles.h"
#include "dlog.h"

namespace ipc_platform {

namespace {

constexpr char kApiPrefix[] = "/api/";
constexpr char kEventsPath[] = "/api/events";
// Deep enough that a flood of reconnections from peers the guard cuts does not make the kernel
// drop other clients' connection attempts.
constexpr int kListenBacklog = SOMAXCONN;

// What the server keeps of one request while its body arrives.
struct RequestContext {
    std::string body;
    bool tooLarge = false;
};

bool startsWith(const std::string& text, const char* prefix) {
    return text.compare(0, std::strlen(prefix), prefix) == 0;
}

MHD_Result queue(MHD_Connection* connection, unsigned int status, MHD_Response* response) {
    if (response == nullptr) {
        return MHD_NO;
    }
    MHD_add_response_header(response, "X-Content-Type-Options", "nosniff");
    const MHD_Result result = MHD_queue_response(connection, status, response);
    MHD_destroy_response(response);
    return result;
}

MHD_Result queueReply(MHD_Connection* connection, const AdminReply& reply,
                      const std::string& allowed = std::string()) {
    const std::string text = jsonText(reply.body.get());
    MHD_Response* response = MHD_create_response_from_buffer(
        text.size(), const_cast<char*>(text.data()), MHD_RESPMEM_MUST_COPY);
    if (response != nullptr) {
        MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, "application/json");
        MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
        if (!allowed.empty()) {
            MHD_add_response_header(response, MHD_HTTP_HEADER_ALLOW, allowed.c_str());
        }
    }
    return queue(connection, reply.status, response);
}

MHD_Result queueFile(MHD_Connection* connection, const std::string& webDir,
                     const std::string& path) {
    const std::string file = resolveWebFile(webDir, path);
    const int fd = file.empty() ? -1 : open(file.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat info = {};
    if (fd < 0 || fstat(fd, &info) != 0) {
        if (fd >= 0) {
            close(fd);
        }
        static const char kNotFound[] = "not found\n";
        MHD_Response* response = MHD_create_response_from_buffer(
            sizeof kNotFound - 1, const_cast<char*>(kNotFound), MHD_RESPMEM_PERSISTENT);
        MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE,
                                "text/plain; charset=utf-8");
        return queue(connection, MHD_HTTP_NOT_FOUND, response);
    }
    // The response owns the descriptor from here on.
    MHD_Response* response = MHD_create_response_from_fd(static_cast<uint64_t>(info.st_size), fd);
    if (response == nullptr) {
        close(fd);
        return MHD_NO;
    }
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, webContentType(file));
    MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-cache");
    return queue(connection, MHD_HTTP_OK, response);
}

// Why the request is refused as coming from elsewhere than this machine's own page; empty
// when it is not. A Host other than the loopback names means DNS rebinding; an Origin other
// than the Host means another site's page.
std::string originRefusal(MHD_Connection* connection) {
    const char* host = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, "Host");
    if (host != nullptr) {
        const std::string name(host, std::strcspn(host, ":"));
        if (name != "127.0.0.1" && name != "localhost") {
            return "requests must be addressed to 127.0.0.1 or localhost";
        }
    }
    const char* origin = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, "Origin");
    if (origin != nullptr && (host == nullptr || std::string("http://") + host != origin)) {
        return "requests from other sites are refused";
    }
    return std::string();
}

bool declaresTooLargeBody(MHD_Connection* connection) {
    const char* length =
        MHD_lookup_connection_value(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_CONTENT_LENGTH);
    return length != nullptr && std::strtoull(length, nullptr, 10) > AdminServer::kMaxBodySize;
}

bool isBlank(const std::string& text) {
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

bool matches(const std::string& pattern, const std::string& path, std::string& param) {
    if (pattern.size() >= 2 && pattern.compare(pattern.size() - 2, 2, "/*") == 0) {
        const std::string prefix = pattern.substr(0, pattern.size() - 1);
        if (path.size() <= prefix.size() || path.compare(0, prefix.size(), prefix) != 0 ||
            path.find('/', prefix.size()) != std::string::npos) {
            return false;
        }
        param = path.substr(prefix.size());
        return true;
    }
    return path == pattern;
}

void logServerMessage(void* /*unused*/, const char* format, va_list arguments) {
    g_autofree gchar* text = g_strdup_vprintf(format, arguments);
    g_strchomp(text);
    dlog_print(DLOG_WARN, kLogTag, "admin server: %s", text);
}

}  // namespace

struct AdminServer::Handlers {
    static MHD_Result access(void* self, MHD_Connection* connection, const char* url,
                             const char* method, const char* /*version*/, const char* data,
                             size_t* size, void** context) {
        auto* server = static_cast<AdminServer*>(self);
        auto* request = static_cast<RequestContext*>(*context);
        if (request == nullptr) {
            // Headers are in; the body, if any, follows in later calls.
            *context = new RequestContext;
            if (declaresTooLargeBody(connection)) {
                server->m_guard->arrived(connection);
                return queueReply(connection,
                                  AdminReply::error(MHD_HTTP_CONTENT_TOO_LARGE, "body too large"));
            }
            return MHD_YES;
        }
        if (*size != 0) {
            if (request->body.size() + *size > kMaxBodySize) {
                request->tooLarge = true;
                std::string().swap(request->body);
            } else if (!request->tooLarge) {
                request->body.append(data, *size);
            }
            *size = 0;
            return MHD_YES;
        }
        // The whole request is in; an event stream that follows is not a slow client.
        server->m_guard->arrived(connection);
        if (request->tooLarge) {
            return queueReply(connection,
                              AdminReply::error(MHD_HTTP_CONTENT_TOO_LARGE, "body too large"));
        }
        const std::string refusal = originRefusal(connection);
        if (!refusal.empty()) {
            return queueReply(connection, AdminReply::error(MHD_HTTP_FORBIDDEN, refusal));
        }
        const std::string path = url;
        const bool isGet = std::strcmp(method, MHD_HTTP_METHOD_GET) == 0;
        const bool isHead = std::strcmp(method, MHD_HTTP_METHOD_HEAD) == 0;
        if (path == kEventsPath) {
            if (!isGet) {
                return queueReply(
                    connection,
                    AdminReply::error(MHD_HTTP_METHOD_NOT_ALLOWED, "the event stream takes GET"),
                    MHD_HTTP_METHOD_GET);
            }
            return events(server, connection);
        }
        if (startsWith(path, kApiPrefix)) {
            JsonNodePtr body;
            if (!isBlank(request->body)) {
                std::string error;
                body = parseJsonText(request->body, error);
                if (body == nullptr) {
                    return queueReply(
                        connection,
                        AdminReply::error(MHD_HTTP_BAD_REQUEST, "the body is not JSON: " + error));
                }
            }
            AdminRequest routed;
            routed.method = method;
            routed.path = path;
            routed.body = std::move(body);
            MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, &Handlers::addArgument,
                                      &routed.query);
            std::string allowed;
            const AdminReply reply = server->_route(std::move(routed), allowed);
            return queueReply(connection, reply, allowed);
        }
        if (!isGet && !isHead) {
            return queueReply(connection,
                              AdminReply::error(MHD_HTTP_METHOD_NOT_ALLOWED, "files take GET"),
                              "GET, HEAD");
        }
        return queueFile(connection, server->m_webDir, path);
    }

    static MHD_Result addArgument(void* query, MHD_ValueKind /*kind*/, const char* name,
                                  const char* value) {
        static_cast<std::map<std::string, std::string>*>(query)->emplace(
            name, value != nullptr ? value : "");
        return MHD_YES;
    }

    static MHD_Result events(AdminServer* server, MHD_Connection* connection) {
        auto* stream = new EventStream(
            *server->m_broadcaster, [server] { return jsonText(server->state().get()); },
            std::chrono::duration_cast<std::chrono::milliseconds>(kKeepAlive));
        MHD_Response* response = MHD_create_response_from_callback(
            MHD_SIZE_UNKNOWN, 4096, &Handlers::readEvents, stream, &Handlers::freeEvents);
        if (response == nullptr) {
            delete stream;
            return MHD_NO;
        }
        MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, "text/event-stream");
        MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-cache");
        return queue(connection, MHD_HTTP_OK, response);
    }

    static ssize_t readEvents(void* stream, uint64_t /*position*/, char* buffer, size_t max) {
        const ssize_t count = static_cast<EventStream*>(stream)->read(buffer, max);
        return count >= 0 ? count : MHD_CONTENT_READER_END_OF_STREAM;
    }

    static void freeEvents(void* stream) { delete static_cast<EventStream*>(stream); }

    static void completed(void* self, MHD_Connection* connection, void** context,
                          MHD_RequestTerminationCode /*code*/) {
        static_cast<AdminServer*>(self)->m_guard->answered(connection);
        delete static_cast<RequestContext*>(*context);
        *context = nullptr;
    }
};

AdminServer::AdminServer(std::string webDir, ipsvr::ConnectionGuard::Limits limits)
    : m_webDir(std::move(webDir)), m_guard(std::make_unique<ipsvr::ConnectionGuard>(limits)) {
    addRoute(MHD_HTTP_METHOD_GET, "/api/state",
             [this](const AdminRequest&) { return AdminReply::json(state()); });
}

AdminServer::~AdminServer() {
    stop();
}

bool AdminServer::start(unsigned short port, std::string& error) {
    const std::string where = "127.0.0.1:" + std::to_string(port);
    if (m_daemon != nullptr) {
        error = "the admin server already listens on port " + std::to_string(m_port);
        return false;
    }
    // The socket is made here rather than by libmicrohttpd so that a failure names its reason.
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int reuse = 1;
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd < 0 || setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse) != 0 ||
        bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(fd, kListenBacklog) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        if (errno == EADDRINUSE) {
            // Not bad input but a machine where the service cannot run as asked.
            error = "port " + std::to_string(port) +
                    " is already in use by another program; stop it or start with --admin-port N";
            noteFatalError(error);
        } else {
            error = "cannot listen on " + where +
                    " for the TV screen and admin API: " + std::strerror(errno);
        }
        if (fd >= 0) {
            close(fd);
        }
        return false;
    }
    m_broadcaster->open();
    // A cut connection counts against libmicrohttpd's limit until its thread has ended, which
    // under a flood of reconnections lags behind the cuts: room for as many again as the total.
    const ipsvr::ConnectionGuard::Limits& limits = m_guard->limits();
    const unsigned int daemonLimit = ipsvr::ConnectionGuard::daemonLimit(limits) + limits.total;
    m_daemon = MHD_start_daemon(
        MHD_USE_THREAD_PER_CONNECTION | MHD_USE_POLL_INTERNAL_THREAD | MHD_USE_ITC, 0,
        &ipsvr::ConnectionGuard::admit, m_guard.get(), &Handlers::access, this,
        MHD_OPTION_EXTERNAL_LOGGER, &logServerMessage, nullptr, MHD_OPTION_LISTEN_SOCKET, fd,
        MHD_OPTION_CONNECTION_LIMIT, daemonLimit, MHD_OPTION_PER_IP_CONNECTION_LIMIT,
        limits.perAddress, MHD_OPTION_CONNECTION_TIMEOUT, kIdleTimeoutSeconds,
        MHD_OPTION_NOTIFY_COMPLETED, &Handlers::completed, this, MHD_OPTION_NOTIFY_CONNECTION,
        &ipsvr::ConnectionGuard::notify, m_guard.get(), MHD_OPTION_END);
    if (m_daemon == nullptr) {
        close(fd);
        error = "cannot start the TV screen and admin API on " + where;
        return false;
    }
    m_port = ntohs(address.sin_port);
    m_guard->start();
    return true;
}

void AdminServer::stop() {
    if (m_daemon == nullptr) {
        return;
    }
    // No new connections; the listening socket is closed once the daemon is gone.
    const MHD_socket listener = MHD_quiesce_daemon(m_daemon);
    m_broadcaster->close();  // event streams end, so their threads can be joined
    MHD_stop_daemon(m_daemon);
    m_guard->stop();
    m_daemon = nullptr;
    m_port = 0;
    if (listener != MHD_INVALID_SOCKET) {
        close(listener);
    }
}

void AdminServer::addStateSection(const std::string& name, StateProvider provider) {
    std::lock_guard<std::mutex> lock(m_registryMutex);
    for (auto& section : m_sections) {
        if (section.first == name) {
            section.second = std::move(provider);
            return;
        }
    }
    m_sections.emplace_back(name, std::move(provider));
}

void AdminServer::addRoute(const std::string& method, const std::string& pattern, Handler handler) {
    std::lock_guard<std::mutex> lock(m_registryMutex);
    for (Route& route : m_routes) {
        if (route.method == method && route.pattern == pattern) {
            route.handler = std::move(handler);
            return;
        }
    }
    m_routes.push_back(Route{method, pattern, std::move(handler)});
}

void AdminServer::publishState() {
    m_broadcaster->publish();
}

std::function<void()> AdminServer::publisher() const {
    return [broadcaster = m_broadcaster] { broadcaster->publish(); };
}

JsonNodePtr AdminServer::state() const {
    std::vector<std::pair<std::string, StateProvider>> sections;
    {
        std::lock_guard<std::mutex> lock(m_registryMutex);
        sections = m_sections;
    }
    JsonObject* object = json_object_new();
    for (const auto& [name, provider] : sections) {
        JsonNodePtr value = provider();
        json_object_set_member(object, name.c_str(),
                               value != nullptr ? value.release() : json_node_new(JSON_NODE_NULL));
    }
    JsonNode* node = json_node_new(JSON_NODE_OBJECT);
    json_node_take_object(node, object);
    return JsonNodePtr(node);
}

AdminReply AdminServer::_route(AdminRequest request, std::string& allowed) const {
    const std::string& method = request.method;
    const std::string& path = request.path;
    Handler handler;
    {
        std::lock_guard<std::mutex> lock(m_registryMutex);
        for (const Route& route : m_routes) {
            std::string param;
            if (!matches(route.pattern, path, param)) {
                continue;
            }
            if (route.method == method) {
                handler = route.handler;
                request.param = param;
                break;
            }
            allowed += (allowed.empty() ? "" : ", ") + route.method;
        }
    }
    if (handler) {
        allowed.clear();
        return handler(request);
    }
    if (!allowed.empty()) {
        return AdminReply::error(MHD_HTTP_METHOD_NOT_ALLOWED,
                                 path + " takes " + allowed + ", not " + method);
    }
    return AdminReply::error(MHD_HTTP_NOT_FOUND, "no such API: " + path);
}

}  // namespace ipc_platform
