// The TV device: read/write classification and the answers it gives without a property framework.
#include "System/TVManager.h"

#include <memory>
#include <string>

#include "Log.h"
#include "Manager/CmdRequest.h"
#include "Manager/DeviceManager.h"

using common::json::JsonType;

namespace {

const char* const kAccessToken = "AccessToken";

// True when params holds a member other than the access token: the client wants to write.
bool carriesValues(const common::json::JsonValue& params) {
    if (params.type() != JsonType::objectValue) {
        return false;
    }
    for (const std::string& name : params.getMemberNames()) {
        if (name != kAccessToken) {
            return true;
        }
    }
    return false;
}

}  // namespace

TVManager::~TVManager() = default;

bool TVManager::create(void* owner) {
    if (owner != nullptr) {
        m_owner = owner;
    }
    return true;
}

bool TVManager::destroy() {
    return true;
}

void TVManager::runCommand(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    if (carriesValues(request->params) && !_isGetOnlyMethod(request->method)) {
        LOGI("running setCommand");
        setCommand(request);
    } else {
        LOGI("running getCommand");
        getCommand(request);
    }
}

void TVManager::getCommand(CmdRequest* request) {
    _answerInvalidMethod(request);
}

void TVManager::setCommand(CmdRequest* request) {
    _answerInvalidMethod(request);
}

bool TVManager::_isGetOnlyMethod(const std::string& method) {
    return method == "getCabinetStates";
}

void TVManager::_answerInvalidMethod(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    std::unique_ptr<CmdRequest> owned(request);
    LOGI("method:%s", request->method.c_str());
    request->propType = TVCONTROL_PROP_TYPE_INVALID;
    LOGE("INVALID METHOD");
    request->bJsonRpcError = true;
    request->errorIndex = METHOD_NOT_FOUND;
    request->resultCode = DEVICE_MANAGER_ERROR_INVALID_OPERATION;
    _enqueueForResponse(request);
}

void TVManager::_enqueueForResponse(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    LOGI("_enqueueForResponse method: %s", request->method.c_str());
    if (m_owner != nullptr) {
        static_cast<DeviceManager*>(m_owner)->processEnqueueForResponse(request);
    }
}
