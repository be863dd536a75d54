// A UPnP service attached to a device; subclassed per service.
#include "UpnpService.h"

#include <algorithm>

#include "EventPropertySet.h"
#include "Log.h"
#include "UpnpAction.h"
#include "UpnpDevice.h"
#include "ucf.h"

namespace ip_control {

bool UpnpService::preRegisterService(UpnpDevice* device) {
    UpnpDescriptionDevice::ServiceInfo info;
    if (device == nullptr || !device->getDescription().getService(m_serviceType, info)) {
        LOGE("Can't find in device description serviceType:%s", m_serviceType.c_str());
        return false;
    }
    m_controlUrl = info.controlURL;
    m_eventUrl = info.eventSubURL;
    std::string scpd = info.SCPDURL;
    if (!scpd.empty() && scpd[0] == '/')
        scpd.erase(0, 1);
    std::string path = device->getDescription().getFolder() + "/" + scpd;
    if (!m_description.parseServiceFile(path) || !m_description.getActions(m_actions)) {
        LOGE("Can't read service description: %s", path.c_str());
        return false;
    }
    return true;
}

bool UpnpService::registerService(UpnpDevice* device) {
    return device != nullptr && device->registerService(this);
}

bool UpnpService::unregisterService() {
    if (m_device != nullptr)
        m_device->unregisterService(this);
    m_device = nullptr;
    return true;
}

UpnpError UpnpService::dispatchAction(UpnpAction& action) {
    LOGE("action %s not handled by %s", action.getName().c_str(), m_serviceType.c_str());
    return UpnpError::E501_ACTION_FAILED();
}

void UpnpService::dispatchInititalEvent(std::string& /*body*/) {
    LOGI("no initial event for %s", m_serviceType.c_str());
}

bool UpnpService::isSupportedAction(const std::string& name) const {
    return std::find(m_actions.begin(), m_actions.end(), name) != m_actions.end();
}

bool UpnpService::sendEventedVariable(const std::string& name, const std::string& value) {
    if (m_device == nullptr || !m_device->isRegistered(this))
        return false;
    EventPropertySet properties;
    properties.addProperty(name, value);
    LOGI("name:%s  value:%s", name.c_str(), value.c_str());
    return sendMulticastEvent(properties);
}

bool UpnpService::sendMulticastEvent(const EventPropertySet& properties) {
    if (m_device == nullptr)
        return false;
    std::string body = properties.getSoapEventMessage();
    return ucf_send_multicast_event(m_device->getHandle(), m_device->getDeviceUdn().c_str(),
                                    m_serviceType.c_str(), body.c_str()) == 0;
}

}  // namespace ip_control
