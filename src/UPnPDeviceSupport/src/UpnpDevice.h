// One UPnP root device registered with the platform library, and its services.
#pragma once

#include <string>
#include <vector>

#include "UpnpCore.h"
#include "UpnpDescriptionDevice.h"

namespace ip_control {

class UpnpService;

// Set-up/tear-down thread only: initialize, service registration, start, stop, suspend,
// resume and terminate are serialised by the owner. setFriendlyName may come from a settings
// callback thread; it only reads the handle and folder.
class UpnpDevice : public UpnpCore {
public:
    UpnpDevice(const std::string& descriptionLocation, const std::string& applicationName,
               const std::string& userAgent);
    ~UpnpDevice() override = default;

    // Core up, description parsed, device registered, access list installed.
    bool initialize();
    // Access list removed, device unregistered, core down.
    bool terminate();
    bool start();
    bool stop();
    bool suspend();
    bool resume();
    bool setFriendlyName(const std::string& name);

    bool registerService(UpnpService* service);
    bool unregisterService(UpnpService* service);

    const UpnpDescriptionDevice& getDescription() const { return m_description; }
    const std::string& getDeviceUdn() const { return m_udn; }
    const std::string& getUserAgent() const { return m_userAgent; }
    int getHandle() const { return m_handle; }
    bool isStarted() const { return m_started; }
    bool isSuspend() const { return m_suspended; }
    bool isRegistered(const UpnpService* service) const;

private:
    static int AclNotifyCall_managed(const char* ip, const char* mac, void* userData);

    std::string m_udn;
    std::string m_descriptionLocation;
    std::string m_applicationName;
    std::string m_userAgent;
    int m_handle = -1;
    UpnpDescriptionDevice m_description;
    std::vector<UpnpService*> m_services;
    bool m_started = false;
    bool m_suspended = false;
};

}  // namespace ip_control
