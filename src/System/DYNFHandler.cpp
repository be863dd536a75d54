// The property framework bridge: subscriptions, one asynchronous call per command, the answers.
#include "System/DYNFHandler.h"

#include <exception>

#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/CmdRequestFields.h"
#include "System/ControlHelperBase.h"
#include "System/DYNFProtocolData.h"
#include "System/ResponseHandBack.h"

namespace {

// Asks the framework to answer with the properties' values.
const int kAnswerWithValues = 2;

bool isWallMethod(DYNF_TVCONTROL_PROP_TYPE type) {
    return type >= AMBIENT_CONTROL && type <= GET_CABINET_STATES;
}

}  // namespace

DYNFHandler::DYNFHandler() = default;

DYNFHandler::~DYNFHandler() {
    if (m_handle != nullptr) {
        destroy();
    }
}

bool DYNFHandler::create(void* owner) {
    m_tvControlHelper.create();
    // Set before the handle exists: status events during creation are kept.
    m_bCreated = true;
    m_handle = dynf_protocol_create(_dynf_service_status_cb, _dynf_noti_cb, this);
    if (m_handle == nullptr) {
        LOGE("invalid pointer");
        return false;
    }
    m_commandMaps.generateControlHelpersMap(m_tvControlHelper);
    m_commandMaps.generateCommandMaps();
    if (!_registerService()) {
        LOGE("_registerService() has failed!");
        return false;
    }
    m_owner = static_cast<DeviceManager*>(owner);
    return true;
}

void DYNFHandler::destroy() {
    LOGI("destroy");
    // Results that still come while the handle goes away are released unanswered.
    m_bCreated = false;
    _deregisterService();
    if (m_handle != nullptr) {
        dynf_protocol_destroy(m_handle);
        m_handle = nullptr;
    }
    _releasePending();
    m_commandMaps.clear();
    m_tvControlHelper.destroy();
}

bool DYNFHandler::getRequest(CmdRequest* request) {
    return _startRequest(request, dynf_protocol_get_property, _dynf_get_property_result_cb);
}

bool DYNFHandler::setRequest(CmdRequest* request) {
    return _startRequest(request, dynf_protocol_set_property, _dynf_set_property_result_cb);
}

DYNF_TVCONTROL_PROP_TYPE DYNFHandler::getTypeForGetOp(bool isWall,
                                                      const std::string& method) const {
    return m_commandMaps.getTypeForGetOp(isWall, method);
}

DYNF_TVCONTROL_PROP_TYPE DYNFHandler::getTypeForSetOp(bool isAmbient, bool isWall,
                                                      const std::string& method) const {
    return m_commandMaps.getTypeForSetOp(isAmbient, isWall, method);
}

bool DYNFHandler::_startRequest(CmdRequest* request, PropertyCall call, dynf_result_cb callback) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return false;
    }
    LOGI("type:(%d)", request->propType);
    if (!_isServiceAvailable(request)) {
        LOGE("DYNF Service is not available now!! m_service_status->(%d)", m_service_status.load());
        _handleResult(DYNF_ERROR_NOT_AVAILABLE, nullptr, request);
        return false;
    }
    if (!_getHelper(request->propType)) {
        LOGE("invalid pointer");
        return false;
    }
    dynf_property_list_h properties = _makeData(request);
    if (properties == nullptr) {
        LOGE("invalid pointer");
        return false;
    }
    auto* data = new DYNFProtocolData{this, request};
    _trackPending(data);
    uint32_t requestId = 0;
    // The framework takes the list over whatever it answers.
    if (call(m_handle, _getServiceName(request).c_str(), properties, callback, kAnswerWithValues,
             &requestId, data) != 0) {
        LOGE("result is has error!");
        _untrackPending(data);
        delete data;
        return false;
    }
    // The result may already have been handled and the command freed.
    LOGI("called DYNF");
    return true;
}

bool DYNFHandler::_registerService() {
    if (m_handle == nullptr) {
        LOGE("invalid pointer");
        return false;
    }
    // The wall service is subscribed on every product, but not tried when the TV service fails.
    return _subscribe(m_tvControlHelper.getTVServiceName(),
                      "service subscription has been failed!") &&
           _subscribe(m_tvControlHelper.getWallServiceName(),
                      "service subscription for wall has been failed!");
}

bool DYNFHandler::_subscribe(const std::string& serviceName, const char* failure) {
    if (dynf_protocol_subscribe_service(m_handle, serviceName.c_str()) != 0) {
        LOGE("%s", failure);
        return false;
    }
    return true;
}

