// Device manager: hands commands to the concrete device (the TV) and carries its report hooks.
#pragma once

#include <mutex>
#include <string>

#include "Manager/Hook.h"
#include "Manager/IDeviceManager.h"

// Stands between the request pipeline and the concrete device, which it makes in create() and
// owns; the device reports back through the process* operations, which call the hooks that the
// controller fills. create()/destroy() main-loop only; runCommand() worker thread only; the
// process* operations are thread-safe (the device calls them from the worker thread or the
// property framework's callback thread) and do nothing but log while their hook is empty.
class DeviceManager : public IDeviceManager {
public:
    ~DeviceManager() override;
    // The core's entry: a device manager has no owner.
    bool create() { return create(nullptr); }
    // owner is not used; the device gets this device manager as its owner.
    bool create(void* owner) override;
    // Tears the device down and deletes it; waits for a command running on it.
    bool destroy() override;
    // Takes the command over: the device answers it, or, without a device, it is released
    // unanswered.
    void runCommand(CmdRequest* cmd) override;

    // A finished command for the response; the caller still releases it afterwards.
    void processEnqueueForResponse(CmdRequest* cmd);
    // "on" or "off" for the UPnP device.
    void processUPnPControl(const std::string& command);
    // "on" erases the approval pop-up.
    void processPopupControl(const std::string& command);

    Hook<void(CmdRequest*)> m_enqueueForResponseHook;
    Hook<void(const std::string&)> m_upnpControlHook;
    Hook<void(const std::string&)> m_popupControlHook;

private:
    // Tears down and deletes the device; caller holds m_deviceMutex.
    void _dropDevice();

    // Protects m_device; held while a command runs on the device, so that destroy() waits.
    std::mutex m_deviceMutex;
    IDeviceManager* m_device = nullptr;
};
