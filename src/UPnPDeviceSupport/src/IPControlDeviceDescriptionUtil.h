// The TV's identity in the IP-control device description: friendly name (kept in step with the
// device-name setting) and product type. initialize/finalize run on the thread that sets the
// device up; the device-name callback runs on the platform's settings thread (the main loop).
#pragma once

#include <mutex>
#include <string>

#include "system_settings.h"

namespace ip_control {

class IPControlDeviceDescriptionUtil {
public:
    static IPControlDeviceDescriptionUtil* GetInstance();

    // Reads the friendly name and product type and starts following the device-name setting.
    bool initialize();
    // Stops following the device-name setting.
    void finalize();
    // Reads the TV's device name into the friendly name; false leaves it unchanged.
    bool readDeviceName();
    std::string getFriendlyName();
    std::string getProductType();

private:
    IPControlDeviceDescriptionUtil() = default;

    std::mutex m_mutex;  // the settings thread renames while the set-up thread reads
    std::string m_friendlyName;
    std::string m_productType = "UNKNOWN";
};

// Fills friendly name, model name, model description and serial number into the device
// description at path and stores it.
bool updateIPControlDeviceTemplate(const std::string& path);
// Device-name change: rewrite the description and announce the new name.
void callback_deviceName(system_settings_key_e key, void* userData);

}  // namespace ip_control
