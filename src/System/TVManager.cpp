// The TV device: read/write classification, the method lookup by mode, and the failure answers.
#include "System/TVManager.h"

#include "Core/AppSettings.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/AmbientMode.h"
#include "System/CmdRequestFields.h"
#include "System/DYNFHandler.h"
#include "System/ResponseHandBack.h"
#include "System/SystemApi.h"

TVManager::TVManager() = default;

TVManager::~TVManager() = default;

bool TVManager::create(void* owner) {
    if (owner != nullptr) {
        m_owner = owner;
    }
    m_handler = std::make_unique<DYNFHandler>();  // a previous handler is destroyed here
    m_handler->create(m_owner);
    // A start may follow a platform restart on another product.
    SystemApi::getInstance().reloadFeatures();
    m_bEaselTV = SystemApi::getInstance().isEaselTv();
    m_bAmbientTV = SystemApi::getInstance().isAmbientScreenSupport();
    LOGI("m_bEaselTV:%d", m_bEaselTV);
    LOGI("m_bAmbientTV:%d", m_bAmbientTV);
    AppSettings::getInstance().watchChanges();
    return true;
}

bool TVManager::destroy() {
    AppSettings::getInstance().unwatchChanges();
    if (!m_handler) {
        LOGE("invalid pointer");
        return true;
    }
    m_handler->destroy();
    return true;
}

void TVManager::runCommand(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    if (cmdfields::hasValueParams(*request) && !_isGetOnlyMethod(request->method)) {
        LOGI("running setCommand");
        setCommand(request);
    } else {
        LOGI("running getCommand");
        getCommand(request);
    }
}

void TVManager::getCommand(CmdRequest* request) {
    _startCommand(request, false);
}

void TVManager::setCommand(CmdRequest* request) {
    _startCommand(request, true);
}

bool TVManager::isWall() {
    SystemApi& system = SystemApi::getInstance();
    if (system.isWall() || system.isMicroLED()) {
        return true;
    }
    try {
        return AppSettings::getInstance().isTestWallMode();
    } catch (const common::json::JsonException& e) {
        LOGE("config flags are not an object (%s); test wall mode off", e.what());
        return false;
    }
}

bool TVManager::getAmbientMode() {
    return ambientmode::refusesWrites(m_bAmbientTV, m_bEaselTV);
}

bool TVManager::_isGetOnlyMethod(const std::string& method) {
    return method == "getCabinetStates";
}

void TVManager::_startCommand(CmdRequest* request, bool isSet) {
    if (request == nullptr || !m_handler) {
        LOGE("invalid pointer");
        delete request;
        return;
    }
    std::unique_ptr<CmdRequest> owned(request);
    LOGI("method:%s", request->method.c_str());
    if (isSet) {
        const bool ambient = getAmbientMode();
        request->propType = m_handler->getTypeForSetOp(ambient, isWall(), request->method);
    } else {
        request->propType = m_handler->getTypeForGetOp(isWall(), request->method);
    }
    if (request->propType == TVCONTROL_PROP_TYPE_INVALID) {
        LOGE("INVALID METHOD");
        cmdfields::setError(*request, METHOD_NOT_FOUND, DEVICE_MANAGER_ERROR_INVALID_OPERATION);
        _enqueueForResponse(request);
        return;
    }
    if (isSet ? m_handler->setRequest(request) : m_handler->getRequest(request)) {
        (void)owned.release();  // the handler's result path answers and frees it
        return;
    }
    if (isSet) {
        LOGE("failed for setRequest");
    } else {
        LOGE("failed for getRequest");
    }
    // An error chosen further down (unusable params, unavailable service) is kept.
    if (!request->bJsonRpcError) {
        request->bJsonRpcError = true;
        request->errorIndex = SERVER_ERROR_FAILED;
    }
    request->resultCode = DEVICE_MANAGER_ERROR_FAILED;
    _enqueueForResponse(request);
}

void TVManager::_enqueueForResponse(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    LOGI("_enqueueForResponse method: %s", request->method.c_str());
    handBackForResponse(static_cast<DeviceManager*>(m_owner), request);
}
