// The service core: owns every manager, starts and stops them in a fixed order, and follows the
// TV's IP remote support setting. Also the registry through which the controller reaches the
// managers (IPControlCore::instance).
// create/destroy: the host's thread, under the core mutex. start/stop: also the main loop (the
// setting's change callback), guarded only by the started flag.
#pragma once

#include <mutex>

#include "system_settings.h"

class AccessManager;
class DeviceManager;
class ServerManager;
class ServiceController;
class ServiceManager;
class UIManager;
class UPnPDeviceManager;

class IPControlCore {
public:
    IPControlCore();
    virtual ~IPControlCore();

    IPControlCore(const IPControlCore&) = delete;
    IPControlCore& operator=(const IPControlCore&) = delete;

    // Registers the setting callback and starts the service when the setting is on and the
    // product offers the service. Always true.
    bool create();
    // Unregisters the setting callback and stops the service.
    bool destroy();

    void start();
    void stop();

    bool isFactoryEnable();
    bool isStarted();
    void setStarted(bool started);

    ServiceManager* getServiceManager() const { return m_serviceManager; }
    AccessManager* getAccessManager() const { return m_accessManager; }
    ServerManager* getServerManager() const { return m_serverManager; }
    DeviceManager* getDeviceManager() const { return m_deviceManager; }
    UIManager* getUIManager() const { return m_uiManager; }
    UPnPDeviceManager* getUPnPDeviceManager() const { return m_upnpDeviceManager; }
    ServiceController* getServiceController() const { return m_serviceController; }

    // The live core of the process, null when there is none.
    static IPControlCore* instance;

private:
    ServiceManager* m_serviceManager;
    AccessManager* m_accessManager;
    ServerManager* m_serverManager;
    DeviceManager* m_deviceManager;
    UIManager* m_uiManager;
    UPnPDeviceManager* m_upnpDeviceManager;
    ServiceController* m_serviceController;
    bool m_bStarted;
    // Serialises create and destroy and guards m_bStarted. Recursive because create() and
    // destroy() reach isStarted()/setStarted() while holding it.
    std::recursive_mutex m_mutex;
};

// Change callback of the IP remote support setting; userData is the core. Main loop.
void ip_remote_support_change_cb(system_settings_key_e key, void* userData);
