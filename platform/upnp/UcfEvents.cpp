// The ucf_* operations on GUPnP: subscriptions, their first event, and multicast events.
#include "UcfState.h"

#include <libsoup/soup.h>

#include <cstring>

namespace ucf::gupnp {
namespace {

constexpr char kNewSubscriber[] = "ucf-new-subscriber";

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

}  // namespace

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

// GUPnP asks for each evented variable of the description when it builds a new subscriber's
// first NOTIFY; it carries exactly the properties of the framework's first event. A variable left
// without a value is left out of it. GUPnP reads the service description over HTTP after the
// start, so a subscriber that comes before that has no variable to be told of.
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

}  // namespace ucf::gupnp

using namespace ucf::gupnp;

extern "C" {

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

}  // extern "C"
