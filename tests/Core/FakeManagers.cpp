// Link-time stand-ins for the managers: each call is recorded so the core's ordering can be
// checked without a network, a TV or a UPnP stack.
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

#define FAKE_LIFECYCLE(Cls)              \
    Cls::~Cls() {                        \
        record("~" #Cls);                \
    }                                    \
    bool Cls::create() {                 \
        return record(#Cls "::create");  \
    }                                    \
    bool Cls::destroy() {                \
        return record(#Cls "::destroy"); \
    }

FAKE_LIFECYCLE(UIManager)
FAKE_LIFECYCLE(DeviceManager)
FAKE_LIFECYCLE(AccessManager)
FAKE_LIFECYCLE(ServiceManager)
FAKE_LIFECYCLE(ServiceController)
FAKE_LIFECYCLE(UPnPDeviceManager)
FAKE_LIFECYCLE(ServerManager)

void UIManager::showMsgBox(std::string) {}

ServerManager::ServerManager(bool enabled) : m_bEnabled(enabled) {
    record(enabled ? "ServerManager(true)" : "ServerManager(false)");
}
bool ServerManager::start() {
    return record("ServerManager::start");
}
bool ServerManager::stop() {
    return record("ServerManager::stop");
}

bool UPnPDeviceManager::start() {
    return record("UPnPDeviceManager::start");
}
bool UPnPDeviceManager::stop() {
    return record("UPnPDeviceManager::stop");
}
