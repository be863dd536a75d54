// What the ucf_* operations on GUPnP share: the layer's state and the signal handlers one part
// connects for another. Main-loop only.
#pragma once

#include <libgupnp/gupnp.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "UcfBodies.h"
#include "ucf.h"

namespace ucf::gupnp {

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

// Defined with the contexts.
extern State g_state;

// Contexts and ports (UcfContexts.cpp).
std::string key(const char* udn, const char* type);
std::string serviceKey(GUPnPService* service);
std::string serverId();
void refuseWithStatus(SoupServerMessage* message, guint status, const char* reason);

// Root devices (UcfDevices.cpp).
Device* findDevice(int handle);
void announce(Device& device, GUPnPContext* context);
void withdraw(Device& device, GUPnPContext* context);
void advertise(Device& device);

// Actions (UcfActions.cpp).
void onRequestRead(SoupServer*, SoupServerMessage* message, gpointer);

// Events (UcfEvents.cpp).
void noteNewSubscriber(SoupServerMessage* message);
void onRequestFinished(SoupServer*, SoupServerMessage* message, gpointer);
void onQueryVariable(GUPnPService* service, const char* variable, GValue* value, gpointer);

}  // namespace ucf::gupnp
