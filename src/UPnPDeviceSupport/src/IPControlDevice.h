// The TV's UPnP root device (IPControlServer) with its one service. Set up, started, stopped
// and torn down under UPnPDeviceManager's mutex; setFriendlyName also comes from the
// device-name callback on the settings thread, so the device pointer has its own lock.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "IPControlServiceHelper.h"
#include "UpnpDevice.h"

namespace ip_control {

class IPControlDevice {
public:
    static IPControlDevice* GetInstance();

    // Web root restored, description filled, device registered with the library, service on it.
    bool initialize();
    // Description util stopped, service unregistered, device gone from the library.
    void terminate();
    bool start(bool resume);
    bool stop(bool suspend);
    std::string getDeviceUdn();
    bool setFriendlyName(const std::string& name);

    // <data>/ip_control_web_root and the device description inside it.
    static std::string getWebRootPath();
    static std::string getDescriptionPath();
    IPControlServiceHelper& getServiceHelper() { return m_serviceHelper; }

private:
    IPControlDevice() = default;
    bool initializeDeviceDescriptionUtil();
    void terminateDeviceDescriptionUtil();
    void dropDevice();

    std::mutex m_mutex;  // guards m_device
    std::unique_ptr<UpnpDevice> m_device;
    IPControlServiceHelper m_serviceHelper;
};

}  // namespace ip_control
