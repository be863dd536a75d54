// Access manager: no known clients and no approvals yet.
#include "Manager/AccessManager.h"

#include <utility>

#include "Log.h"

AccessManager::~AccessManager() = default;

bool AccessManager::create() {
    return true;
}

bool AccessManager::destroy() {
    return true;
}

bool AccessManager::isRegisteredInAuthGroup(std::string token) {
    LOGI("received AccessToken:%s", token.c_str());
    LOGE("Failed to find matched AccessToken!!");
    return false;
}

bool AccessManager::isRegisteredInDeniedGroup(std::string macAddr) {
    LOGI("failed to find matched macAddr:%s", macAddr.c_str());
    return false;
}

bool AccessManager::assignLowerAccessClass(std::string macAddr) {
    LOGI("received macAddr:%s", macAddr.c_str());
    return true;
}

bool AccessManager::issueAccessToken(std::string macAddr) {
    LOGE("no approval can be shown for macAddr:%s", macAddr.c_str());
    return false;
}

void AccessManager::resetAuthGroupData() {}

void AccessManager::erasePopup() {}

void AccessManager::setNotifyCallback(std::function<bool(const std::string&)> callback) {
    m_notifyCallback.set(std::move(callback));
}

bool AccessManager::notifyAccessToken(const std::string& result) {
    return m_notifyCallback(result);
}
