// The ucf_* operations on GUPnP: contexts, root devices, actions and events. Main-loop only.
#include "ucf.h"

#include "UcfBodies.h"

#include <libgupnp/gupnp.h>
#include <libsoup/soup.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
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

// One registered description, announced once per network context.
struct Device {
    std::string descriptionPath;
    std::string udn;
    bool started = false;
    std::vector<GUPnPRootDevice*> roots;  // owned, one per context
    std::vector<GUPnPService*> services;  // owned
};

// All state lives on the main loop; nothing here is touched from another thread.
struct State {
    unsigned port = 0;
    GUPnPContextManager* manager = nullptr;
    std::vector<GUPnPContext*> contexts;  // owned
    std::map<int, Device> devices;
    int nextHandle = 1;
    std::map<std::string, ActionHandler> actions;        // key: udn + "|" + service type
    std::map<std::string, SubscribeHandler> subscribes;  // same key
    std::string* pendingInitialBody = nullptr;           // set while a subscriber is asked
    unsigned subscriptionCounter = 0;
};
State g_state;

std::string key(const char* udn, const char* type) {
    return std::string(udn != nullptr ? udn : "") + "|" + (type != nullptr ? type : "");
}

std::string readUdn(const std::string& path) {
    xmlDoc* doc = xmlReadFile(path.c_str(), nullptr,
                              XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    if (doc == nullptr) {
        return "";
    }
    std::string udn;
    std::vector<xmlNode*> stack{xmlDocGetRootElement(doc)};
    while (!stack.empty() && udn.empty()) {
        xmlNode* node = stack.back();
        stack.pop_back();
        for (; node != nullptr; node = node->next) {
            if (node->type == XML_ELEMENT_NODE &&
                std::strcmp(reinterpret_cast<const char*>(node->name), "UDN") == 0) {
                xmlChar* text = xmlNodeGetContent(node);
                udn = reinterpret_cast<const char*>(text);
                xmlFree(text);
                break;
            }
            if (node->children != nullptr) {
                stack.push_back(node->children);
            }
        }
    }
    xmlFreeDoc(doc);
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

void onActionInvoked(GUPnPService* service, GUPnPServiceAction* action, gpointer) {
    const char* type = gupnp_service_info_get_service_type(GUPNP_SERVICE_INFO(service));
    auto handler = g_state.actions.find(key(serviceUdn(service).c_str(), type));
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
    // The answer comes through ucf_send_action_response with the action as request context.
    handler->second.callback(gupnp_service_action_get_name(action), type, cArguments.data(),
                             static_cast<int>(cArguments.size()), &info, action,
                             handler->second.userData);
}

// GUPnP asks for each evented variable when a subscriber arrives; the framework's initial
// event body supplies the values.
void onQueryVariable(GUPnPService* service, const char* variable, GValue* value, gpointer) {
    const char* type = gupnp_service_info_get_service_type(GUPNP_SERVICE_INFO(service));
    auto handler = g_state.subscribes.find(key(serviceUdn(service).c_str(), type));
    std::string body;
    if (handler != g_state.subscribes.end()) {
        const std::string sid = "uuid:local-" + std::to_string(++g_state.subscriptionCounter);
        g_state.pendingInitialBody = &body;
        handler->second.callback(type, sid.c_str(), handler->second.userData);
        g_state.pendingInitialBody = nullptr;
    }
    ucf::NamedTexts properties;
    ucf::parsePropertySet(body, properties);
    g_value_init(value, G_TYPE_STRING);
    for (const auto& property : properties) {
        if (property.first == variable) {
            g_value_set_string(value, property.second.c_str());
        }
    }
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
        g_signal_connect(service, "action-invoked", G_CALLBACK(onActionInvoked), nullptr);
        g_signal_connect(service, "query-variable", G_CALLBACK(onQueryVariable), nullptr);
        device.services.push_back(service);  // takes the list's reference
    }
    g_list_free(services);
    gupnp_root_device_set_available(root, device.started);
    device.roots.push_back(root);
}

void withdraw(Device& device, GUPnPContext* context) {
    for (auto it = device.services.begin(); it != device.services.end();) {
        if (context == nullptr ||
            gupnp_service_info_get_context(GUPNP_SERVICE_INFO(*it)) == context) {
            g_object_unref(*it);
            it = device.services.erase(it);
        } else {
            ++it;
        }
    }
    for (auto it = device.roots.begin(); it != device.roots.end();) {
        if (context == nullptr ||
            gupnp_device_info_get_context(GUPNP_DEVICE_INFO(*it)) == context) {
            gupnp_root_device_set_available(*it, FALSE);
            g_object_unref(*it);
            it = device.roots.erase(it);
        } else {
            ++it;
        }
    }
}

void addContext(GUPnPContext* context) {
    g_state.contexts.push_back(GUPNP_CONTEXT(g_object_ref(context)));
    for (auto& entry : g_state.devices) {
        announce(entry.second, context);
    }
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
            g_object_unref(context);
            g_state.contexts.erase(it);
            break;
        }
    }
}

