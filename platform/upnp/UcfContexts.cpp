// The ucf_* operations on GUPnP: the framework core, its network contexts and their ports.
#include "UcfState.h"

#include "PlatformRuntime.h"
#include "SoupConnectionGuard.h"
#include "UcfXmlLog.h"

#include <libsoup/soup.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace ucf::gupnp {
namespace {

const goffset kMaxBodyBytes = 64 * 1024;  // SOAP requests and NOTIFY-sized bodies are far smaller

// Whether a Host header names the context's own address and port (80 when it names none).
// GUPnP checks this for control and eventing only; the layer checks it for every request, the
// description and icons included, so that a page loaded under another name (DNS rebinding)
// cannot read them.
bool hostIsOurs(GUPnPContext* context, const char* host) {
    gchar* name = nullptr;
    gint port = -1;
    const std::string uri = std::string("http://") + (host != nullptr ? host : "");
    const bool parsed = host != nullptr && g_uri_split_network(uri.c_str(), G_URI_FLAGS_NONE,
                                                               nullptr, &name, &port, nullptr);
    const bool ours = parsed &&
                      g_strcmp0(name, gssdp_client_get_host_ip(GSSDP_CLIENT(context))) == 0 &&
                      static_cast<guint>(port == -1 ? 80 : port) == gupnp_context_get_port(context);
    g_free(name);
    return ours;
}

// A request naming another host gets GUPnP's own answer to that (412 "Host header mismatch").
// A body above the limit is refused before it is read; so is a chunked one, whose size is not
// known in advance (UPnP control points always send a length).
void onGotHeaders(SoupServerMessage* message, gpointer context) {
    SoupMessageHeaders* headers = soup_server_message_get_request_headers(message);
    if (!hostIsOurs(GUPNP_CONTEXT(context), soup_message_headers_get_one(headers, "Host"))) {
        refuseWithStatus(message, SOUP_STATUS_PRECONDITION_FAILED, "Host header mismatch");
    } else if (soup_message_headers_get_encoding(headers) == SOUP_ENCODING_CHUNKED) {
        refuseWithStatus(message, SOUP_STATUS_LENGTH_REQUIRED, nullptr);
    } else if (soup_message_headers_get_content_length(headers) > kMaxBodyBytes) {
        refuseWithStatus(message, SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE, nullptr);
    }
}

// libsoup ends the connection after answering an HTTP/1.1 request that asks for it, without
// saying so; a client that keeps connections alive learns it from the answer, errors included.
void onGotHeadersSayClose(SoupServerMessage* message, gpointer) {
    if (soup_server_message_get_http_version(message) == SOUP_HTTP_1_1 &&
        soup_message_headers_header_contains(soup_server_message_get_request_headers(message),
                                             "Connection", "close")) {
        soup_message_headers_replace(soup_server_message_get_response_headers(message),
                                     "Connection", "close");
    }
}

void onRequestStarted(SoupServer*, SoupServerMessage* message, gpointer context) {
    g_signal_connect(message, "got-headers", G_CALLBACK(onGotHeadersSayClose), nullptr);
    g_signal_connect(message, "got-headers", G_CALLBACK(onGotHeaders), context);
}

bool isServicePath(const std::string& path) {
    for (const auto& entry : g_state.devices) {
        for (const HostedService& hosted : entry.second.services) {
            if (hosted.controlPath == path || hosted.eventPath == path) {
                return true;
            }
        }
    }
    return false;
}

// GUPnP names the server on control and event answers itself, from the context's server id;
// the description, SCPD and icons it serves go out without one.
void nameServer(SoupServerMessage* message) {
    if (!isServicePath(g_uri_get_path(soup_server_message_get_uri(message)))) {
        soup_message_headers_replace(soup_server_message_get_response_headers(message), "Server",
                                     serverId().c_str());
    }
}

// Runs before GUPnP's handlers.
void onRequestReadFirst(SoupServer*, SoupServerMessage* message, gpointer) {
    nameServer(message);
    noteNewSubscriber(message);
}

// Each context's description server gets the same connection limits as the HTTP servers.
std::map<GUPnPContext*, std::unique_ptr<ipc_platform::SoupConnectionGuard>> g_guards;

ipsvr::ConnectionLimits upnpLimits() {
    return {ipsvr::ConnectionLimits::descriptorShare(4, 256), 16, std::chrono::seconds(10)};
}

void addContext(GUPnPContext* context) {
    ucf::routeXmlMessages();
    g_state.contexts.push_back(GUPNP_CONTEXT(g_object_ref(context)));
    gssdp_client_set_server_id(GSSDP_CLIENT(context), serverId().c_str());
    g_guards[context] = std::make_unique<ipc_platform::SoupConnectionGuard>(
        gupnp_context_get_server(context), upnpLimits());
    g_message("ucf: UPnP description server on %s:%u",
              gssdp_client_get_host_ip(GSSDP_CLIENT(context)), gupnp_context_get_port(context));
    SoupServer* server = gupnp_context_get_server(context);
    g_signal_connect(server, "request-read", G_CALLBACK(onRequestReadFirst), nullptr);
    g_signal_connect(server, "request-started", G_CALLBACK(onRequestStarted), context);
    g_signal_connect(server, "request-read", G_CALLBACK(onRequestRead), nullptr);
    g_signal_connect(server, "request-finished", G_CALLBACK(onRequestFinished), nullptr);
    for (auto& entry : g_state.devices) {
        announce(entry.second, context);
    }
}

void removeContext(GUPnPContext* context) {
    g_guards.erase(context);
    SoupServer* server = gupnp_context_get_server(context);
    g_signal_handlers_disconnect_by_func(server, reinterpret_cast<gpointer>(onRequestStarted),
                                         context);
    g_signal_handlers_disconnect_by_func(server, reinterpret_cast<gpointer>(onRequestRead),
                                         nullptr);
    g_signal_handlers_disconnect_by_func(server, reinterpret_cast<gpointer>(onRequestReadFirst),
                                         nullptr);
    g_signal_handlers_disconnect_by_func(server, reinterpret_cast<gpointer>(onRequestFinished),
                                         nullptr);
    g_object_unref(context);
}

void onContextAvailable(GUPnPContextManager*, GUPnPContext* context, gpointer) {
    addContext(context);
}

void onContextUnavailable(GUPnPContextManager*, GUPnPContext* context, gpointer) {
    for (auto& entry : g_state.devices) {
        withdraw(entry.second, context);
    }
    for (auto it = g_state.contexts.begin(); it != g_state.contexts.end(); ++it) {
        if (*it == context) {
            g_state.contexts.erase(it);
            removeContext(context);
            break;
        }
    }
}

// GUPnP reports a busy port only as a warning per network context, later; asking first turns
// it into a failure the device can report.
bool portTaken(unsigned port) {
    if (port == 0) {
        return false;
    }
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return false;
    }
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    const bool taken = bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 &&
                       errno == EADDRINUSE;
    close(fd);
    return taken;
}

