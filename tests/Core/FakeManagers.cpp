// Link-time stand-ins for the managers: each call is recorded so the core's ordering and the
// controller's forwarding can be checked without a network, a TV or a UPnP stack. A target that
// links the real controller defines WITH_REAL_SERVICE_CONTROLLER.
#include "Core/FakeManagers.h"

#include "Controller/ServiceController.h"
#include "Manager/AccessManager.h"
#include "Manager/DeviceManager.h"
#include "Manager/ServerManager.h"
#include "Manager/ServiceManager.h"
#include "Manager/UIManager.h"
#include "Manager/UPnPDeviceManager.h"

std::vector<std::string>& managerCalls() {
    static std::vector<std::string> calls;
    return calls;
}

namespace {
bool record(const std::string& call) {
    managerCalls().push_back(call);
    return true;
}
}  // namespace

#define FAKE_DESTRUCTOR_AND_DESTROY(Cls) \
    Cls::~Cls() {                        \
        record("~" #Cls);                \
    }                                    \
    bool Cls::destroy() {                \
        return record(#Cls "::destroy"); \
    }

#define FAKE_LIFECYCLE(Cls)             \
    FAKE_DESTRUCTOR_AND_DESTROY(Cls)    \
    bool Cls::create() {                \
        return record(#Cls "::create"); \
    }

FAKE_LIFECYCLE(UIManager)
FAKE_LIFECYCLE(AccessManager)
FAKE_LIFECYCLE(ServiceManager)
FAKE_LIFECYCLE(UPnPDeviceManager)
FAKE_LIFECYCLE(ServerManager)
#ifndef WITH_REAL_SERVICE_CONTROLLER
FAKE_LIFECYCLE(ServiceController)
#endif

// The core calls the device manager's create() without an owner.
FAKE_DESTRUCTOR_AND_DESTROY(DeviceManager)
bool DeviceManager::create(void*) {
    return record("DeviceManager::create");
}
void DeviceManager::runCommand(CmdRequest*) {
    record("DeviceManager::runCommand");
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
void UIManager::showMsgBox(std::string) {
    record("UIManager::showMsgBox");
}

ServerManager::ServerManager() : m_httpServer(nullptr), m_bCreated(false) {}
bool ServerManager::start() {
    return record("ServerManager::start");
}
bool ServerManager::stop() {
    return record("ServerManager::stop");
}
void ServerManager::sendResponse(unsigned int, const std::string&, bool) {
    record("ServerManager::sendResponse");
}
std::string ServerManager::getPeerMacAddress(unsigned int) {
    record("ServerManager::getPeerMacAddress");
    return "aa:bb:cc:dd:ee:ff";
}

bool UPnPDeviceManager::start() {
    return record("UPnPDeviceManager::start");
}
bool UPnPDeviceManager::stop() {
    return record("UPnPDeviceManager::stop");
}

AccessManager::AccessManager(unsigned int releaseTimeoutMs)
    : m_releaseTimeoutMs(releaseTimeoutMs) {}

bool AccessManager::isRegisteredInAuthGroup(std::string) {
    return record("AccessManager::isRegisteredInAuthGroup");
}
bool AccessManager::isRegisteredInDeniedGroup(std::string) {
    return record("AccessManager::isRegisteredInDeniedGroup");
}
bool AccessManager::assignLowerAccessClass(std::string) {
    return record("AccessManager::assignLowerAccessClass");
}
bool AccessManager::issueAccessToken(std::string) {
    return record("AccessManager::issueAccessToken");
}
void AccessManager::resetAuthGroupData() {
    record("AccessManager::resetAuthGroupData");
}
void AccessManager::erasePopup() {
    record("AccessManager::erasePopup");
}
void AccessManager::setNotifyCallback(std::function<bool(const std::string&)> callback) {
    m_notifyCallback.set(std::move(callback));
}
bool AccessManager::notifyAccessToken(const std::string& result) {
    return m_notifyCallback(result);
}

void ServiceManager::handleJsonRequest(const unsigned int&, const std::string&) {
    record("ServiceManager::handleJsonRequest");
}
bool ServiceManager::handleAccessToken(const std::string&) {
    return record("ServiceManager::handleAccessToken");
}
void ServiceManager::enqueueResponseData(CmdRequest*) {
    record("ServiceManager::enqueueResponseData");
}
