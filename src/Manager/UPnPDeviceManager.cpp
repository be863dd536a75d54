// UPnP root device of the service.
#include "Manager/UPnPDeviceManager.h"

#include "IPControlDeviceApi.h"
#include "Log.h"
#include "PlatformRuntime.h"

namespace {

// The host may run the service without announcing it (a second virtual TV, a test).
bool upnpEnabled() {
    return !ipc_platform::isInitialized() || ipc_platform::options().upnpEnabled;
}

}  // namespace

UPnPDeviceManager::~UPnPDeviceManager() = default;

bool UPnPDeviceManager::create() {
    return true;
}

bool UPnPDeviceManager::destroy() {
    return true;
}

bool UPnPDeviceManager::start() {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!upnpEnabled()) {
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