// GUPnP cannot introspect a service whose description has neither actions nor variables, and
// warns at start that no initial event will follow. Such services are part of this TV, and their
// subscribers get the initial event all the same (an empty property set): the warning would
// only mislead whoever reads the log, so it is logged as debug. The domain's other messages keep
// their level.
constexpr char kEmptyServiceWarning[] =
    "Failed to get SCPD: Service description has neither actions nor variables";

void logGupnpServiceMessage(const gchar* domain, GLogLevelFlags level, const gchar* message,
                            gpointer) {
    if (g_str_has_prefix(message, kEmptyServiceWarning)) {
        level = G_LOG_LEVEL_DEBUG;
    }
    g_log_default_handler(domain, level, message, nullptr);
}

guint g_serviceLogHandler = 0;

}  // namespace

State g_state;

std::string key(const char* udn, const char* type) {
    return std::string(udn != nullptr ? udn : "") + "|" + (type != nullptr ? type : "");
}

std::string serviceUdn(GUPnPService* service) {
    const char* udn = gupnp_service_info_get_udn(GUPNP_SERVICE_INFO(service));
    return udn != nullptr ? udn : "";
}

std::string serviceKey(GUPnPService* service) {
    return key(serviceUdn(service).c_str(),
               gupnp_service_info_get_service_type(GUPNP_SERVICE_INFO(service)));
}

// An answer the layer gives itself, before GUPnP's handlers (which name the server on theirs).
void refuseWithStatus(SoupServerMessage* message, guint status, const char* reason) {
    soup_message_headers_replace(soup_server_message_get_response_headers(message), "Server",
                                 serverId().c_str());
    soup_server_message_set_status(message, status, reason);
}

// The Server header of SSDP and HTTP: the platform and the product, never the build machine's
// kernel release (GUPnP's default).
std::string serverId() {
    return "Linux/" IPC_VERSION " UPnP/1.0 " + g_state.product;
}

}  // namespace ucf::gupnp

