// The ucf_* operations on GUPnP: contexts, root devices, actions and events. Main-loop only.
#include "ucf.h"

#include "PlatformRuntime.h"
#include "SoupConnectionGuard.h"
#include "UcfBodies.h"
#include "UcfXmlLog.h"

#include <libgupnp/gupnp.h>
#include <libsoup/soup.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

struct ActionHandler {
    ucf_action_request_cb callback = nullptr;
    void* userData = nullptr;
};
struct SubscribeHandler {
    ucf_subscribe_cb callback = nullptr;
    void* userData = nullptr;
};

// One hosted service; its paths tell requests for it apart.
struct HostedService {
    GUPnPService* service;  // owned
    std::string controlPath;
    std::string eventPath;
    std::string type;
    std::set<std::string> listed;   // the action names of its service description
    std::set<std::string> actions;  // action names connected so far
};

// One registered description, announced once per network context.
struct Device {
    std::string descriptionPath;
    std::string udn;
    bool started = false;
    std::vector<GUPnPRootDevice*> roots;  // owned, one per context
    std::vector<HostedService> services;
};

// A SUBSCRIBE that opens a subscription, while GUPnP answers it: the framework's first event for
// the new subscriber, asked for once. Kept on the message.
struct NewSubscriber {
    bool told = false;
    ucf::NamedTexts properties;
};
constexpr char kNewSubscriber[] = "ucf-new-subscriber";

// All state lives on the main loop; nothing here is touched from another thread.
struct State {
    unsigned port = 0;
    GUPnPContextManager* manager = nullptr;
    std::vector<GUPnPContext*> contexts;  // owned
    std::map<int, Device> devices;
    int nextHandle = 1;
    bool suspended = false;  // no device is advertised while the core is suspended
    std::map<std::string, ActionHandler> actions;        // key: udn + "|" + service type
    std::map<std::string, SubscribeHandler> subscribes;  // same key
    // The SUBSCRIBE whose handler runs (GUPnP builds the first NOTIFY inside it); a weak pointer.
    SoupServerMessage* subscribing = nullptr;
    NewSubscriber* telling = nullptr;  // filled by ucf_send_initial_event during the callback
    std::string product = "ipcontrol-platform/" IPC_VERSION;  // as the device names itself
};
State g_state;
const goffset kMaxBodyBytes = 64 * 1024;  // SOAP requests and NOTIFY-sized bodies are far smaller

std::string key(const char* udn, const char* type) {
    return std::string(udn != nullptr ? udn : "") + "|" + (type != nullptr ? type : "");
}

xmlNode* findUdnElement(xmlNode* node) {
    for (; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE &&
            std::strcmp(reinterpret_cast<const char*>(node->name), "UDN") == 0) {
            return node;
        }
        if (xmlNode* found = findUdnElement(node->children)) {
            return found;
        }
    }
    return nullptr;
}

// A UDN that stays the same for this machine and this description file, so control points
// recognise the TV across restarts and repairs of its web root, while two services with
// different data folders on one machine differ.
std::string stableUdn(const std::string& path) {
    std::string seed = g_get_host_name();
    gchar* machineId = nullptr;
    if (g_file_get_contents("/etc/machine-id", &machineId, nullptr, nullptr)) {
        seed = g_strstrip(machineId);
    }
    g_free(machineId);
    char* real = realpath(path.c_str(), nullptr);
    seed += "|";
    seed += real != nullptr ? real : path.c_str();
    free(real);
    gchar* digest = g_compute_checksum_for_string(G_CHECKSUM_SHA1, seed.c_str(), -1);
    std::string hex(digest, 32);
    g_free(digest);
    hex[12] = '5';  // name-based version
    hex[16] = "89ab"[std::strtol(hex.substr(16, 1).c_str(), nullptr, 16) & 3];  // variant
    return "uuid:" + hex.substr(0, 8) + "-" + hex.substr(8, 4) + "-" + hex.substr(12, 4) + "-" +
           hex.substr(16, 4) + "-" + hex.substr(20, 12);
}

