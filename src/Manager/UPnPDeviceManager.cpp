// UPnP root device of the service.
#include "Manager/UPnPDeviceManager.h"

#include "IPControlDeviceApi.h"
#include "Log.h"
#include "app_common.h"

UPnPDeviceManager::~UPnPDeviceManager() = default;

bool UPnPDeviceManager::create() {
    return true;
}

bool UPnPDeviceManager::destroy() {
    return true;
}

bool UPnPDeviceManager::start() {
    std::lock_guard<std::mutex> lock(m_mutex);
    // The host may run the service without announcing it (a second virtual TV, a test).
    if (!app_get_upnp_enabled()) {
        LOGI("UPnP device disabled by the host");
        return true;
    }
    m_created = true;
    return ip_control::createUPnPDevice() == 0;
}

bool UPnPDeviceManager::stop() {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_created) {
        ip_control::destroyUPnPDevice();
        m_created = false;
    }
    return true;
}
