// One UPnP root device registered with the platform library, and its services.
#include "UpnpDevice.h"

#include <algorithm>
#include <cstring>
#include <exception>

#include "Log.h"
#include "UpnpService.h"
#include "UpnpServiceGlobal.h"
#include "ucf.h"

namespace ip_control {

UpnpDevice::UpnpDevice(const std::string& descriptionLocation, const std::string& applicationName,
                       const std::string& userAgent)
    : m_descriptionLocation(descriptionLocation),
      m_applicationName(applicationName),
      m_userAgent(userAgent) {}

bool UpnpDevice::initialize() {
    if (!init())
        return false;
    if (!m_description.parseDescriptionFile(m_descriptionLocation)) {
        LOGE("Can't parse device description: %s", m_descriptionLocation.c_str());
        return false;
    }
    ucf_device_info info{};
    info.handle = -1;
    if (ucf_register_device(m_descriptionLocation.c_str(), m_applicationName.c_str(), &info) != 0) {
        LOGE("RegistrationDevice failed");
        return false;
    }
    m_handle = info.handle;
    m_udn.assign(info.udn, strnlen(info.udn, sizeof(info.udn)));
    LOGI("device_info.udn:%s", m_udn.c_str());
    if (ucf_set_acl_listener_cb(m_handle, &UpnpDevice::AclNotifyCall_managed, this) != 0)
        LOGE("failed SetAclListener");
    if (ucf_set_acl_mode(m_handle, 0) != 0)
        LOGE("failed SetAclMode");
    if (ucf_set_user_agent(m_handle, m_userAgent.c_str()) != 0)
        LOGE("failed SetUserAgent");
    UpnpServiceGlobal::getInstance().setDeviceInfo(m_handle, m_udn, m_userAgent);
    return true;
}

bool UpnpDevice::terminate() {
    bool ok = true;
    ucf_unset_acl_listener_cb(m_handle);
    if (ucf_unregister_device(m_handle) != 0) {
        LOGE("UnRegistrationDevice failed");
        ok = false;
    }
    if (!finit())
        ok = false;
    return ok;
}

namespace {

// Calls a device operation of the library; a failure or an exception logs and gives false, so
// nothing unwinds out of the layer.
bool callDevice(int (*operation)(int), int handle, const char* failure, const char* name) {
    try {
        if (operation(handle) == 0) {
            return true;
        }
        LOGE("%s", failure);
    } catch (const std::exception& e) {
        LOGE("%s exception: %s", name, e.what());
    } catch (...) {
        LOGE("%s unknown exception", name);
    }
    return false;
}

}  // namespace

bool UpnpDevice::start() {
    if (!callDevice(ucf_start_device, m_handle, "StartDevice Failed", "StartDevice")) {
        return false;
    }
    m_started = true;
    return true;
}

bool UpnpDevice::stop() {
    if (!callDevice(ucf_stop_device, m_handle, "StopDevice failed", "StopDevice")) {
        return false;
    }
    m_started = false;
    return true;
}

bool UpnpDevice::suspend() {
    if (!m_started) {
        LOGE("UCF not started yet");
        return false;
    }
    if (m_suspended) {
        LOGE("UCF already suspend");
        return false;
    }
    if (ucf_suspend_framework_core() != 0) {
        LOGE("SuspendFrameworkCore Failed");
        return false;
    }
    m_suspended = true;
    return true;
}

bool UpnpDevice::resume() {
    if (!m_started) {
        LOGE("UCF not started yet");
        return false;
    }
    if (!m_suspended) {
        LOGE("UCF not suspended");
        return false;
    }
    if (ucf_resume_framework_core() != 0) {
        LOGE("ResumeFrameworkCore failed");
        return false;
    }
    m_suspended = false;
    return true;
}

bool UpnpDevice::setFriendlyName(const std::string& name) {
    const std::string& folder = m_description.getFolder();
    LOGI("friendlyName:%s  folder:%s", name.c_str(), folder.c_str());
    return ucf_set_friendly_name(m_handle, name.c_str(), folder.c_str()) == 0;
}

bool UpnpDevice::isRegistered(const UpnpService* service) const {
    return std::find(m_services.begin(), m_services.end(), service) != m_services.end();
}

bool UpnpDevice::registerService(UpnpService* service) {
    if (service == nullptr || isRegistered(service)) {
        LOGE("service already registered");
        return false;
    }
    if (!service->preRegisterService(this))
        return false;
    if (!UpnpServiceGlobal::getInstance().registerService(service, m_udn))
        return false;
    service->setDevice(this);
    m_services.push_back(service);
    return true;
}

bool UpnpDevice::unregisterService(UpnpService* service) {
    if (!isRegistered(service))
        return false;
    UpnpServiceGlobal::getInstance().unregisterService(service);
    m_services.erase(std::find(m_services.begin(), m_services.end(), service));
    service->setDevice(nullptr);
    return true;
}

// Every control point is admitted: who may control the TV is decided when it pairs, not here.
int UpnpDevice::AclNotifyCall_managed(const char* ip, const char* mac, void* /*userData*/) {
    LOGI("acl request ip:%s mac:%s", ip != nullptr ? ip : "", mac != nullptr ? mac : "");
    return 1;
}

}  // namespace ip_control
