// The TV's identity in the IP-control device description.
#include "IPControlDeviceDescriptionUtil.h"

#include "IPControlDevice.h"
#include "Log.h"
#include "System/SystemApi.h"
#include "UpnpDescriptionDevice.h"

namespace ip_control {

IPControlDeviceDescriptionUtil* IPControlDeviceDescriptionUtil::GetInstance() {
    static IPControlDeviceDescriptionUtil instance;
    return &instance;
}

bool IPControlDeviceDescriptionUtil::initialize() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_productType = "UNKNOWN";
    }
    if (!readDeviceName()) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_friendlyName = "Orvane IPControl TV";
    }
    LOGI("friendlyName:%s", getFriendlyName().c_str());
    if (system_settings_set_changed_cb(SYSTEM_SETTINGS_KEY_DEVICE_NAME, callback_deviceName,
                                       this) != SYSTEM_SETTINGS_ERROR_NONE) {
        LOGE("initialize failed.");
        return false;
    }
    std::string productType;
    if (SystemApi::getInstance().getProductType(productType)) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_productType = productType;
    }
    return true;
}

void IPControlDeviceDescriptionUtil::finalize() {
    system_settings_unset_changed_cb(SYSTEM_SETTINGS_KEY_DEVICE_NAME);
}

bool IPControlDeviceDescriptionUtil::readDeviceName() {
    std::string name;
    if (!SystemApi::getInstance().getDeviceName(name))
        return false;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_friendlyName = name;
    return true;
}

std::string IPControlDeviceDescriptionUtil::getFriendlyName() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_friendlyName;
}

std::string IPControlDeviceDescriptionUtil::getProductType() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_productType;
}

bool updateIPControlDeviceTemplate(const std::string& path) {
    if (path.empty()) {
        LOGE("[%s] IPControlDeviceTemplatePath(%s) - null param", __func__, path.c_str());
        return false;
    }
    IPControlDeviceDescriptionUtil* util = IPControlDeviceDescriptionUtil::GetInstance();
    SystemApi& system = SystemApi::getInstance();
    std::string productCode;
    system.getProductCode(productCode);
    std::string description = "Orvane";
    const std::string productType = util->getProductType();
    if (!productType.empty())
        description += " " + productType;
    description += " IPControl";
    std::string serial;
    if (!system.getSerialNumber(serial))
        serial = "20191028IPControlServer";

    UpnpDescriptionDevice document;
    if (!document.parseDescriptionFile(path) ||
        !document.setDeviceElement("friendlyName", util->getFriendlyName()) ||
        !document.setDeviceElement("modelName", productCode) ||
        !document.setDeviceElement("modelDescription", description) ||
        !document.setDeviceElement("serialNumber", serial) || !document.store()) {
        LOGE("processTemplate failed");
        return false;
    }
    return true;
}

void callback_deviceName(system_settings_key_e /*key*/, void* userData) {
    auto* util = static_cast<IPControlDeviceDescriptionUtil*>(userData);
    if (util == nullptr || !util->readDeviceName())
        return;
    const std::string name = util->getFriendlyName();
    LOGI("deviceName:%s", name.c_str());
    updateIPControlDeviceTemplate(IPControlDevice::GetInstance()->getDescriptionPath());
    LOGI("deviceName:%s updated", name.c_str());
    IPControlDevice::GetInstance()->setFriendlyName(name);
}

}  // namespace ip_control