void DYNFHandler::_deregisterService() {
    if (m_handle == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    dynf_protocol_unsubscribe_service(m_handle, m_tvControlHelper.getTVServiceName().c_str());
    dynf_protocol_unsubscribe_service(m_handle, m_tvControlHelper.getWallServiceName().c_str());
}

const std::string& DYNFHandler::_getServiceName(const CmdRequest* request) const {
    return isWallMethod(request->propType) ? m_tvControlHelper.getWallServiceName()
                                           : m_tvControlHelper.getTVServiceName();
}

bool DYNFHandler::_isServiceAvailable(const CmdRequest* request) const {
    const dynf_service_status status =
        isWallMethod(request->propType) ? m_wall_service_status.load() : m_service_status.load();
    return status == DYNF_SERVICE_AVAILABLE;
}

std::shared_ptr<IControlHelper> DYNFHandler::_getHelper(DYNF_TVCONTROL_PROP_TYPE type) const {
    return m_commandMaps.getHelper(type);
}

dynf_property_list_h DYNFHandler::_makeData(CmdRequest* request) {
    LOGI("_makeData");
    return _getPropertyData(request);
}

dynf_property_list_h DYNFHandler::_getPropertyData(CmdRequest* request) {
    LOGI("type:(%d)", request->propType);
    std::shared_ptr<IControlHelper> helper = _getHelper(request->propType);
    dynf_property_list_h properties = nullptr;
    try {
        properties = helper ? helper->getPropertyData(request) : nullptr;
    } catch (const std::exception& e) {
        // Helpers read params without throwing; this only keeps a slip off the worker thread.
        LOGE("params not usable: %s", e.what());
        ControlHelperBase::handleError(DYNF_ERROR_INVALID_VALUE, request);
    }
    if (properties == nullptr) {
        LOGE("invalid pointer");
    }
    return properties;
}

void DYNFHandler::_handleResult(const dynf_error& error, dynf_property_list_h result,
                                CmdRequest* request) {
    LOGI("_handleResult");
    if (request == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    if (_allowErrorCase(error, request)) {
        std::shared_ptr<IControlHelper> helper = _getHelper(request->propType);
        if (!helper) {
            LOGE("invalid pointer");
            return;
        }
        try {
            helper->handleResult(error, result, request);
        } catch (const std::exception& e) {
            LOGE("result not usable: %s", e.what());
            ControlHelperBase::handleError(DYNF_ERROR_INVALID_VALUE, request);
        }
    } else {
        LOGE("result has error!");
        cmdfields::setError(*request, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_FAILED);
    }
    _handBack(request);
}

bool DYNFHandler::_allowErrorCase(const dynf_error& error, const CmdRequest* request) {
    return error == DYNF_ERROR_NONE || request->propType == USB_SOURCE_CONTROL ||
           request->propType == EXTERNAL_SPEAKER_CONTROL;
}

void DYNFHandler::_handBack(CmdRequest* request) {
    if (!handBackForResponse(m_owner, request)) {
        LOGE("m_owner is null");
    }
}

void DYNFHandler::_removeUserData(DYNFProtocolData* data) {
    if (data == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    delete data->m_request;
    delete data;
}

void DYNFHandler::_handleNotification(dynf_property_list_h properties) {
    std::string power;
    dynf_property_h property =
        properties != nullptr ? dynf_property_list_find(properties, "powerValue") : nullptr;
    if (property != nullptr && ControlHelperBase::readStringProperty(property, power)) {
        LOGI("power->(%s)", power.c_str());
    } else {
        LOGI("no powerValue noti");
    }
}

void DYNFHandler::_trackPending(DYNFProtocolData* data) {
    std::lock_guard<std::mutex> lock(m_pendingMutex);
    m_pending.insert(data);
}

void DYNFHandler::_untrackPending(DYNFProtocolData* data) {
    std::lock_guard<std::mutex> lock(m_pendingMutex);
    m_pending.erase(data);
}

void DYNFHandler::_releasePending() {
    std::set<DYNFProtocolData*> pending;
    {
        std::lock_guard<std::mutex> lock(m_pendingMutex);
        pending.swap(m_pending);
    }
    for (DYNFProtocolData* data : pending) {
        LOGE("no result came for method %s, released unanswered", data->m_request->method.c_str());
        _removeUserData(data);
    }
}

void DYNFHandler::_dynf_service_status_cb(dynf_protocol_h /*handle*/, const char* serviceName,
                                          dynf_service_status status, void* userData) {
    const std::string name = serviceName != nullptr ? serviceName : "";
    LOGI("service_name -> (%s), service_status -> (%d)", name.c_str(), status);
    auto* handler = static_cast<DYNFHandler*>(userData);
    if (handler == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    if (!handler->m_bCreated) {
        LOGE("not created");
        return;
    }
    if (name == handler->m_tvControlHelper.getTVServiceName()) {
        handler->m_service_status = status;
    } else if (name == handler->m_tvControlHelper.getWallServiceName()) {
        handler->m_wall_service_status = status;
    }
}

void DYNFHandler::_dynf_noti_cb(dynf_protocol_h /*handle*/, const char* /*serviceName*/,
                                dynf_property_list_h properties, void* userData) {
    LOGI("_dynf_noti_cb");
    auto* handler = static_cast<DYNFHandler*>(userData);
    if (handler == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    handler->_handleNotification(properties);
}

void DYNFHandler::_dynf_set_property_result_cb(dynf_protocol_h /*handle*/, dynf_error error,
                                               dynf_property_list_h result, void* userData) {
    LOGI("_dynf_set_property_result_cb");
    if (_finishRequest(error, result, userData)) {
        LOGI("dynf_set_property_result_cb end");
    }
}

void DYNFHandler::_dynf_get_property_result_cb(dynf_protocol_h /*handle*/, dynf_error error,
                                               dynf_property_list_h result, void* userData) {
    LOGI("_dynf_get_property_result_cb");
    if (_finishRequest(error, result, userData)) {
        LOGI("dynf_get_property_result_cb end");
    }
}

bool DYNFHandler::_finishRequest(dynf_error error, dynf_property_list_h result, void* userData) {
    auto* data = static_cast<DYNFProtocolData*>(userData);
    if (data == nullptr || data->m_owner == nullptr) {
        LOGE("invalid pointer");
        return false;
    }
    DYNFHandler* handler = data->m_owner;
    handler->_untrackPending(data);
    if (!handler->m_bCreated) {
        LOGE("not created");
        handler->_removeUserData(data);
        return false;
    }
    try {
        handler->_handleResult(error, result, data->m_request);
    } catch (...) {
        // Nothing may unwind into the framework's thread.
        LOGE("result handling failed");
    }
    handler->_removeUserData(data);
    return true;
}
