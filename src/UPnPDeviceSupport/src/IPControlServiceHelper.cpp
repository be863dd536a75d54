// The IP-control device's one service.
#include "IPControlServiceHelper.h"

#include "EventPropertySet.h"
#include "IPControlDeviceTemplates.h"
#include "Log.h"
#include "UpnpAction.h"

namespace ip_control {

IPControlServiceHelper::IPControlServiceHelper() : UpnpService(IPCONTROL_SERVICE_TYPE) {}

bool IPControlServiceHelper::registerService(UpnpDevice* device) {
    LOGI("serviceType:%s", getServiceType().c_str());
    return UpnpService::registerService(device);
}

bool IPControlServiceHelper::unregisterService() {
    LOGI("serviceType:%s", getServiceType().c_str());
    return UpnpService::unregisterService();
}

UpnpError IPControlServiceHelper::dispatchAction(UpnpAction& action) {
    LOGI("action:%s %s", action.getName().c_str(), action.getDebugCpInfo().c_str());
    return UpnpError::E401_INVALID_ACTION();
}

// NOLINTNEXTLINE(bugprone-virtual-near-miss): deliberately not the subscription hook
void IPControlServiceHelper::dispatchInitialEvent(std::string& body) {
    EventPropertySet properties;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        properties.addProperty("IPControlState", m_state);
    }
    body = properties.getSoapEventMessage();
}

bool IPControlServiceHelper::svSetIPControlState(const std::string& state) {
    LOGI("IPControlState:%s", state.c_str());
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_state = state;
    }
    return sendEventedVariable("IPControlState", state);
}

void IPControlServiceHelper::begin() {
    LOGI("begin");
}

void IPControlServiceHelper::end() {
    LOGI("end");
}

}  // namespace ip_control