// The description's UDN; an empty one is filled with the stable UDN and the file rewritten
// (through a temporary file, so a failure leaves the old one).
std::string readOrAssignUdn(const std::string& path) {
    ucf::Doc owned = ucf::readDocumentFile(path, XML_PARSE_NOBLANKS);
    xmlDoc* doc = owned.get();
    if (doc == nullptr) {
        return "";
    }
    std::string udn;
    xmlNode* element = findUdnElement(xmlDocGetRootElement(doc));
    if (element != nullptr) {
        xmlChar* text = xmlNodeGetContent(element);
        udn = g_strstrip(reinterpret_cast<char*>(text));
        xmlFree(text);
        if (udn.empty()) {
            udn = stableUdn(path);
            xmlNodeSetContent(element, reinterpret_cast<const xmlChar*>(udn.c_str()));
            const std::string temporary = path + ".tmp";
            if (xmlSaveFormatFileEnc(temporary.c_str(), doc, "UTF-8", 1) < 0 ||
                std::rename(temporary.c_str(), path.c_str()) != 0) {
                g_warning("ucf: cannot write the UDN into %s", path.c_str());
                udn.clear();
            }
        }
    }
    return udn;
}

// The neighbour table entry for an IPv4 address, or "" when there is none.
std::string lookupMac(const char* ip) {
    std::ifstream arp("/proc/net/arp");
    std::string line;
    std::getline(arp, line);
    while (std::getline(arp, line)) {
        char address[64] = {0};
        char mac[64] = {0};
        if (std::sscanf(line.c_str(), "%63s %*s %*s %63s", address, mac) == 2 &&
            std::strcmp(address, ip) == 0) {
            return mac;
        }
    }
    return "";
}

std::string serviceUdn(GUPnPService* service) {
    const char* udn = gupnp_service_info_get_udn(GUPNP_SERVICE_INFO(service));
    return udn != nullptr ? udn : "";
}

// A SOAPAction header, "\"<service type>#<action>\"", split; false when it has no '#'. While
// GUPnP dispatches an action it has cut the header at the '#', so only the type is left.
bool splitSoapAction(const char* header, std::string& type, std::string& name) {
    std::string text = header != nullptr ? header : "";
    if (!text.empty() && text.front() == '"') {
        text.erase(0, 1);
    }
    if (!text.empty() && text.back() == '"') {
        text.pop_back();
    }
    const size_t hash = text.find('#');
    type = text.substr(0, hash);
    name = hash == std::string::npos ? "" : text.substr(hash + 1);
    return hash != std::string::npos;
}

std::string serviceKey(GUPnPService* service) {
    return key(serviceUdn(service).c_str(),
               gupnp_service_info_get_service_type(GUPNP_SERVICE_INFO(service)));
}

std::string urlPath(const char* url) {
    GUri* uri = url != nullptr ? g_uri_parse(url, G_URI_FLAGS_NONE, nullptr) : nullptr;
    std::string path = uri != nullptr ? g_uri_get_path(uri) : "";
    if (uri != nullptr) {
        g_uri_unref(uri);
    }
    return path;
}

HostedService* serviceByEventPath(const std::string& path) {
    for (auto& entry : g_state.devices) {
        for (HostedService& hosted : entry.second.services) {
            if (hosted.eventPath == path) {
                return &hosted;
            }
        }
    }
    return nullptr;
}

void setSubscribing(SoupServerMessage* message) {
    auto** slot = reinterpret_cast<gpointer*>(&g_state.subscribing);
    if (g_state.subscribing != nullptr) {
        g_object_remove_weak_pointer(G_OBJECT(g_state.subscribing), slot);
    }
    g_state.subscribing = message;
    if (message != nullptr) {
        g_object_add_weak_pointer(G_OBJECT(message), slot);
    }
}

