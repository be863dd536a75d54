// UPnP root device of the service.
#include "Manager/UPnPDeviceManager.h"

UPnPDeviceManager::~UPnPDeviceManager() = default;

bool UPnPDeviceManager::create() {
    return true;
}

bool UPnPDeviceManager::destroy() {
    return true;
}

bool UPnPDeviceManager::start() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return true;
}

bool UPnPDeviceManager::stop() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return true;
}
