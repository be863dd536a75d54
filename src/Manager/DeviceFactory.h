// Makes the concrete device manager for a device type.
#pragma once

#include "Manager/IDeviceManager.h"

// Stateless; thread-safe.
class DeviceFactory {
public:
    enum DeviceType {
        TV = 0,
    };

    // A new device manager that the caller owns; null for a type with no device.
    static IDeviceManager* getDeviceManager(DeviceType type);
};
