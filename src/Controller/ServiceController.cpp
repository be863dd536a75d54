// Controller facade: installs the managers' hooks and forwards each call to its target manager.
#include "Controller/ServiceController.h"

#include <utility>

#include "Core/IPControlCore.h"
#include "Log.h"
#include "Manager/AccessManager.h"
#include "Manager/CmdRequest.h"
#include "Manager/DeviceManager.h"
#include "Manager/ServerManager.h"
#include "Manager/ServiceManager.h"
#include "Manager/UIManager.h"
#include "Manager/UPnPDeviceManager.h"

namespace {

// The manager in the live core's slot, or null (logged) when there is no core or no manager.
template <typename Manager>
Manager* reach(Manager* (IPControlCore::*slot)() const, const char* name) {
    IPControlCore* core = IPControlCore::instance;
    Manager* manager = core != nullptr ? (core->*slot)() : nullptr;
    if (manager == nullptr) {
        LOGE("no %s", name);
    }
    return manager;
}

ServiceManager* serviceManager() {
    return reach(&IPControlCore::getServiceManager, "ServiceManager");
}
ServerManager* serverManager() {
    return reach(&IPControlCore::getServerManager, "ServerManager");
}
AccessManager* accessManager() {
    return reach(&IPControlCore::getAccessManager, "AccessManager");
}
DeviceManager* deviceManager() {
    return reach(&IPControlCore::getDeviceManager, "DeviceManager");
}

}  // namespace

ServiceController::~ServiceController() = default;

bool ServiceController::create() {
    if (ServiceManager* service = serviceManager()) {
        service->m_sendResponseHook.set([this](unsigned int clientId, const std::string& text) {
            processSendResponse(clientId, text);
        });
        service->m_sendAccessDeniedHook.set([this](unsigned int clientId, const std::string& text) {
            processSendAccessDenied(clientId, text);
        });
        service->m_getPeerMacAddressHook.set(
            [this](unsigned int clientId) { return processGetPeerMacAddress(clientId); });
        service->m_accessTokenCheckInAuthGroupHook.set([this](std::string token) {
            return processAccessTokenCheckInAuthGroup(std::move(token));
        });
        service->m_macAddressCheckInDeniedGroupHook.set([this](std::string macAddr) {
            return processMacAddressCheckInDeniedGroup(std::move(macAddr));
        });
        service->m_issueAccessTokenHook.set(
            [this](std::string macAddr) { return processIssueAccessToken(std::move(macAddr)); });
        service->m_showMessageHook.set(
            [this](std::string text) { processShowMessage(std::move(text)); });
        service->m_runCommandHook.set([this](CmdRequest* cmd) { processRunCommand(cmd); });
    }
    if (ServerManager* server = serverManager()) {
        server->m_processJsonRequestHook.set([this](unsigned int clientId, std::string json) {
            processJsonRequest(clientId, std::move(json));
        });
    }
    if (AccessManager* access = accessManager()) {
        access->setNotifyCallback(
            [this](const std::string& result) { return processNotifyAccessToken(result); });
    }
    if (DeviceManager* device = deviceManager()) {
        device->m_enqueueForResponseHook.set(
            [this](CmdRequest* cmd) { processEnqueueForResponse(cmd); });
        device->m_upnpControlHook.set(
            [this](const std::string& command) { processUPnPControl(command); });
        device->m_popupControlHook.set(
            [this](const std::string& command) { processPopupControl(command); });
    }
    return true;
}

bool ServiceController::destroy() {
    if (ServiceManager* service = serviceManager()) {
        service->m_sendResponseHook.reset();
        service->m_sendAccessDeniedHook.reset();
        service->m_getPeerMacAddressHook.reset();
        service->m_accessTokenCheckInAuthGroupHook.reset();
        service->m_macAddressCheckInDeniedGroupHook.reset();
        service->m_issueAccessTokenHook.reset();
        service->m_showMessageHook.reset();
        service->m_runCommandHook.reset();
    }
    if (ServerManager* server = serverManager()) {
        server->m_processJsonRequestHook.reset();
    }
    if (AccessManager* access = accessManager()) {
        access->setNotifyCallback(nullptr);
    }
    if (DeviceManager* device = deviceManager()) {
        device->m_enqueueForResponseHook.reset();
        device->m_upnpControlHook.reset();
        device->m_popupControlHook.reset();
    }
    return true;
}

