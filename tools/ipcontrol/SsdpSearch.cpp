// The search on GSSDP: one client and resource browser per interface, one main context.
#include "SsdpSearch.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <algorithm>
#include <memory>

#include <libgssdp/gssdp.h>

namespace {

// The interfaces to search: up, IPv4, and able to carry multicast. Loopback counts because a
// TV service on this machine announces there.
std::vector<std::pair<std::string, std::string>> ipv4Interfaces() {
    std::vector<std::pair<std::string, std::string>> found;  // name, address
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        return found;
    }
    for (ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        const unsigned flags = entry->ifa_flags;
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET ||
            (flags & IFF_UP) == 0 || (flags & (IFF_MULTICAST | IFF_LOOPBACK)) == 0) {
            continue;
        }
        GInetAddress* address = g_inet_address_new_from_bytes(
            reinterpret_cast<const guint8*>(
                &reinterpret_cast<const sockaddr_in*>(entry->ifa_addr)->sin_addr),
            G_SOCKET_FAMILY_IPV4);
        gchar* text = g_inet_address_to_string(address);
        found.emplace_back(entry->ifa_name, text);
        g_free(text);
        g_object_unref(address);
    }
    freeifaddrs(list);
    return found;
}

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
using ObjectRef = std::unique_ptr<GObject, Unref>;

}  // namespace

SsdpSearch::SsdpSearch(std::string target, std::string interface, std::chrono::milliseconds timeout)
    : m_target(std::move(target)), m_interface(std::move(interface)), m_timeout(timeout) {}

bool SsdpSearch::run(std::string& error) {
    GMainContext* context = g_main_context_new();
    g_main_context_push_thread_default(context);
    // Always by IPv4 address: the TV's JSON-RPC server is IPv4, and a client given only the
    // interface name may pick its IPv6 address.
    std::vector<std::pair<std::string, std::string>> interfaces = ipv4Interfaces();
    if (!m_interface.empty()) {
        interfaces.erase(
            std::remove_if(interfaces.begin(), interfaces.end(),
                           [this](const auto& entry) { return entry.first != m_interface; }),
            interfaces.end());
    }
    std::vector<ObjectRef> objects;  // clients and browsers, released after the search
    std::vector<GSSDPResourceBrowser*> browsers;
    error = m_interface.empty() ? "no network interface is up"
                                : m_interface + " is down, has no IPv4 address or cannot multicast";
    for (const auto& [name, address] : interfaces) {
        GInetAddress* inet = g_inet_address_new_from_string(address.c_str());
        GError* gerror = nullptr;
        GSSDPClient* client =
            gssdp_client_new_full(name.c_str(), inet, 0, GSSDP_UDA_VERSION_1_0, &gerror);
        g_object_unref(inet);
        if (client == nullptr) {
            error = std::string("cannot search on ") + name + ": " + gerror->message;
            g_error_free(gerror);
            continue;
        }
        objects.emplace_back(G_OBJECT(client));
        GSSDPResourceBrowser* browser = gssdp_resource_browser_new(client, m_target.c_str());
        objects.emplace_back(G_OBJECT(browser));
        // A short MX: devices answer within a second, leaving the rest of the time for
        // announcements of devices that missed the search.
        gssdp_resource_browser_set_mx(browser, 1);
        g_signal_connect(browser, "resource-available",
                         G_CALLBACK(+[](GSSDPResourceBrowser*, const char* usn, GList* locations,
                                        gpointer self) {
                             if (locations != nullptr) {
                                 static_cast<SsdpSearch*>(self)->_found(
                                     usn, static_cast<const char*>(locations->data));
                             }
                         }),
                         this);
        gssdp_resource_browser_set_active(browser, TRUE);
        browsers.push_back(browser);
    }
    const bool searched = !objects.empty();
    if (searched) {
        GMainLoop* loop = g_main_loop_new(context, FALSE);
        GSource* timer = g_timeout_source_new(static_cast<guint>(m_timeout.count()));
        g_source_set_callback(
            timer,
            [](gpointer loop) {
                g_main_loop_quit(static_cast<GMainLoop*>(loop));
                return G_SOURCE_REMOVE;
            },
            loop, nullptr);
        g_source_attach(timer, context);
        // A second search half-way: a search or an answer lost on a busy network, or a TV that
        // was still starting, gets another chance before the time is up.
        GSource* again = g_timeout_source_new(static_cast<guint>(m_timeout.count() / 2));
        g_source_set_callback(
            again,
            [](gpointer list) {
                for (GSSDPResourceBrowser* browser :
                     *static_cast<std::vector<GSSDPResourceBrowser*>*>(list)) {
                    gssdp_resource_browser_rescan(browser);
                }
                return G_SOURCE_REMOVE;
            },
            &browsers, nullptr);
        g_source_attach(again, context);
        g_main_loop_run(loop);
        for (GSource* source : {timer, again}) {
            g_source_destroy(source);
            g_source_unref(source);
        }
        g_main_loop_unref(loop);
    }
    objects.clear();
    // Let the clients finish closing their sockets before the context goes.
    while (g_main_context_iteration(context, FALSE)) {
    }
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
    return searched;
}

void SsdpSearch::_found(const std::string& usn, const std::string& location) {
    // "uuid:...::urn:...": the device part names the device on every interface it answers.
    const std::string udn = usn.substr(0, usn.find("::"));
    if (std::none_of(m_devices.begin(), m_devices.end(),
                     [&udn](const Device& device) { return device.udn == udn; })) {
        m_devices.push_back({udn, location});
    }
}
