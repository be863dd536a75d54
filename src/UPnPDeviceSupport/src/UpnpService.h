// A UPnP service attached to a device; subclassed per service.
#pragma once

#include <string>
#include <vector>

#include "UpnpDescriptionService.h"
#include "UpnpError.h"

namespace ip_control {

class EventPropertySet;
class UpnpAction;
class UpnpDevice;

// Registration and unregistration run on the set-up/tear-down thread; dispatchAction and
// dispatchInititalEvent run on the library's callback threads; sendEventedVariable may be
// called from any thread while the service is registered.
class UpnpService {
public:
    explicit UpnpService(const std::string& serviceType) : m_serviceType(serviceType) {}
    virtual ~UpnpService() = default;
    UpnpService(const UpnpService&) = delete;
    UpnpService& operator=(const UpnpService&) = delete;

    // Reads the control and event URLs from the device description and the action names from
    // the service description it names.
    virtual bool preRegisterService(UpnpDevice* device);
    virtual bool registerService(UpnpDevice* device);
    virtual bool unregisterService();
    // Base: E501_ACTION_FAILED.
    virtual UpnpError dispatchAction(UpnpAction& action);
    // Fills the body of a new subscriber's first event. Base: leaves it as given.
    virtual void dispatchInititalEvent(std::string& body);

    bool isSupportedAction(const std::string& name) const;
    // Sends one property to every subscriber; only while registered on a device.
    bool sendEventedVariable(const std::string& name, const std::string& value);
    bool sendMulticastEvent(const EventPropertySet& properties);

    const std::string& getServiceType() const { return m_serviceType; }
    const std::string& getControlUrl() const { return m_controlUrl; }
    const std::string& getEventUrl() const { return m_eventUrl; }
    UpnpDevice* getDevice() const { return m_device; }
    void setDevice(UpnpDevice* device) { m_device = device; }

private:
    std::string m_serviceType;
    std::string m_controlUrl;
    std::string m_eventUrl;
    UpnpDevice* m_device = nullptr;
    UpnpDescriptionService m_description;
    std::vector<std::string> m_actions;
};

}  // namespace ip_control