void ServiceController::processSendResponse(unsigned int clientId, const std::string& text) {
    if (ServerManager* server = serverManager()) {
        server->sendResponse(clientId, text, false);
    }
}

void ServiceController::processSendAccessDenied(unsigned int clientId, const std::string& text) {
    if (ServerManager* server = serverManager()) {
        server->sendResponse(clientId, text, true);
    }
}

std::string ServiceController::processGetPeerMacAddress(unsigned int clientId) {
    ServerManager* server = serverManager();
    return server != nullptr ? server->getPeerMacAddress(clientId) : std::string();
}

int ServiceController::processAccessTokenCheckInAuthGroup(std::string token) {
    AccessManager* access = accessManager();
    return access != nullptr && access->isRegisteredInAuthGroup(std::move(token)) ? 1 : 0;
}

int ServiceController::processMacAddressCheckInDeniedGroup(std::string macAddr) {
    AccessManager* access = accessManager();
    return access != nullptr && access->isRegisteredInDeniedGroup(std::move(macAddr)) ? 1 : 0;
}

int ServiceController::processIssueAccessToken(std::string macAddr) {
    AccessManager* access = accessManager();
    return access != nullptr && access->issueAccessToken(std::move(macAddr)) ? 1 : 0;
}

void ServiceController::processShowMessage(std::string text) {
    if (UIManager* ui = reach(&IPControlCore::getUIManager, "UIManager")) {
        ui->showMsgBox(std::move(text));
    }
}

void ServiceController::processRunCommand(CmdRequest* cmd) {
    if (DeviceManager* device = deviceManager()) {
        device->runCommand(cmd);
    } else {
        // The command has nowhere to go and will not come back: it is released unanswered.
        delete cmd;
    }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
void ServiceController::processJsonRequest(unsigned int clientId, std::string json) {
    if (ServiceManager* service = serviceManager()) {
        service->handleJsonRequest(clientId, json);
    }
}

void ServiceController::processStartUPnPDevice() {
    if (UPnPDeviceManager* upnp =
            reach(&IPControlCore::getUPnPDeviceManager, "UPnPDeviceManager")) {
        upnp->start();
    }
}

void ServiceController::processStopUPnPDevice() {
    if (UPnPDeviceManager* upnp =
            reach(&IPControlCore::getUPnPDeviceManager, "UPnPDeviceManager")) {
        upnp->stop();
    }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
bool ServiceController::processNotifyAccessToken(std::string result) {
    ServiceManager* service = serviceManager();
    return service != nullptr && service->handleAccessToken(result);
}

void ServiceController::processEnqueueForResponse(CmdRequest* cmd) {
    if (ServiceManager* service = serviceManager()) {
        service->enqueueResponseData(cmd);
    }
}

void ServiceController::processUPnPControl(const std::string& command) {
    if (command == "on") {
        processStartUPnPDevice();
    } else if (command == "off") {
        processStopUPnPDevice();
    }
    // "reboot" and every other command leave the UPnP device as it is.
}

void ServiceController::processPopupControl(const std::string& command) {
    if (command == "on") {
        processPopupErase();
    }
}

void ServiceController::processPopupErase() {
    // The guard is the UPnP device manager, the call goes to the access manager.
    IPControlCore* core = IPControlCore::instance;
    if (core == nullptr || core->getUPnPDeviceManager() == nullptr) {
        return;
    }
    if (AccessManager* access = accessManager()) {
        access->erasePopup();
    }
}
