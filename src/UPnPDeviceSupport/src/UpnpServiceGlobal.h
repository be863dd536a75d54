// Routes the library's action requests and subscriptions to the registered services.
#pragma once

#include <string>
#include <vector>

struct ucf_action_argument;
struct ucf_control_point_info;

namespace ip_control {

class UpnpService;

// Process-wide singleton. The service list and device facts change only on the set-up/tear-down
// thread, before the device starts and after it stops; the listeners run on the library's
// callback threads and read them without a lock.
class UpnpServiceGlobal {
public:
    static UpnpServiceGlobal& getInstance();

    void setDeviceInfo(int handle, const std::string& udn, const std::string& userAgent);
    // Installs the action and subscription handlers for the service type, then lists it.
    bool registerService(UpnpService* service, const std::string& udn);
    bool unregisterService(UpnpService* service);

    // Library callbacks (ucf_action_request_cb, ucf_subscribe_cb).
    static void actionRequestListener_managed(const char* actionName, const char* serviceType,
                                              const ucf_action_argument* arguments,
                                              int argumentCount,
                                              const ucf_control_point_info* controlPoint,
                                              void* requestContext, void* userData);
    static void subscribeListener_managed(const char* serviceType, const char* subscriptionId,
                                          void* userData);
    void subscribeListener(const std::string& serviceType, const std::string& subscriptionId);

    // Name-based type: the text inside a leading "[...]"; user-agent-based: from its markers.
    static void extractCpDeviceType(const std::string& deviceName, const std::string& userAgent,
                                    std::string& nameBased, std::string& glintBased);

private:
    UpnpServiceGlobal() = default;
    UpnpService* findService(const std::string& serviceType) const;

    std::vector<UpnpService*> m_services;
    int m_handle = -1;
    std::string m_udn;
    std::string m_userAgent;
};

}  // namespace ip_control