// A SUBSCRIBE without SID opens a subscription; GUPnP's handler, which runs right after this,
// answers it and sends the first NOTIFY.
void noteNewSubscriber(SoupServerMessage* message) {
    if (std::strcmp(soup_server_message_get_method(message), "SUBSCRIBE") != 0 ||
        soup_message_headers_get_one(soup_server_message_get_request_headers(message), "SID") !=
            nullptr ||
        serviceByEventPath(g_uri_get_path(soup_server_message_get_uri(message))) == nullptr) {
        return;
    }
    g_object_set_data_full(G_OBJECT(message), kNewSubscriber, new NewSubscriber,
                           [](gpointer data) { delete static_cast<NewSubscriber*>(data); });
    setSubscribing(message);
}

// The framework is told of the new subscriber once its SID is set, and gives the body of its
// first event through ucf_send_initial_event. Null when the message opens no subscription.
NewSubscriber* tellFramework(SoupServerMessage* message) {
    auto* subscriber =
        static_cast<NewSubscriber*>(g_object_get_data(G_OBJECT(message), kNewSubscriber));
    const char* sid =
        soup_message_headers_get_one(soup_server_message_get_response_headers(message), "SID");
    if (subscriber == nullptr || subscriber->told || sid == nullptr) {
        return subscriber;
    }
    subscriber->told = true;
    HostedService* hosted =
        serviceByEventPath(g_uri_get_path(soup_server_message_get_uri(message)));
    auto handler = hosted != nullptr ? g_state.subscribes.find(serviceKey(hosted->service))
                                     : g_state.subscribes.end();
    if (handler != g_state.subscribes.end()) {
        g_state.telling = subscriber;
        handler->second.callback(
            gupnp_service_info_get_service_type(GUPNP_SERVICE_INFO(hosted->service)), sid,
            handler->second.userData);
        g_state.telling = nullptr;
    }
    return subscriber;
}

// The subscription is answered. A service whose description lists no evented variable got its
// first NOTIFY without GUPnP asking for any: the framework is told now.
void onRequestFinished(SoupServer*, SoupServerMessage* message, gpointer) {
    if (message == g_state.subscribing) {
        setSubscribing(nullptr);
    }
    if (soup_server_message_get_status(message) == SOUP_STATUS_OK) {
        tellFramework(message);
    }
}

void onActionInvoked(GUPnPService* service, GUPnPServiceAction* action, gpointer) {
    const char* type = gupnp_service_info_get_service_type(GUPNP_SERVICE_INFO(service));
    auto handler = g_state.actions.find(serviceKey(service));
    if (handler == g_state.actions.end()) {
        gupnp_service_action_return_error(action, 401, "Invalid Action");
        return;
    }
    SoupServerMessage* message = gupnp_service_action_get_message(action);
    ucf::NamedTexts arguments;
    SoupMessageBody* body = soup_server_message_get_request_body(message);
    if (body != nullptr && body->data != nullptr) {
        ucf::parseActionRequest(body->data, static_cast<size_t>(body->length), arguments);
    }
    std::vector<ucf_action_argument> cArguments;
    for (const auto& argument : arguments) {
        cArguments.push_back({argument.first.c_str(), argument.second.c_str()});
    }
    const char* ip = soup_server_message_get_remote_host(message);
    const std::string mac = ip != nullptr ? lookupMac(ip) : "";
    GUPnPContext* context = gupnp_service_info_get_context(GUPNP_SERVICE_INFO(service));
    ucf_control_point_info info{};
    info.interface_name = gssdp_client_get_interface(GSSDP_CLIENT(context));
    info.ip_address = ip;
    info.mac_address = mac.c_str();
    info.user_agent = soup_message_headers_get_one(soup_server_message_get_request_headers(message),
                                                   "User-Agent");
    // The type the control point named decides the service; GUPnP routed by path alone.
    const char* soapAction = soup_message_headers_get_one(
        soup_server_message_get_request_headers(message), "SOAPAction");
    std::string requestedType;
    std::string name;
    splitSoapAction(soapAction, requestedType, name);
    if (requestedType.empty()) {
        requestedType = type;
    }
    // The answer comes through ucf_send_action_response with the action as request context.
    handler->second.callback(gupnp_service_action_get_name(action), requestedType.c_str(),
                             cArguments.data(), static_cast<int>(cArguments.size()), &info, action,
                             handler->second.userData);
    g_object_unref(message);
}

