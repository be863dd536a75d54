// Makes the concrete device manager for a device type.
#include "Manager/DeviceFactory.h"

#include "Log.h"
#include "System/TVManager.h"

IDeviceManager* DeviceFactory::getDeviceManager(DeviceType type) {
    LOGI("start..");
    if (type == TV) {
        LOGI("Create TVManager DeviceType %d", type);
        return new TVManager();
    }
    return nullptr;
}
