// Device manager: hands commands to the concrete device (the TV) and carries its report hooks.
#include "Manager/DeviceManager.h"

DeviceManager::~DeviceManager() = default;

bool DeviceManager::create() {
    return true;
}

bool DeviceManager::destroy() {
    return true;
}