Device* findDevice(int handle) {
    auto it = g_state.devices.find(handle);
    return it == g_state.devices.end() ? nullptr : &it->second;
}

void setAvailable(Device& device, bool available) {
    for (GUPnPRootDevice* root : device.roots) {
        gupnp_root_device_set_available(root, available);
    }
}

}  // namespace

extern "C" {

int ucf_init_framework_core(void) {
    return 0;
}

int ucf_configure_servers(int tcp_port, int multicast_port, int flags) {
    (void)flags;
    // GSSDP always uses the standard SSDP port; only 1900 is accepted.
    if (tcp_port < 0 || tcp_port > 65535 || multicast_port != 1900) {
        return -1;
    }
    g_state.port = static_cast<unsigned>(tcp_port);
    return 0;
}

int ucf_configure_application_on_all_interfaces(void) {
    return 0;
}

int ucf_start_framework_core(void) {
    if (g_state.manager != nullptr || !g_state.contexts.empty()) {
        return 0;
    }
    const char* iface = std::getenv("IPC_UPNP_INTERFACE");
    if (iface != nullptr && *iface != '\0') {
        GError* error = nullptr;
        GUPnPContext* context = gupnp_context_new_full(
            iface, nullptr, static_cast<guint16>(g_state.port), GSSDP_UDA_VERSION_1_0, &error);
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
        g_object_unref(context);
    }
    g_state.contexts.clear();
    return 0;
}

int ucf_terminate_framework_core(void) {
    return ucf_stop_framework_core();
}

int ucf_suspend_framework_core(void) {
    for (auto& entry : g_state.devices) {
        setAvailable(entry.second, false);
    }
    return 0;
}

int ucf_resume_framework_core(void) {
    for (auto& entry : g_state.devices) {
        setAvailable(entry.second, entry.second.started);
    }
    return 0;
}

int ucf_register_device(const char* description_path, const char*, ucf_device_info* out_info) {
    if (description_path == nullptr || out_info == nullptr) {
        return -1;
    }
    Device device;
    device.descriptionPath = description_path;
    device.udn = readUdn(description_path);
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

int ucf_start_device(int handle) {
    Device* device = findDevice(handle);
    if (device == nullptr) {
        return -1;
    }
    device->started = true;
    setAvailable(*device, true);
    return 0;
}

int ucf_stop_device(int handle) {
    Device* device = findDevice(handle);
    if (device == nullptr) {
        return -1;
    }
    device->started = false;
    setAvailable(*device, false);
    return 0;
}

int ucf_set_friendly_name(int handle, const char*, const char*) {
    Device* device = findDevice(handle);
    if (device == nullptr) {
        return -1;
    }
    // The description is served from its file, which the caller has rewritten; byebye then
    // alive through the same resource groups keeps the services and their subscribers.
    if (device->started) {
        for (GUPnPRootDevice* root : device->roots) {
            GSSDPResourceGroup* group = gupnp_root_device_get_ssdp_resource_group(root);
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

int ucf_send_initial_event(int, const char*, const char*, const char* body) {
    if (g_state.pendingInitialBody == nullptr || body == nullptr) {
        return -1;
    }
    *g_state.pendingInitialBody = body;
    return 0;
}

int ucf_send_multicast_event(int handle, const char* udn, const char* service_type,
                             const char* body) {
    Device* device = findDevice(handle);
    ucf::NamedTexts properties;
    if (device == nullptr || body == nullptr || !ucf::parsePropertySet(body, properties)) {
        return -1;
    }
    for (GUPnPService* service : device->services) {
        const char* type = gupnp_service_info_get_service_type(GUPNP_SERVICE_INFO(service));
        if (serviceUdn(service) != (udn != nullptr ? udn : "") || type == nullptr ||
            std::strcmp(type, service_type != nullptr ? service_type : "") != 0) {
            continue;
        }
        gupnp_service_freeze_notify(service);
        for (const auto& property : properties) {
            GValue value = G_VALUE_INIT;
            g_value_init(&value, G_TYPE_STRING);
            g_value_set_string(&value, property.second.c_str());
            gupnp_service_notify_value(service, property.first.c_str(), &value);
            g_value_unset(&value);
        }
        gupnp_service_thaw_notify(service);
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
