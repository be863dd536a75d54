// Routes the library's action requests and subscriptions to the registered services.
#include "UpnpServiceGlobal.h"

#include <algorithm>
#include <cstring>

#include "Log.h"
#include "SoapBody.h"
#include "UpnpAction.h"
#include "UpnpService.h"
#include "ucf.h"

namespace ip_control {

namespace {

std::string text(const char* value) {
    return value != nullptr ? value : "";
}

// The control point's MAC as the library maps it; unchanged when the mapping fails.
std::string mappedMac(const std::string& mac) {
    char out[64] = {0};
    if (ucf_change_mac_addr_for_widi(mac.c_str(), out, sizeof(out)) != 0)
        return mac;
    return std::string(out, strnlen(out, sizeof(out)));
}

}  // namespace

UpnpServiceGlobal& UpnpServiceGlobal::getInstance() {
    static UpnpServiceGlobal instance;
    return instance;
}

void UpnpServiceGlobal::setDeviceInfo(int handle, const std::string& udn,
                                      const std::string& userAgent) {
    m_handle = handle;
    m_udn = udn;
    m_userAgent = userAgent;
}

bool UpnpServiceGlobal::registerService(UpnpService* service, const std::string& udn) {
    const char* type = service->getServiceType().c_str();
    if (ucf_set_action_request_handler_cb(udn.c_str(), type, &actionRequestListener_managed,
                                          nullptr) != 0) {
        LOGE("AddActionRequestHandler failed");
        return false;
    }
    if (ucf_set_service_for_subscribe_cb(udn.c_str(), type, &subscribeListener_managed, nullptr) !=
        0) {
        LOGE("RegisterServiceForSubscribe failed");
        ucf_unset_action_request_handler_cb(udn.c_str(), type);
        return false;
    }
    m_services.push_back(service);
    return true;
}

bool UpnpServiceGlobal::unregisterService(UpnpService* service) {
    auto it = std::find(m_services.begin(), m_services.end(), service);
    if (it == m_services.end())
        return false;
    const char* type = service->getServiceType().c_str();
    ucf_unset_action_request_handler_cb(m_udn.c_str(), type);
    ucf_unset_service_for_subscribe_cb(m_udn.c_str(), type);
    m_services.erase(it);
    return true;
}

UpnpService* UpnpServiceGlobal::findService(const std::string& serviceType) const {
    for (UpnpService* service : m_services) {
        if (service->getServiceType() == serviceType)
            return service;
    }
    return nullptr;
}

void UpnpServiceGlobal::extractCpDeviceType(const std::string& deviceName,
                                            const std::string& userAgent, std::string& nameBased,
                                            std::string& glintBased) {
    nameBased.clear();
    if (deviceName.size() > 2 && deviceName[0] == '[') {
        size_t close = deviceName.find(']', 1);
        if (close != std::string::npos)
            nameBased = deviceName.substr(1, close - 1);
    }
    if (userAgent.find("_SVMA") != std::string::npos)
        glintBased = "MobileAndroid";
    else if (userAgent.find("_SVMI") != std::string::npos)
        glintBased = "MobileIos";
    else if (userAgent.find("_SVP") != std::string::npos)
        glintBased = "PC";
    else
        glintBased.clear();
}

void UpnpServiceGlobal::actionRequestListener_managed(const char* actionName,
                                                      const char* serviceType,
                                                      const ucf_action_argument* arguments,
                                                      int argumentCount,
                                                      const ucf_control_point_info* controlPoint,
                                                      void* requestContext, void* /*userData*/) {
    UpnpServiceGlobal& self = getInstance();
    const std::string name = text(actionName);
    const std::string type = text(serviceType);
    ucf_control_point_info cp{};
    if (controlPoint != nullptr)
        cp = *controlPoint;
    LOGI("action:%s serviceType:%s interface:%s cp ip:%s mac:%s name:%s userAgent:%s", name.c_str(),
         type.c_str(), text(cp.interface_name).c_str(), text(cp.ip_address).c_str(),
         text(cp.mac_address).c_str(), text(cp.device_name).c_str(), text(cp.user_agent).c_str());

    UpnpError error;
    UpnpService* service = self.findService(type);
    if (service == nullptr) {
        LOGE("Unknown service: %s", type.c_str());
        error = UpnpError::E402_INVALID_ARGS();
    } else if (!service->isSupportedAction(name)) {
        error = UpnpError::E401_INVALID_ACTION();
    } else {
        UpnpAction action(name, type);
        for (int i = 0; arguments != nullptr && i < argumentCount; ++i)
            action.inArguments().add(text(arguments[i].name), text(arguments[i].value));
        NamedValues& info = action.cpInfo();
        info.set(UpnpAction::kCpIpAddress, text(cp.ip_address));
        info.set(UpnpAction::kCpMacAddress, mappedMac(text(cp.mac_address)));
        info.set(UpnpAction::kCpDeviceName, text(cp.device_name));
        info.set(UpnpAction::kCpUserAgent, text(cp.user_agent));
        info.set(UpnpAction::kCpUniqId, text(cp.uniq_id));
        std::string nameBased;
        std::string glintBased;
        extractCpDeviceType(text(cp.device_name), text(cp.user_agent), nameBased, glintBased);
        info.set(UpnpAction::kDeviceTypeNameBased, nameBased);
        info.set(UpnpAction::kDeviceTypeGlintBased, glintBased);

        error = service->dispatchAction(action);
        if (error.getCode() == 0) {
            std::string body;
            GenerateSOAPResponseBody(name, type, action.outArguments(), body);
            LOGI("calling SendActionResponse(200,) action:%s", name.c_str());
            ucf_send_action_response(200, self.m_handle, body.c_str(), requestContext);
            return;
        }
    }
    std::string body;
    GenerateSOAPErrorBody(error, body);
    LOGE("calling SendActionResponse(500,) code:%d description:%s details:%s", error.getCode(),
         error.getDescription().c_str(), error.getDetails().c_str());
    ucf_send_action_response(500, self.m_handle, body.c_str(), requestContext);
}

void UpnpServiceGlobal::subscribeListener_managed(const char* serviceType,
                                                  const char* subscriptionId, void* /*userData*/) {
    getInstance().subscribeListener(text(serviceType), text(subscriptionId));
}

void UpnpServiceGlobal::subscribeListener(const std::string& serviceType,
                                          const std::string& subscriptionId) {
    UpnpService* service = findService(serviceType);
    if (service == nullptr)
        return;
    std::string body;
    service->dispatchInititalEvent(body);
    ucf_send_initial_event(m_handle, service->getEventUrl().c_str(), subscriptionId.c_str(),
                           body.c_str());
}

}  // namespace ip_control
