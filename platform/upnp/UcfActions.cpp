// The ucf_* operations on GUPnP: control requests, checked and passed to the framework.
#include "UcfState.h"

#include <libsoup/soup.h>

#include <cstdio>
#include <cstring>
#include <fstream>

namespace ucf::gupnp {
namespace {

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

}  // namespace

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

}  // namespace ucf::gupnp

using namespace ucf::gupnp;

extern "C" {

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

// GUPnP cannot send a raw body: a 200 body's out-arguments are read back and set as strings, a
// fault's errorCode and errorDescription go to its own error answer.
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

}  // extern "C"
