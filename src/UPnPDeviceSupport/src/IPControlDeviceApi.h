// Entry points of the IP-control device for UPnPDeviceManager; every call is made under the
// manager's mutex.
#pragma once

namespace ip_control {

// 0 when the device is up and advertising (or already was), 1 on failure.
int createUPnPDevice();
// Stops the device and tears it down; a failed stop leaves it registered.
void destroyUPnPDevice();

bool initializeIPControlDevice();
void finalizeIPControlDevice();
bool startIPControlDevice(bool resume);
bool stopIPControlDevice(bool suspend);

}  // namespace ip_control