using namespace ucf::gupnp;

extern "C" {

int ucf_init_framework_core(void) {
    ucf::routeXmlMessages();
    if (g_serviceLogHandler == 0) {
        g_serviceLogHandler = g_log_set_handler("gupnp-service", G_LOG_LEVEL_WARNING,
                                                logGupnpServiceMessage, nullptr);
    }
    return 0;
}

int ucf_configure_servers(int tcp_port, int multicast_port, int flags) {
    (void)flags;
    // GSSDP always uses the standard SSDP port; only 1900 is accepted.
    if (tcp_port < 0 || tcp_port > 65535 || multicast_port != 1900) {
        return -1;
    }
    g_state.port = static_cast<unsigned>(tcp_port);
    if (ipc_platform::isInitialized() && ipc_platform::options().upnpPort >= 0) {
        g_state.port = static_cast<unsigned>(ipc_platform::options().upnpPort);
    }
    return 0;
}

int ucf_get_server_port(void) {
    return g_state.contexts.empty()
               ? 0
               : static_cast<int>(gupnp_context_get_port(g_state.contexts.front()));
}

int ucf_configure_application_on_all_interfaces(void) {
    return 0;
}

int ucf_start_framework_core(void) {
    if (g_state.manager != nullptr || !g_state.contexts.empty()) {
        return 0;
    }
    if (portTaken(g_state.port)) {
        ipc_platform::reportFatalError("port " + std::to_string(g_state.port) +
                                       " is already in use by another program; stop it or start "
                                       "with --upnp-port N");
        return -1;
    }
    const char* iface = std::getenv("IPC_UPNP_INTERFACE");
    if (iface != nullptr && *iface != '\0') {
        GError* error = nullptr;
        GUPnPContext* context = nullptr;
        // Asked for any port, GSSDP draws one at random and GUPnP's HTTP server then takes the
        // same number, which another program may hold: a few draws make that failure unlikely.
        const int attempts = g_state.port == 0 ? 8 : 1;
        for (int attempt = 0; attempt < attempts && context == nullptr; ++attempt) {
            g_clear_error(&error);
            context = gupnp_context_new_full(iface, nullptr, static_cast<guint16>(g_state.port),
                                             GSSDP_UDA_VERSION_1_0, &error);
        }
        if (context == nullptr) {
            g_warning("ucf: no UPnP context on %s: %s", iface, error->message);
            g_error_free(error);
            return -1;
        }
        addContext(context);
        g_object_unref(context);
        return 0;
    }
    g_state.manager = gupnp_context_manager_create_full(GSSDP_UDA_VERSION_1_0, G_SOCKET_FAMILY_IPV4,
                                                        g_state.port);
    g_signal_connect(g_state.manager, "context-available", G_CALLBACK(onContextAvailable), nullptr);
    g_signal_connect(g_state.manager, "context-unavailable", G_CALLBACK(onContextUnavailable),
                     nullptr);
    return 0;
}

int ucf_start_network_monitor(void) {
    return 0;
}
int ucf_initialize_upnp(int) {
    return 0;
}
int ucf_terminate_upnp(void) {
    return 0;
}
int ucf_stop_network_monitor(void) {
    return 0;
}

int ucf_stop_framework_core(void) {
    for (auto& entry : g_state.devices) {
        withdraw(entry.second, nullptr);
    }
    if (g_state.manager != nullptr) {
        g_signal_handlers_disconnect_by_data(g_state.manager, nullptr);
        g_clear_object(&g_state.manager);
    }
    for (GUPnPContext* context : g_state.contexts) {
        removeContext(context);
    }
    g_state.contexts.clear();
    return 0;
}

int ucf_terminate_framework_core(void) {
    if (g_serviceLogHandler != 0) {
        g_log_remove_handler("gupnp-service", g_serviceLogHandler);
        g_serviceLogHandler = 0;
    }
    const int result = ucf_stop_framework_core();
    ucf::unrouteXmlMessages();
    return result;
}

int ucf_suspend_framework_core(void) {
    g_state.suspended = true;
    for (auto& entry : g_state.devices) {
        if (entry.second.started) {
            withdraw(entry.second, nullptr);
        }
    }
    return 0;
}

int ucf_resume_framework_core(void) {
    g_state.suspended = false;
    for (auto& entry : g_state.devices) {
        advertise(entry.second);
    }
    return 0;
}

}  // extern "C"
