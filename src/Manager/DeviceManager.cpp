// Device manager: makes the TV device, forwards commands to it and relays its reports.
#include "Manager/DeviceManager.h"

#include "Log.h"
#include "Manager/CmdRequest.h"
#include "Manager/DeviceFactory.h"

namespace {

// Calls hook with argument, or logs that nobody listens (the service is stopping).
template <typename Hook, typename Argument>
void callIfSet(const Hook& hook, const char* name, Argument argument) {
    auto function = hook.get();
    if (!function) {
        LOGE("%s hook is not set", name);
        return;
    }
    function(argument);
}

}  // namespace

DeviceManager::~DeviceManager() {
    delete m_device;
}

bool DeviceManager::create(void* /*owner*/) {
    LOGI("start");
    LOGI("Device type TV");
    IDeviceManager* device = DeviceFactory::getDeviceManager(DeviceFactory::TV);
    if (device == nullptr) {
        LOGE("getDeviceManager failed");
        return false;
    }
    std::lock_guard<std::mutex> lock(m_deviceMutex);
    _dropDevice();
    device->create(this);
    m_device = device;
    return true;
}

bool DeviceManager::destroy() {
    LOGI("start");
    std::lock_guard<std::mutex> lock(m_deviceMutex);
    _dropDevice();
    return true;
}

void DeviceManager::runCommand(CmdRequest* cmd) {
    if (cmd == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    std::lock_guard<std::mutex> lock(m_deviceMutex);
    if (m_device == nullptr) {
        LOGE("invalid pointer");
        delete cmd;
        return;
    }
    m_device->runCommand(cmd);
}

void DeviceManager::processEnqueueForResponse(CmdRequest* cmd) {
    callIfSet(m_enqueueForResponseHook, "enqueue-for-response", cmd);
}

void DeviceManager::processUPnPControl(const std::string& command) {
    callIfSet(m_upnpControlHook, "UPnP control", command);
}

void DeviceManager::processPopupControl(const std::string& command) {
    callIfSet(m_popupControlHook, "popup control", command);
}

void DeviceManager::_dropDevice() {
    if (m_device != nullptr) {
        m_device->destroy();
        delete m_device;
        m_device = nullptr;
    }
}
