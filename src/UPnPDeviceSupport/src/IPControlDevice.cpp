// The TV's UPnP root device (IPControlServer) with its one service.
#include "IPControlDevice.h"

#include <exception>

#include "Core/AppInfo.h"
#include "IPControlDeviceDescriptionUtil.h"
#include "IPControlDeviceTemplates.h"
#include "Log.h"

namespace ip_control {

namespace {

std::string withoutTrailingSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

}  // namespace

IPControlDevice* IPControlDevice::GetInstance() {
    static IPControlDevice instance;
    return &instance;
}

std::string IPControlDevice::getWebRootPath() {
    const std::string data = AppInfo::GetDataPath();
    return data.empty() ? "" : withoutTrailingSlash(data) + "/ip_control_web_root";
}

std::string IPControlDevice::getDescriptionPath() {
    const std::string webRoot = getWebRootPath();
    return webRoot.empty() ? "" : webRoot + "/" + IPCONTROL_DEVICE_DESCRIPTION;
}

bool IPControlDevice::initializeDeviceDescriptionUtil() {
    if (!IPControlDeviceDescriptionUtil::GetInstance()->initialize())
        return false;
    const std::string webRoot = getWebRootPath();
    if (!restoreIPControlDeviceTemplates(webRoot)) {
        LOGE("restoreDeviceTemplates failed.");
        return false;
    }
    const std::string resources = AppInfo::GetResourcePath();
    const std::string icons = resources.empty() ? "" : withoutTrailingSlash(resources) + "/icons";
    if (!restoreIPControlIconsLinks(icons, webRoot)) {
        LOGE("restoreIconsLinks failed");
        return false;
    }
    if (!updateIPControlDeviceTemplate(getDescriptionPath())) {
        LOGE("updateIPControlDeviceTemplate failed.");
        return false;
    }
    return true;
}

void IPControlDevice::terminateDeviceDescriptionUtil() {
    LOGI("destroy description util.");
    IPControlDeviceDescriptionUtil::GetInstance()->finalize();
}

bool IPControlDevice::initialize() {
    {
        // A device from an earlier call (running, or whose start failed) stays registered and
        // is reused: a second registration would leave the first behind in the library.
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_device)
            return true;
    }
    try {
        if (!initializeDeviceDescriptionUtil())
            return false;
        std::lock_guard<std::mutex> lock(m_mutex);
        m_device = std::make_unique<UpnpDevice>(getDescriptionPath(), "ip_control",
                                                "Orvane User-Agent DLNADOC/1.50");
        if (!m_device->initialize()) {
            m_device.reset();
            return false;
        }
        if (!m_serviceHelper.registerService(m_device.get())) {
            LOGE("Service registration failed!");
            m_device->terminate();
            m_device.reset();
            return false;
        }
        return true;
    } catch (...) {
        LOGE("Unhandled exception!");
        dropDevice();
        return false;
    }
}

void IPControlDevice::dropDevice() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_serviceHelper.unregisterService();
    m_device.reset();
}

void IPControlDevice::terminate() {
    try {
        terminateDeviceDescriptionUtil();
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_device) {
            m_serviceHelper.unregisterService();
            m_device->terminate();
            m_device.reset();
        }
    } catch (const std::exception& e) {
        LOGE("exception: %s", e.what());
    } catch (...) {
        LOGE("Unhandled exception!");
    }
}

bool IPControlDevice::start(bool resume) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_device)
        return false;
    return resume ? m_device->resume() : m_device->start();
}

bool IPControlDevice::stop(bool suspend) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_device)
        return false;
    return suspend ? m_device->suspend() : m_device->stop();
}

std::string IPControlDevice::getDeviceUdn() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_device ? m_device->getDeviceUdn() : "";
}

bool IPControlDevice::setFriendlyName(const std::string& name) {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_device && m_device->setFriendlyName(name);
}

}  // namespace ip_control