// GUPnP asks for each evented variable of the description when it builds a new subscriber's
// first NOTIFY; it carries exactly the properties of the framework's first event. A variable left
// without a value is left out of it.
void onQueryVariable(GUPnPService* service, const char* variable, GValue* value, gpointer) {
    SoupServerMessage* message = g_state.subscribing;
    HostedService* hosted =
        message != nullptr
            ? serviceByEventPath(g_uri_get_path(soup_server_message_get_uri(message)))
            : nullptr;
    NewSubscriber* subscriber =
        hosted != nullptr && hosted->service == service ? tellFramework(message) : nullptr;
    if (subscriber == nullptr) {
        return;
    }
    for (const auto& property : subscriber->properties) {
        if (property.first == variable) {
            g_value_init(value, G_TYPE_STRING);
            g_value_set_string(value, property.second.c_str());
            return;
        }
    }
}

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

std::string serverId();

// An answer the layer gives itself, before GUPnP's handlers (which name the server on theirs).
void refuseWithStatus(SoupServerMessage* message, guint status, const char* reason) {
    soup_message_headers_replace(soup_server_message_get_response_headers(message), "Server",
                                 serverId().c_str());
    soup_server_message_set_status(message, status, reason);
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

// A UPnP fault answered by the layer itself, before GUPnP reads the request.
void refuseAction(SoupServerMessage* message, int code, const char* description) {
    gchar* body = g_strdup_printf(
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
        "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\" "
        "s:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\"><s:Body><s:Fault>"
        "<faultcode>s:Client</faultcode><faultstring>UPnPError</faultstring><detail>"
        "<UPnPError xmlns=\"urn:schemas-upnp-org:control-1-0\"><errorCode>%d</errorCode>"
        "<errorDescription>%s</errorDescription></UPnPError></detail></s:Fault></s:Body>"
        "</s:Envelope>\n",
        code, description);
    soup_server_message_set_response(message, "text/xml; charset=\"utf-8\"", SOUP_MEMORY_TAKE, body,
                                     std::strlen(body));
    refuseWithStatus(message, SOUP_STATUS_INTERNAL_SERVER_ERROR, nullptr);
}

// The control request's body as far as the layer checks it before GUPnP parses it: a document
// type declaration is refused (402, the arguments cannot be read), so GUPnP's own parse never
// meets an entity declaration.
bool acceptableBody(SoupServerMessage* message) {
    SoupMessageBody* body = soup_server_message_get_request_body(message);
    if (body == nullptr || body->data == nullptr ||
        !ucf::hasDocumentType(body->data, static_cast<size_t>(body->length))) {
        return true;
    }
    refuseAction(message, 402, "Invalid Args");
    return false;
}

// GUPnP keeps every action name it is asked for (as a signal detail, for good), so a name no
// service description lists is answered here, before GUPnP sees it, the way the framework would:
// 402 for a service type the device does not have, 401 for an action its service does not
// list. QueryStateVariable is GUPnP's own to answer.
bool listedAction(SoupServerMessage* message, const Device& device, const HostedService& target,
                  std::string type, const std::string& name) {
    if (name == "QueryStateVariable") {
        return true;
    }
    if (type.empty()) {
        type = target.type;
    }
    bool typeKnown = false;
    for (const HostedService& hosted : device.services) {
        if (hosted.type == type) {
            typeKnown = true;
            if (hosted.listed.count(name) != 0) {
                return true;
            }
        }
    }
    if (typeKnown) {
        refuseAction(message, 401, "Invalid Action");
    } else {
        refuseAction(message, 402, "Invalid Args");
    }
    return false;
}

// GUPnP answers 401 itself unless a handler is connected for the action's own name, so each
// listed name gets one as its first request arrives.
void onRequestRead(SoupServer*, SoupServerMessage* message, gpointer) {
    if (std::strcmp(soup_server_message_get_method(message), "POST") != 0 ||
        soup_server_message_get_status(message) != 0) {
        return;
    }
    const char* soapAction = soup_message_headers_get_one(
        soup_server_message_get_request_headers(message), "SOAPAction");
    std::string type;
    std::string name;
    if (!splitSoapAction(soapAction, type, name)) {
        return;
    }
    const std::string path = g_uri_get_path(soup_server_message_get_uri(message));
    for (auto& entry : g_state.devices) {
        for (HostedService& hosted : entry.second.services) {
            if (hosted.controlPath != path) {
                continue;
            }
            if (!acceptableBody(message) ||
                !listedAction(message, entry.second, hosted, type, name)) {
                return;
            }
            if (hosted.actions.insert(name).second) {
                const std::string signal = "action-invoked::" + name;
                g_signal_connect(hosted.service, signal.c_str(), G_CALLBACK(onActionInvoked),
                                 nullptr);
            }
        }
    }
}

// The Server header of SSDP and HTTP: the platform and the product, never the build machine's
// kernel release (GUPnP's default).
std::string serverId() {
    return "Linux/" IPC_VERSION " UPnP/1.0 " + g_state.product;
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

bool advertised(const Device& device) {
    return device.started && !g_state.suspended;
}

// The actions of a service's description, read from the file GUPnP serves it from; none when
// the file cannot be read.
std::set<std::string> listedActions(const Device& device, GUPnPService* service) {
    gchar* scpdUrl = gupnp_service_info_get_scpd_url(GUPNP_SERVICE_INFO(service));
    gchar* folder = g_path_get_dirname(device.descriptionPath.c_str());
    std::vector<std::string> names;
    ucf::readActionNames(folder + urlPath(scpdUrl), names);
    g_free(folder);
    g_free(scpdUrl);
    return std::set<std::string>(names.begin(), names.end());
}

void announce(Device& device, GUPnPContext* context) {
    GError* error = nullptr;
    gchar* folder = g_path_get_dirname(device.descriptionPath.c_str());
    GUPnPRootDevice* root =
        gupnp_root_device_new(context, device.descriptionPath.c_str(), folder, &error);
    g_free(folder);
    if (root == nullptr) {
        g_warning("ucf: cannot load %s: %s", device.descriptionPath.c_str(), error->message);
        g_error_free(error);
        return;
    }
    GList* services = gupnp_device_info_list_services(GUPNP_DEVICE_INFO(root));
    for (GList* item = services; item != nullptr; item = item->next) {
        GUPnPService* service = GUPNP_SERVICE(item->data);
        gchar* controlUrl = gupnp_service_info_get_control_url(GUPNP_SERVICE_INFO(service));
        gchar* eventUrl =
            gupnp_service_info_get_event_subscription_url(GUPNP_SERVICE_INFO(service));
        g_signal_connect(service, "query-variable", G_CALLBACK(onQueryVariable), nullptr);
        // takes the list's reference
        device.services.push_back({service,
                                   urlPath(controlUrl),
                                   urlPath(eventUrl),
                                   gupnp_service_info_get_service_type(GUPNP_SERVICE_INFO(service)),
                                   listedActions(device, service),
                                   {}});
        g_free(controlUrl);
        g_free(eventUrl);
    }
    g_list_free(services);
    gupnp_root_device_set_available(root, advertised(device));
    device.roots.push_back(root);
}

void withdraw(Device& device, GUPnPContext* context) {
    for (auto it = device.services.begin(); it != device.services.end();) {
        if (context == nullptr ||
            gupnp_service_info_get_context(GUPNP_SERVICE_INFO(it->service)) == context) {
            g_object_unref(it->service);
            it = device.services.erase(it);
        } else {
            ++it;
        }
    }
    // An advertised root device says goodbye as it goes: GSSDP sends the byebye of every
    // resource at once when the group is disposed while available. Making it unavailable first
    // would only queue them behind its pacing timer, and the unref below drops that queue.
    for (auto it = device.roots.begin(); it != device.roots.end();) {
        if (context == nullptr ||
            gupnp_device_info_get_context(GUPNP_DEVICE_INFO(*it)) == context) {
            g_object_unref(*it);
            it = device.roots.erase(it);
        } else {
            ++it;
        }
    }
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

Device* findDevice(int handle) {
    auto it = g_state.devices.find(handle);
    return it == g_state.devices.end() ? nullptr : &it->second;
}

// Advertising ends with the root devices themselves, so that every byebye is sent before the
// stop returns (the daemon may leave its main loop right after); their subscribers go with them.
// Advertising again makes new ones.
void advertise(Device& device) {
    if (device.roots.empty()) {
        for (GUPnPContext* context : g_state.contexts) {
            announce(device, context);
        }
    }
    for (GUPnPRootDevice* root : device.roots) {
        gupnp_root_device_set_available(root, advertised(device));
    }
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

int ucf_register_device(const char* description_path, const char*, ucf_device_info* out_info) {
    if (description_path == nullptr || out_info == nullptr) {
        return -1;
    }
    Device device;
    device.descriptionPath = description_path;
    device.udn = readOrAssignUdn(description_path);
    if (device.udn.empty() || device.udn.size() >= sizeof(out_info->udn)) {
        return -1;
    }
    const int handle = g_state.nextHandle++;
    Device& stored = g_state.devices[handle] = device;
    for (GUPnPContext* context : g_state.contexts) {
        announce(stored, context);
    }
    out_info->handle = handle;
    std::snprintf(out_info->udn, sizeof(out_info->udn), "%s", stored.udn.c_str());
    return 0;
}

int ucf_unregister_device(int handle) {
    Device* device = findDevice(handle);
    if (device == nullptr) {
        return -1;
    }
    withdraw(*device, nullptr);
    g_state.devices.erase(handle);
    return 0;
}

// Access decisions stay with GUPnP's own checks; the listener is accepted but not consulted.
int ucf_set_acl_listener_cb(int handle, ucf_acl_listener_cb, void*) {
    return findDevice(handle) != nullptr ? 0 : -1;
}
int ucf_unset_acl_listener_cb(int handle) {
    return findDevice(handle) != nullptr ? 0 : -1;
}
int ucf_set_acl_mode(int handle, int) {
    return findDevice(handle) != nullptr ? 0 : -1;
}

int ucf_set_user_agent(int handle, const char* user_agent) {
    if (findDevice(handle) == nullptr || user_agent == nullptr || *user_agent == '\0') {
        return -1;
    }
    g_state.product = user_agent;
    for (GUPnPContext* context : g_state.contexts) {
        gssdp_client_set_server_id(GSSDP_CLIENT(context), serverId().c_str());
    }
    return 0;
}

int ucf_start_device(int handle) {
    Device* device = findDevice(handle);
    if (device == nullptr) {
        return -1;
    }
    device->started = true;
    advertise(*device);
    return 0;
}

int ucf_stop_device(int handle) {
    Device* device = findDevice(handle);
    if (device == nullptr) {
        return -1;
    }
    device->started = false;
    withdraw(*device, nullptr);
    return 0;
}

int ucf_set_friendly_name(int handle, const char*, const char*) {
    Device* device = findDevice(handle);
    if (device == nullptr) {
        return -1;
    }
    // The description is served from its file, which the caller has rewritten; byebye then
    // alive through the same resource groups keeps the services and their subscribers. Only
    // what is advertised is announced again: a stopped or suspended device stays quiet.
    for (GUPnPRootDevice* root : device->roots) {
        GSSDPResourceGroup* group = gupnp_root_device_get_ssdp_resource_group(root);
        if (gssdp_resource_group_get_available(group)) {
            gssdp_resource_group_set_available(group, FALSE);
            gssdp_resource_group_set_available(group, TRUE);
        }
    }
    return 0;
}

int ucf_set_action_request_handler_cb(const char* udn, const char* service_type,
                                      ucf_action_request_cb callback, void* user_data) {
    if (callback == nullptr) {
        return -1;
    }
    g_state.actions[key(udn, service_type)] = {callback, user_data};
    return 0;
}

int ucf_unset_action_request_handler_cb(const char* udn, const char* service_type) {
    return g_state.actions.erase(key(udn, service_type)) == 1 ? 0 : -1;
}

int ucf_set_service_for_subscribe_cb(const char* udn, const char* service_type,
                                     ucf_subscribe_cb callback, void* user_data) {
    if (callback == nullptr) {
        return -1;
    }
    g_state.subscribes[key(udn, service_type)] = {callback, user_data};
    return 0;
}

int ucf_unset_service_for_subscribe_cb(const char* udn, const char* service_type) {
    return g_state.subscribes.erase(key(udn, service_type)) == 1 ? 0 : -1;
}

int ucf_send_action_response(int http_status, int, const char* body, void* request_context) {
    auto* action = static_cast<GUPnPServiceAction*>(request_context);
    if (action == nullptr || body == nullptr) {
        return -1;
    }
    if (http_status == 200) {
        ucf::NamedTexts arguments;
        if (!ucf::parseResponseArguments(body, arguments)) {
            gupnp_service_action_return_error(action, 501, "Action Failed");
            return -1;
        }
        for (const auto& argument : arguments) {
            GValue value = G_VALUE_INIT;
            g_value_init(&value, G_TYPE_STRING);
            g_value_set_string(&value, argument.second.c_str());
            gupnp_service_action_set_value(action, argument.first.c_str(), &value);
            g_value_unset(&value);
        }
        gupnp_service_action_return_success(action);
        return 0;
    }
    int code = 501;
    std::string description = "Action Failed";
    ucf::parseFault(body, code, description);
    gupnp_service_action_return_error(action, static_cast<guint>(code), description.c_str());
    return 0;
}

// Only from the subscribe callback: the body is what the subscriber's first NOTIFY carries.
int ucf_send_initial_event(int, const char*, const char*, const char* body) {
    if (g_state.telling == nullptr || body == nullptr) {
        return -1;
    }
    return *body == '\0' || ucf::parsePropertySet(body, g_state.telling->properties) ? 0 : -1;
}

int ucf_send_multicast_event(int handle, const char* udn, const char* service_type,
                             const char* body) {
    Device* device = findDevice(handle);
    const std::string serviceKeyText = key(udn, service_type);
    ucf::NamedTexts properties;
    if (device == nullptr || body == nullptr || !ucf::parsePropertySet(body, properties)) {
        return -1;
    }
    for (HostedService& hosted : device->services) {
        if (serviceKey(hosted.service) != serviceKeyText) {
            continue;
        }
        gupnp_service_freeze_notify(hosted.service);
        for (const auto& property : properties) {
            GValue value = G_VALUE_INIT;
            g_value_init(&value, G_TYPE_STRING);
            g_value_set_string(&value, property.second.c_str());
            gupnp_service_notify_value(hosted.service, property.first.c_str(), &value);
            g_value_unset(&value);
        }
        gupnp_service_thaw_notify(hosted.service);
    }
    return 0;
}

int ucf_change_mac_addr_for_widi(const char* mac, char* out, size_t out_size) {
    if (mac == nullptr || out == nullptr || out_size == 0) {
        return -1;
    }
    std::snprintf(out, out_size, "%s", mac);
    return 0;
}

}  // extern "C"
