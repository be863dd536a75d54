// Recording stand-in for the platform UPnP library, linked in place of it by the tests.
#include "FakeUcf.h"

#include <algorithm>
#include <cstdio>

namespace fakeucf {

State& state() {
    static State s;
    return s;
}

void reset() {
    state() = State();
}

long count(const std::string& name) {
    return std::count(state().calls.begin(), state().calls.end(), name);
}

}  // namespace fakeucf

namespace {
int record(const char* name) {
    fakeucf::state().calls.push_back(name);
    auto it = fakeucf::state().results.find(name);
    return it == fakeucf::state().results.end() ? 0 : it->second;
}
}  // namespace

extern "C" {

// Operations that only record their call and return the chosen result.
#define FAKE_UCF(name, params) \
    int ucf_##name params {    \
        return record(#name);  \
    }
FAKE_UCF(init_framework_core, (void))
FAKE_UCF(configure_servers, (int, int, int))
FAKE_UCF(configure_application_on_all_interfaces, (void))
FAKE_UCF(start_framework_core, (void))
FAKE_UCF(start_network_monitor, (void))
FAKE_UCF(initialize_upnp, (int))
FAKE_UCF(terminate_upnp, (void))
FAKE_UCF(stop_network_monitor, (void))
FAKE_UCF(stop_framework_core, (void))
FAKE_UCF(terminate_framework_core, (void))
FAKE_UCF(suspend_framework_core, (void))
FAKE_UCF(resume_framework_core, (void))
FAKE_UCF(unregister_device, (int))
FAKE_UCF(set_acl_listener_cb, (int, ucf_acl_listener_cb, void*))
FAKE_UCF(unset_acl_listener_cb, (int))
FAKE_UCF(set_acl_mode, (int, int))
FAKE_UCF(set_user_agent, (int, const char*))
FAKE_UCF(start_device, (int))
FAKE_UCF(stop_device, (int))
FAKE_UCF(set_friendly_name, (int, const char*, const char*))
// Actions never reach the framework on this TV: its service lists none.
FAKE_UCF(set_action_request_handler_cb, (const char*, const char*, ucf_action_request_cb, void*))
FAKE_UCF(unset_action_request_handler_cb, (const char*, const char*))
FAKE_UCF(send_action_response, (int, int, const char*, void*))
FAKE_UCF(change_mac_addr_for_widi, (const char*, char*, size_t))

int ucf_register_device(const char*, const char*, ucf_device_info* out) {
    out->handle = 7;
    snprintf(out->udn, sizeof(out->udn), "uuid:test-device");
    return record("register_device");
}

int ucf_set_service_for_subscribe_cb(const char*, const char* type, ucf_subscribe_cb cb, void*) {
    int rc = record("set_subscribe");
    if (rc == 0)
        fakeucf::state().subscribeHandlers[type] = cb;
    return rc;
}
int ucf_unset_service_for_subscribe_cb(const char*, const char* type) {
    fakeucf::state().subscribeHandlers.erase(type);
    return record("unset_subscribe");
}

int ucf_send_initial_event(int, const char* url, const char* sid, const char* body) {
    fakeucf::state().initialEvents.push_back(std::string(url) + "|" + sid + "|" + body);
    return record("send_initial_event");
}
int ucf_send_multicast_event(int, const char*, const char*, const char* body) {
    fakeucf::state().multicastEvents.push_back(body);
    return record("send_multicast_event");
}

}  // extern "C"
