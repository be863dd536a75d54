// Announces the TV on the local network as a UPnP root device. create/destroy do nothing: the
// device comes up in start() and goes away in stop(), both under the manager's mutex.
// Main-loop thread.
#pragma once

#include <mutex>

class UPnPDeviceManager {
public:
    virtual ~UPnPDeviceManager();
    virtual bool create();
    virtual bool destroy();
    virtual bool start();
    virtual bool stop();

private:
    std::mutex m_mutex;      // serialises start and stop of the device
    bool m_created = false;  // start asked for the device (not when the host turned UPnP off)
};
