// The ucf_* operations on GUPnP: registered descriptions and their root devices.
#include "UcfState.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace ucf::gupnp {
namespace {

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

std::string urlPath(const char* url) {
    GUri* uri = url != nullptr ? g_uri_parse(url, G_URI_FLAGS_NONE, nullptr) : nullptr;
    std::string path = uri != nullptr ? g_uri_get_path(uri) : "";
    if (uri != nullptr) {
        g_uri_unref(uri);
    }
    return path;
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

}  // namespace

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

}  // namespace ucf::gupnp

using namespace ucf::gupnp;

extern "C" {

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

int ucf_change_mac_addr_for_widi(const char* mac, char* out, size_t out_size) {
    if (mac == nullptr || out == nullptr || out_size == 0) {
        return -1;
    }
    std::snprintf(out, out_size, "%s", mac);
    return 0;
}

}  // extern "C"
